// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/job/job_stream.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>
#include <utility>

namespace {

using namespace std::string_view_literals;

constexpr uint8_t kNul = 0x00;

// A command is a fixed beginning and a number of parameter bytes; a band's dots
// follow its parameters. No beginning is the beginning of another.
struct Pattern {
  CommandKind kind;
  const char* name;
  std::string_view beginning;
  size_t parameters;
};

constexpr std::array kPatterns = {
    Pattern{CommandKind::kInitialise, "ESC @", "\x1B@"sv, 0},
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
    Pattern{CommandKind::kRasterBand, "GS v 0", "\x1Dv0\x00"sv, 4},
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

// "1B 99", with dots when there are more than `most`.
std::string hexText(std::span<const uint8_t> bytes, size_t most) {
  std::string text;
  for (const uint8_t byte : bytes.first(std::min(bytes.size(), most))) {
    std::array<char, 4> digits{};
    (void)std::snprintf(digits.data(), digits.size(), "%02X", static_cast<unsigned>(byte));
    if (!text.empty()) text += ' ';
    text += digits.data();
  }
  if (bytes.size() > most) text += " ...";
  return text;
}

std::string truncatedText(const char* name, uint64_t needed, size_t left) {
  return std::string("the stream ends inside ") + name + ", which takes " + std::to_string(needed) +
         " bytes of which " + std::to_string(left) + " are there";
}

}  // namespace

const char* commandName(CommandKind kind) {
  for (const Pattern& pattern : kPatterns)
    if (pattern.kind == kind) return pattern.name;
  return "NUL padding";
}

std::nullopt_t JobStreamReader::fail(std::string text) {
  error_ = JobStreamError{offset_, "offset " + std::to_string(offset_) + ": " + std::move(text)};
  return std::nullopt;
}

std::nullopt_t JobStreamReader::failUnknown(std::span<const uint8_t> rest) {
  return fail("unknown bytes " + hexText(rest, 8));
}

// `rest` begins with a NUL.
std::optional<JobCommand> JobStreamReader::readPadding(std::span<const uint8_t> rest) {
  size_t run = 1;
  while (run < rest.size() && rest[run] == kNul) ++run;
  if (commonLength(rest.subspan(run), "\x1B@") != 2)
    return fail(std::to_string(run) + (run == 1 ? " zero byte" : " zero bytes") +
                " without ESC @ after");
  JobCommand command;
  command.kind = CommandKind::kPadding;
  command.offset = offset_;
  command.bytes = rest.first(run);
  offset_ += run;
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
      return fail("the stream ends inside a command, after " + hexText(rest, 8));
    }
    uint64_t length = pattern.beginning.size() + pattern.parameters;
    if (rest.size() < length) return fail(truncatedText(pattern.name, length, rest.size()));

    JobCommand command;
    command.kind = pattern.kind;
    command.offset = offset_;
    command.parameters = rest.subspan(pattern.beginning.size(), pattern.parameters);
    if (pattern.kind == CommandKind::kRasterBand) {
      command.bytesPerRow = littleEndian16(command.parameters);
      command.rows = littleEndian16(command.parameters.subspan(2));
      if (command.bytesPerRow == 0 || command.rows == 0)
        return fail("raster band of " + std::to_string(command.rows) + " rows of " +
                    std::to_string(command.bytesPerRow) + " bytes");
      const uint64_t dots = static_cast<uint64_t>(command.bytesPerRow) * command.rows;
      length += dots;
      if (rest.size() < length) return fail(truncatedText(pattern.name, length, rest.size()));
      command.data = rest.subspan(static_cast<size_t>(length - dots), static_cast<size_t>(dots));
    }
    command.bytes = rest.first(static_cast<size_t>(length));
    offset_ += static_cast<size_t>(length);
    return command;
  }
  return failUnknown(rest);
}
