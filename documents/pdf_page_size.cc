// SPDX-License-Identifier: Apache-2.0
#include "documents/pdf_page_size.h"

#include <charconv>
#include <cstdint>
#include <string>
#include <utility>

#include "common/child_process.h"

namespace documents {
namespace {

constexpr size_t kMostInfo = size_t{1} << 16U;
constexpr int kMostInfoTime = 5'000;  // milliseconds
constexpr uint64_t kMostInfoSeconds = 5;
constexpr uint64_t kInfoMemory = uint64_t{1} << 30U;
constexpr double kMostPoints = 1'000'000;
constexpr uint64_t kFinest = 1'000'000;  // parts of a point

std::string_view valueOf(std::string_view report, std::string_view name) {
  for (size_t at = 0; at < report.size();) {
    const std::string_view line = report.substr(at, report.find('\n', at) - at);
    at += line.size() + 1;
    if (!line.starts_with(name)) continue;
    const size_t start = line.find_first_not_of(' ', name.size());
    return start == line.npos ? std::string_view() : line.substr(start);
  }
  return {};
}

// Takes "226.77" away from the front. Negative when there is no such number.
double takeNumber(std::string_view& text) {
  const char* const end = text.data() + text.size();
  uint32_t whole = 0;
  auto [stop, failure] = std::from_chars(text.data(), end, whole);
  if (failure != std::errc()) return -1;
  uint64_t over = 0;
  uint64_t under = 1;
  if (stop != end && *stop == '.') {
    for (++stop; stop != end && *stop >= '0' && *stop <= '9'; ++stop) {
      if (under > kFinest) continue;
      over = over * 10 + static_cast<uint64_t>(*stop - '0');
      under *= 10;
    }
  }
  text.remove_prefix(static_cast<size_t>(stop - text.data()));
  return whole + static_cast<double>(over) / static_cast<double>(under);
}

bool isPageSide(double points) { return points >= 1 && points <= kMostPoints; }

}  // namespace

std::optional<PointSize> readPdfPageSize(std::string_view report) {
  constexpr std::string_view kBetween = " x ";
  std::string_view text = valueOf(report, "Page size:");
  PointSize size;
  size.width = takeNumber(text);
  if (!text.starts_with(kBetween)) return std::nullopt;
  text.remove_prefix(kBetween.size());
  size.height = takeNumber(text);
  if (!text.starts_with(" pts") || !isPageSide(size.width) || !isPageSide(size.height))
    return std::nullopt;
  const std::string_view turn = valueOf(report, "Page rot:");
  if (turn == "90" || turn == "270") std::swap(size.width, size.height);
  return size;
}

std::optional<PointSize> pdfPageSize(int descriptor, const World& world) {
  if (world.pdfInfo.empty()) return std::nullopt;
  ChildCommand command;
  command.program = world.pdfInfo;
  command.arguments = {"/dev/stdin"};
  command.inputDescriptor = descriptor;
  command.environment = {{"LC_ALL", "C"}};
  command.fileBytes = 0;
  command.memoryBytes = kInfoMemory;
  command.cpuSeconds = kMostInfoSeconds;
  command.mostMilliseconds = kMostInfoTime;
  command.stopRequested = world.stopRequested;
  ChildProcess process;
  std::string error;
  if (!process.start(command, error)) return std::nullopt;
  std::string report(kMostInfo, '\0');
  size_t size = 0;
  while (size < report.size()) {
    auto* const free = reinterpret_cast<uint8_t*>(report.data()) + size;
    const ssize_t got = process.read(free, report.size() - size);
    if (got <= 0) break;
    size += static_cast<size_t>(got);
  }
  if (size == report.size() || !process.finish()) return std::nullopt;
  return readPdfPageSize(std::string_view(report).substr(0, size));
}

}  // namespace documents
