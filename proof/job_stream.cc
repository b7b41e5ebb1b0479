// SPDX-License-Identifier: Apache-2.0
#include "proof/job_stream.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "proof/hex_text.h"

namespace {

using namespace std::string_view_literals;

constexpr uint8_t kNul = 0x00;
constexpr std::string_view kInitialise = "\x1B@";
constexpr std::string_view kBand = "\x1Dv0\x00"sv;
constexpr size_t kBandHeader = 8;
constexpr size_t kUsualPadding = 64;  // what the filter sends at the start of a job

// A command is a fixed beginning and a number of parameter bytes; a band's dots
// follow its parameters. No beginning is the beginning of another.
struct Pattern {
  CommandKind kind;
  const char* name;
  std::string_view beginning;
  size_t parameters;
};

constexpr std::array kPatterns = {
    Pattern{CommandKind::kInitialise, "ESC @", kInitialise, 0},
    Pattern{CommandKind::kDensity, "US ESC US DC3 DC4", "\x1F\x1B\x1F\x13\x14"sv, 1},
    Pattern{CommandKind::kDrawerPulse, "ESC p", "\x1Bp"sv, 3},
    Pattern{CommandKind::kBuzzer, "ESC B", "\x1B\x42"sv, 2},
    Pattern{CommandKind::kAlign, "ESC a", "\x1B\x61"sv, 1},
    Pattern{CommandKind::kLogo, "FS p", "\x1Cp"sv, 2},
    Pattern{CommandKind::kPosition, "ESC $", "\x1B$"sv, 2},
    Pattern{CommandKind::kFeedUnits, "ESC J", "\x1BJ"sv, 1},
    Pattern{CommandKind::kFeedLines, "ESC d", "\x1B\x64"sv, 1},
    Pattern{CommandKind::kLineFeed, "LF", "\n"sv, 0},
    Pattern{CommandKind::kPartialCut, "GS V 1", "\x1DV\x01"sv, 0},
    Pattern{CommandKind::kFullCut, "GS V 0", "\x1DV\x00"sv, 0},
    Pattern{CommandKind::kRasterBand, "GS v 0", kBand, 4},
    Pattern{CommandKind::kStatusRequest, "ESC v", "\x1Bv"sv, 0},
};

size_t commonLength(std::span<const uint8_t> bytes, std::string_view beginning) {
  const size_t limit = std::min(bytes.size(), beginning.size());
  size_t length = 0;
  while (length < limit && bytes[length] == static_cast<uint8_t>(beginning[length])) ++length;
  return length;
}

uint32_t littleEndian16(std::span<const uint8_t> bytes) {
  return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8U;
}

std::string truncatedText(const char* name, uint64_t needed, size_t left) {
  return std::string("the stream ends inside ") + name + ", which takes " + std::to_string(needed) +
         " bytes; only " + std::to_string(left) + " are there";
}

bool beginsWith(std::span<const uint8_t> bytes, std::string_view beginning) {
  return commonLength(bytes, beginning) == beginning.size();
}

// Bytes of the band whose whole header `rest` begins with; 0 for a band without dots.
uint64_t bandLength(std::span<const uint8_t> rest) {
  const uint64_t dots = uint64_t{littleEndian16(rest.subspan(4))} * littleEndian16(rest.subspan(6));
  return dots == 0 ? 0 : kBandHeader + dots;
}

// Whether the stream ends here or a known command begins, padding as it is usual.
bool isCommandBoundary(std::span<const uint8_t> rest) {
  if (rest.empty()) return true;
  size_t nuls = 0;
  while (nuls < std::min(rest.size(), kUsualPadding) && rest[nuls] == kNul) ++nuls;
  if (nuls > 0) return beginsWith(rest.subspan(nuls), kInitialise);
  return std::any_of(kPatterns.begin(), kPatterns.end(), [rest](const Pattern& pattern) {
    return commonLength(rest, pattern.beginning) == std::min(rest.size(), pattern.beginning.size());
  });
}

// Whether reading may go on here after damage.
bool isRestart(std::span<const uint8_t> rest) {
  if (beginsWith(rest, kInitialise)) return isCommandBoundary(rest.subspan(kInitialise.size()));
  if (rest.size() < kBandHeader || !beginsWith(rest, kBand)) return false;
  const uint64_t length = bandLength(rest);
  return length != 0 && length <= rest.size() &&
         isCommandBoundary(rest.subspan(static_cast<size_t>(length)));
}

}  // namespace

const char* commandName(CommandKind kind) {
  for (const Pattern& pattern : kPatterns)
    if (pattern.kind == kind) return pattern.name;
  return "NUL padding";
}

std::nullopt_t JobStreamReader::fail(JobStreamFault fault, std::string reason, uint64_t missing) {
  error_ = JobStreamError{fault, offset_, "offset " + std::to_string(offset_) + ": " + reason,
                          std::move(reason), missing};
  return std::nullopt;
}

void JobStreamReader::advance(JobCommand& command, std::span<const uint8_t> bytes) {
  command.offset = offset_;
  command.bytes = bytes;
  offset_ += bytes.size();
}

// `rest` begins with a NUL.
std::optional<JobCommand> JobStreamReader::readPadding(std::span<const uint8_t> rest) {
  size_t run = 1;
  while (run < rest.size() && rest[run] == kNul) ++run;
  if (!beginsWith(rest.subspan(run), kInitialise))
    return fail(
        JobStreamFault::kUnknownBytes,
        std::to_string(run) + (run == 1 ? " zero byte" : " zero bytes") + " not followed by ESC @");
  JobCommand command;
  command.kind = CommandKind::kPadding;
  advance(command, rest.first(run));
  return command;
}

// `rest` begins with a whole band header.
std::optional<JobCommand> JobStreamReader::readBand(std::span<const uint8_t> rest,
                                                    JobCommand command) {
  command.bytesPerRow = littleEndian16(command.parameters);
  command.rows = littleEndian16(command.parameters.subspan(2));
  const uint64_t length = bandLength(rest);
  if (length == 0)
    return fail(JobStreamFault::kUnknownBytes, "raster band of " + std::to_string(command.rows) +
                                                   " rows of " +
                                                   std::to_string(command.bytesPerRow) + " bytes");
  if (rest.size() < length)
    return fail(JobStreamFault::kUnfinishedBand,
                truncatedText(commandName(command.kind), length, rest.size()),
                length - rest.size());
  advance(command, rest.first(static_cast<size_t>(length)));
  command.data = command.bytes.subspan(kBandHeader);
  return command;
}

std::optional<JobCommand> JobStreamReader::next() {
  if (error_ || offset_ == stream_.size()) return std::nullopt;
  const std::span<const uint8_t> rest = stream_.subspan(offset_);
  if (rest.front() == kNul) return readPadding(rest);

  for (const Pattern& pattern : kPatterns) {
    const size_t begun = commonLength(rest, pattern.beginning);
    if (begun < pattern.beginning.size()) {
      if (begun < rest.size()) continue;
      return fail(JobStreamFault::kUnfinishedCommand,
                  "the stream ends inside a command, after " + hexText(rest, 8));
    }
    const size_t length = pattern.beginning.size() + pattern.parameters;
    if (rest.size() < length)
      return fail(JobStreamFault::kUnfinishedCommand,
                  truncatedText(pattern.name, length, rest.size()));
    JobCommand command;
    command.kind = pattern.kind;
    command.parameters = rest.subspan(pattern.beginning.size(), pattern.parameters);
    if (pattern.kind == CommandKind::kRasterBand) return readBand(rest, command);
    advance(command, rest.first(length));
    return command;
  }
  return fail(JobStreamFault::kUnknownBytes, "unknown bytes " + hexText(rest, 8));
}

std::optional<JobCommand> JobStreamReader::cutBand() const {
  if (!error_ || error_->fault != JobStreamFault::kUnfinishedBand) return std::nullopt;
  JobCommand band;
  band.kind = CommandKind::kRasterBand;
  band.offset = offset_;
  band.bytes = stream_.subspan(offset_);
  band.parameters = band.bytes.subspan(kBand.size(), kBandHeader - kBand.size());
  band.bytesPerRow = littleEndian16(band.parameters);
  const std::span<const uint8_t> dots = band.bytes.subspan(kBandHeader);
  band.rows = static_cast<uint32_t>(dots.size() / band.bytesPerRow);
  const size_t whole = size_t{band.rows} * band.bytesPerRow;
  band.data = dots.first(whole);
  return band.rows != 0 ? std::optional(band) : std::nullopt;
}

std::span<const uint8_t> JobStreamReader::resynchronise() {
  const size_t start = std::exchange(offset_, stream_.size());
  const bool endsInside = error_->fault != JobStreamFault::kUnknownBytes;
  error_.reset();
  if (endsInside) return stream_.subspan(start);
  for (size_t at = start + 1; at < stream_.size(); ++at) {
    if (stream_[at] != static_cast<uint8_t>(kInitialise[0]) &&
        stream_[at] != static_cast<uint8_t>(kBand[0]))
      continue;
    if (!isRestart(stream_.subspan(at))) continue;
    offset_ = at;
    break;
  }
  if (offset_ < stream_.size() && beginsWith(stream_.subspan(offset_), kInitialise)) {
    const size_t lowest = std::max(start + 1, offset_ - std::min(offset_, kUsualPadding));
    while (offset_ > lowest && stream_[offset_ - 1] == kNul) --offset_;
  }
  return stream_.subspan(start, offset_ - start);
}

std::optional<JobStreamItem> JobStreamReader::nextItem() {
  if (!error_) {
    if (auto command = next()) return JobStreamItem{command->bytes, command, std::nullopt};
    if (!error_) return std::nullopt;
  }
  JobStreamItem item;
  item.error = error_;
  item.bytes = resynchronise();
  return item;
}
