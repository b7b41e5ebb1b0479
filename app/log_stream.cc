// SPDX-License-Identifier: Apache-2.0
#include "app/log_stream.h"

#include <memory>
#include <string>
#include <string_view>

namespace app {
namespace {

constexpr size_t kMostLine = 1000;

struct Lines {
  pappl_job_t* job;
  std::string text;  // of the line that has not ended
};

void writeLine(pappl_job_t* job, std::string_view line) {
  const size_t colon = line.find(':');
  const std::string_view level = line.substr(0, colon);
  const std::string text(colon == line.npos ? line : line.substr(colon + 1));
  if (level == "ERROR" || level == "CRIT") {
    papplLogJob(job, PAPPL_LOGLEVEL_ERROR, "%s", text.c_str());
    papplJobSetMessage(job, "%s", text.c_str());
  } else {
    papplLogJob(job, level == "WARN" ? PAPPL_LOGLEVEL_WARN : PAPPL_LOGLEVEL_DEBUG, "%s",
                text.c_str());
  }
}

ssize_t writeLines(void* cookie, const char* bytes, size_t count) {
  Lines& lines = *static_cast<Lines*>(cookie);
  for (const char byte : std::string_view(bytes, count)) {
    if (byte == '\n') {
      writeLine(lines.job, lines.text);
      lines.text.clear();
    } else if (lines.text.size() < kMostLine) {
      lines.text += byte;
    }
  }
  return static_cast<ssize_t>(count);
}

int closeLines(void* cookie) {
  delete static_cast<Lines*>(cookie);
  return 0;
}

}  // namespace

std::FILE* openLogStream(pappl_job_t* job) {
  auto lines = std::make_unique<Lines>(Lines{job, ""});
  cookie_io_functions_t functions = {};
  functions.write = writeLines;
  functions.close = closeLines;
  std::FILE* file = ::fopencookie(lines.get(), "w", functions);
  if (file != nullptr) (void)lines.release();
  return file;
}

}  // namespace app
