// SPDX-License-Identifier: Apache-2.0
#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include "tests/model/pages.h"
#include "tests/model/stream.h"

namespace {

bool startsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

// Replaces everything behind `prefix` up to `end`, or up to the line's end.
void replaceValue(std::string& line, std::string_view prefix, std::string_view end,
                  const std::string& by) {
  if (!startsWith(line, prefix)) return;
  const size_t stop = end.empty() ? line.size() : line.find(end, prefix.size());
  if (stop == std::string::npos) return;
  line = std::string(prefix) + by + line.substr(stop);
}

std::string nullPointerText() {
  char text[32];
  std::snprintf(text, sizeof text, "%p", static_cast<void*>(nullptr));
  return text;
}

void maskLine(std::string& line) {
  const std::string freedWork = "DEBUG:printImage: Freed the allocated memory, address: ";
  if (line == freedWork + nullPointerText()) line = freedWork + model::kNullPointerText;
  replaceValue(line, "DEBUG:printImage: Freed the memory for processing result, address: ", "",
               model::kPointerText);
  replaceValue(line, "DEBUG:printImage: Processed image information - pointer address: ", ", width",
               model::kPointerText);
  replaceValue(line, "DravPrinter::saveImage: unable to open the file ", "", "<path>");
  if (startsWith(line, "ERROR:") && contains(line, "cupsWidth(") && contains(line, "cupsHeight(") &&
      contains(line, "cupsBytesPerLine(")) {
    line = std::string("ERROR:") + model::kRefusedText;
  }
  if (startsWith(line, "WARN:") && contains(line, "may print inverted")) {
    line = std::string("WARN:") + model::kInvertedText;
  }
}

}  // namespace

std::string captureLogText(const std::function<void()>& code) {
  testing::internal::CaptureStderr();
  code();
  return testing::internal::GetCapturedStderr();
}

std::vector<std::string> captureLog(const std::function<void()>& code) {
  std::vector<std::string> lines = splitLines(captureLogText(code));
  // Remarks of the address sanitizer on memory that it refused.
  lines.erase(std::remove_if(lines.begin(), lines.end(),
                             [](const std::string& line) { return startsWith(line, "=="); }),
              lines.end());
  return lines;
}

std::vector<std::string> splitLines(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const size_t end = text.find('\n');
    if (end == std::string_view::npos) {
      ADD_FAILURE() << "a line without an end: " << text;
      lines.emplace_back(text);
      break;
    }
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
  return lines;
}

std::vector<std::string> maskLog(std::vector<std::string> lines) {
  for (std::string& line : lines) maskLine(line);
  return lines;
}

size_t countLines(const std::vector<std::string>& lines, std::string_view prefix) {
  return static_cast<size_t>(
      std::count_if(lines.begin(), lines.end(),
                    [prefix](const std::string& line) { return startsWith(line, prefix); }));
}
