// SPDX-License-Identifier: Apache-2.0
#include "proof/dot_page.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <initializer_list>
#include <numeric>
#include <optional>

#include "proof/job_stream.h"

namespace {

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

std::string complaintOf(std::string_view log) {
  return lineAfter(log, {"ERROR:", "CRIT:"}).value_or("the filter failed and gave no reason");
}

bool saysFrameLeftOut(std::string_view log) {
  return lineAfter(log, {"WARN:The frame of "}).has_value();
}

bool readDots(std::span<const uint8_t> stream, std::string_view log,
              const cups_page_header2_t& header, uint32_t printedColumns, DotPage& dots,
              std::string& error) {
  dots = {};
  dots.dotsPerInchX = header.HWResolution[0];
  dots.dotsPerInchY = header.HWResolution[1];
  dots.pageRows = header.cupsHeight;
  if (!takeDots(stream, dots, error)) return false;
  const bool trimmed = takeTrimming(log, dots);
  if (dots.rows == 0 && !trimmed) {
    error = "prints nothing: " + complaintOf(log);
    return false;
  }
  if (dots.rows == 0) dots.bytesPerRow = (printedColumns + 7) / 8;
  return true;
}
