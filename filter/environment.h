// SPDX-License-Identifier: Apache-2.0
// What a job takes from the world besides its arguments and settings.
#ifndef FILTER_ENVIRONMENT_H_
#define FILTER_ENVIRONMENT_H_

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "filter/job_signals.h"
#include "filter/settings.h"

// The defaults are those of the program; tests put their own in.
struct FilterEnvironment {
  int standardInput = 0;               // raster stream when no file is named; not closed
  std::FILE* standardOutput = stdout;  // printer bytes; not closed
  std::FILE* log = nullptr;            // log lines; null for wherever the thread's go
  std::function<const char*()> ppdPath = [] { return std::getenv("PPD"); };  // may be null
  Clock clock = systemClock;                       // names the record and the diagnostic pictures
  std::string dumpFolder = "/var/spool/cups/tmp";  // diagnostic pictures; empty for none
  bool keepRecord = true;  // false: no command record, whatever the PPD asks for
  std::function<bool()> cancelRequested = jobCancelRequested;
  std::function<void()> awaitCancel = awaitJobCancel;  // where one may be on its way
};

#endif  // FILTER_ENVIRONMENT_H_
