// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/engine/page_engine.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <numeric>
#include <optional>

#include "common/log.h"
#include "common/scope_guard.h"
#include "common/temporary_file.h"
#include "filter/run_filter.h"
#include "tools/drav/io/interruption.h"
#include "tools/drav/io/memory_file.h"
#include "tools/drav/job/job_stream.h"

namespace {

bool writeAll(int descriptor, const void* data, size_t size) {
  const auto* bytes = static_cast<const uint8_t*>(data);
  for (size_t done = 0; done < size;) {
    const ssize_t put = ::write(descriptor, bytes + done, size - done);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    done += static_cast<size_t>(put);
  }
  return true;
}

// The rest of the first line that begins with one of these; nothing without one.
std::optional<std::string> lineAfter(std::string_view log,
                                     std::initializer_list<std::string_view> starts) {
  for (size_t at = 0; at < log.size();) {
    const size_t end = std::min(log.find('\n', at), log.size());
    const std::string_view line = log.substr(at, end - at);
    for (const std::string_view start : starts)
      if (line.starts_with(start)) return std::string(line.substr(start.size()));
    at = end + 1;
  }
  return std::nullopt;
}

// The filter's first complaint, without its level.
std::string complaintOf(std::string_view log) {
  return lineAfter(log, {"ERROR:", "CRIT:"}).value_or("the filter failed and gave no reason");
}

// Notes which rows of the page print. True if blank ones were left out.
bool takeTrimming(std::string_view log, DotPage& page) {
  const auto line = lineAfter(log, {"DEBUG:printImage: Trimmed the page to the rows "});
  unsigned begin = 0;
  unsigned end = 0;
  unsigned height = 0;
  constexpr const char* kRange = "%u to %u of %u";
  if (!line ||
      std::sscanf(line->c_str(), kRange, &begin, &end, &height) != 3)  // NOLINT(cert-err34-c)
    return false;
  page.firstRow = begin;
  return true;
}

// Collects the bands of one page's stream.
bool takeDots(std::span<const uint8_t> stream, DotPage& page, std::string& error) {
  JobStreamReader reader(stream);
  while (const auto command = reader.next()) {
    if (command->kind != CommandKind::kRasterBand) continue;
    if (page.rows != 0 && page.bytesPerRow != command->bytesPerRow) {
      error = "the filter changed the width of its rows within a page";
      return false;
    }
    page.bytesPerRow = command->bytesPerRow;
    page.rows += command->rows;
    page.bands.push_back(command->rows);
    page.dots.insert(page.dots.end(), command->data.begin(), command->data.end());
  }
  if (reader.error()) error = "the filter's stream cannot be read: " + reader.error()->text;
  return !reader.error();
}

// Sets the variable for a while.
class PpdVariable {
 public:
  explicit PpdVariable(const std::string& path) {
    if (const char* before = std::getenv("PPD")) before_ = before;
    (void)::setenv("PPD", path.c_str(), 1);
  }
  ~PpdVariable() {
    if (before_)
      (void)::setenv("PPD", before_->c_str(), 1);
    else
      (void)::unsetenv("PPD");
  }
  PpdVariable(const PpdVariable&) = delete;
  PpdVariable& operator=(const PpdVariable&) = delete;
  PpdVariable(PpdVariable&&) = delete;
  PpdVariable& operator=(PpdVariable&&) = delete;

 private:
  std::optional<std::string> before_;
};

}  // namespace

uint64_t countDots(const DotPage& page) {
  return std::accumulate(
      page.dots.begin(), page.dots.end(), uint64_t{0},
      [](uint64_t sum, uint8_t byte) { return sum + static_cast<uint64_t>(std::popcount(byte)); });
}

void restoreRows(DotPage& page) {
  const size_t rowBytes = page.bytesPerRow;
  page.dots.insert(page.dots.begin(), page.firstRow * rowBytes, 0);
  page.dots.resize(page.pageRows * rowBytes);
  page.firstRow = 0;
  page.rows = page.pageRows;
  page.bands.clear();
}

PageEngine::~PageEngine() {
  if (raster_ >= 0) ::close(raster_);
}

bool PageEngine::load(const GreyPage& page, std::string& error) {
  if (raster_ >= 0) ::close(raster_);
  raster_ = openAnonymousFile(error);
  if (raster_ < 0) return false;
  header_ = page.header;
  leftOutFrame_ = false;
  // Version 3: the mark in the machine's own order, the header as it lies in memory,
  // the rows.
  const uint32_t mark = CUPS_RASTER_SYNC;
  if (writeAll(raster_, &mark, sizeof mark) && writeAll(raster_, &header_, sizeof header_) &&
      writeAll(raster_, page.pixels.data(), page.pixels.size()))
    return true;
  error = std::string("the page cannot be held: ") + std::strerror(errno);
  return false;
}

bool PageEngine::print(const std::string& options, DotPage& dots, std::string& error) {
  dots = {};
  dots.dotsPerInchX = header_.HWResolution[0];
  dots.dotsPerInchY = header_.HWResolution[1];
  MemoryFile stream;
  MemoryFile log;
  if (stream.get() == nullptr || log.get() == nullptr || ::lseek(raster_, 0, SEEK_SET) != 0) {
    error = std::string("the page cannot be printed: ") + std::strerror(errno);
    return false;
  }
  FilterEnvironment environment;
  environment.standardInput = raster_;
  environment.standardOutput = stream.get();
  environment.dumpFolder = "";
  environment.keepRecord = false;
  environment.cancelRequested = Interruption::requested;

  std::array<std::string, 6> arguments = {"drav", "1", "user",
                                          "page", "1", driver_.options() + " " + options};
  std::array<char*, 7> argv{};
  for (size_t i = 0; i < arguments.size(); ++i) argv.at(i) = arguments.at(i).data();
  int status = 0;
  {
    const PpdVariable ppd(driver_.path());
    std::FILE* before = setLogStream(log.get());
    const ScopeGuard giveBack([before] { setLogStream(before); });
    status = runFilter(static_cast<int>(arguments.size()), argv.data(), environment);
  }
  if (Interruption::requested()) {
    error = "interrupted";
    return false;
  }
  if (status != EXIT_SUCCESS) {
    error = complaintOf(log.text());
    return false;
  }
  return takeResult(stream.bytes(), log.text(), dots, error);
}

bool PageEngine::takeResult(std::span<const uint8_t> stream, std::string_view log, DotPage& dots,
                            std::string& error) {
  dots.pageRows = header_.cupsHeight;
  if (!takeDots(stream, dots, error)) return false;
  const bool trimmed = takeTrimming(log, dots);
  if (lineAfter(log, {"WARN:The frame of "})) leftOutFrame_ = true;
  if (dots.rows == 0 && !trimmed) {
    error = "prints nothing: " + complaintOf(log);
    return false;
  }
  if (dots.rows == 0) dots.bytesPerRow = (driver_.printedColumns(header_) + 7) / 8;
  return true;
}
