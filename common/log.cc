// SPDX-License-Identifier: Apache-2.0
#include "common/log.h"

#include <array>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <utility>

namespace {

constexpr std::array<const char*, 6> sLogLevelTexts = {
    "DEBUG:", "DEBUG:", "WARN:", "ERROR:", "CRIT:", "INVALID:"};

// Null stands for standard error, which is no constant.
thread_local std::FILE* logStream = nullptr;

}  // namespace

std::FILE* setLogStream(std::FILE* stream) { return std::exchange(logStream, stream); }

void keepLogLinesWhole() {
  static std::array<char, PIPE_BUF> buffer;  // what a pipe takes in one piece
  static_cast<void>(std::setvbuf(stderr, buffer.data(), _IOLBF, buffer.size()));
}

void dravLogCommon(int32_t level, const char* format, ...) {
  if (level < kLogDebug || level > kLogInvalid) level = kLogInvalid;
  std::FILE* out = logStream != nullptr ? logStream : stderr;
  std::fprintf(out, "%s", sLogLevelTexts[static_cast<size_t>(level)]);
  va_list values;
  va_start(values, format);
  std::vfprintf(out, format, values);
  va_end(values);
  std::fprintf(out, "\n");
}
