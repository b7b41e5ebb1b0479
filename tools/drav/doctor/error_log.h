// SPDX-License-Identifier: Apache-2.0
// The scheduler's error log: which of its lines concern a queue or the filter, and
// what they mean.
#ifndef TOOLS_DRAV_DOCTOR_ERROR_LOG_H_
#define TOOLS_DRAV_DOCTOR_ERROR_LOG_H_

#include <ctime>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tools/drav/doctor/finding.h"
#include "tools/drav/doctor/installation.h"
#include "tools/drav/doctor/redaction.h"

// "E [21/Nov/2026:14:36:00 +0000] [Job 2] Text" (man 5 cupsd-logs).
struct LogLine {
  char level = '\0';         // E, W, I, D, ...; 0 when it is no such line
  std::time_t time = 0;      // 0 when the date cannot be read
  int job = 0;               // 0: of no job
  std::string_view message;  // part of the line
};
LogLine parseLogLine(std::string_view line);

// The lines of a log that concern a queue or the filter.
struct LogExtract {
  std::string file;  // as it is on disk
  // Why there is nothing: not there, no rights, or kept elsewhere.
  std::string problem;
  std::vector<std::string> lines;  // redacted, oldest first
};

struct LogWanted {
  std::vector<std::string> queues;
  std::set<int> jobs;  // of these queues, as far as known
};

// Reads the end of the installation's log, at most 8 MiB of it. Other filters may
// write what is in a document, so of the debug lines of jobs it takes only those
// that the filter wrote, or the scheduler about the filter. `redactor` learns the
// names in everything that was read.
LogExtract readErrorLog(const Installation& installation, const LogWanted& wanted,
                        Redactor& redactor);

// Tells what went wrong in the last day, with the last log lines about it.
void checkErrorLog(const LogExtract& extract, std::time_t now, Findings& findings);

#endif  // TOOLS_DRAV_DOCTOR_ERROR_LOG_H_
