// SPDX-License-Identifier: Apache-2.0
#include "common/log.h"

#include <array>
#include <cstdarg>
#include <climits>
#include <cstdio>

namespace {

constexpr std::array<const char*, 6> sLogLevelTexts = {
    "DEBUG:", "DEBUG:", "WARN:", "ERROR:", "CRIT:", "INVALID:"};

}  // namespace

void keepLogLinesWhole() {
  static std::array<char, PIPE_BUF> buffer;  // what a pipe takes in one piece
  static_cast<void>(std::setvbuf(stderr, buffer.data(), _IOLBF, buffer.size()));
}

void dravLogCommon(int32_t level, const char* format, ...) {
  if (level < kLogDebug || level > kLogInvalid) level = kLogInvalid;
  std::fprintf(stderr, "%s", sLogLevelTexts[static_cast<size_t>(level)]);
  va_list values;
  va_start(values, format);
  std::vfprintf(stderr, format, values);
  va_end(values);
  std::fprintf(stderr, "\n");
}
