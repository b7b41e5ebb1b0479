// SPDX-License-Identifier: Apache-2.0
// Diagnostic lines on standard error in the manner of CUPS filters
// (filter(7)): a level prefix, the message, a newline.
#ifndef COMMON_LOG_H_
#define COMMON_LOG_H_

#include <cstdint>
#include <cstdio>

// Level of a line. Debug and Info differ for the callers but share the prefix
// "DEBUG:", so that the scheduler takes neither for a page accounting line.
enum LogLevel : int32_t {
  kLogDebug = 0,     // "DEBUG:"   detail
  kLogInfo = 1,      // "DEBUG:"   progress
  kLogWarning = 2,   // "WARN:"
  kLogError = 3,     // "ERROR:"
  kLogCritical = 4,  // "CRIT:"
  kLogInvalid = 5,   // "INVALID:"
};

// Writes one line at `level`: the prefix, the message made from the printf
// `format`, and "\n". No space follows the prefix, and no level is filtered
// out. A level outside 0 to 5 prints as kLogInvalid.
__attribute__((format(printf, 2, 3))) void dravLogCommon(int32_t level, const char* format, ...);

// Sends the calling thread's lines to `stream` from now on, or to standard error if it is
// null. The caller owns the stream and must set another one before closing it. Returns the
// previous stream, null for standard error.
std::FILE* setLogStream(std::FILE* stream);

// While it lives, the calling thread's lines go to `stream`. If that is null, they go where
// they went before.
class LogScope {
 public:
  explicit LogScope(std::FILE* stream) : before_(setLogStream(stream)) {
    if (stream == nullptr) setLogStream(before_);
  }
  ~LogScope() { setLogStream(before_); }
  LogScope(const LogScope&) = delete;
  LogScope& operator=(const LogScope&) = delete;

 private:
  std::FILE* before_;
};

// From now on writes each line in one piece, for the rest of the process. All
// programs of a job share the scheduler's log pipe. If a line went out in pieces,
// lines of other programs could come between, and the scheduler would know neither its
// level nor its beginning. Call this before the first line.
void keepLogLinesWhole();

#endif  // COMMON_LOG_H_
