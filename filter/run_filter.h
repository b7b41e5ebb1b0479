// SPDX-License-Identifier: Apache-2.0
// The CUPS raster filter: one job from its arguments to its exit status.
#ifndef FILTER_RUN_FILTER_H_
#define FILTER_RUN_FILTER_H_

#include <cstdio>
#include <functional>
#include <string>

#include "filter/job_signals.h"
#include "filter/settings.h"

// What the filter takes from the world besides its arguments and the variable
// PPD. The defaults are those of the program; tests put their own in.
struct FilterEnvironment {
  int standardInput = 0;               // raster stream when no file is named; not closed
  std::FILE* standardOutput = stdout;  // printer bytes; not closed
  Clock clock = systemClock;           // names the record and the diagnostic pictures
  std::string dumpFolder = "/var/spool/cups/tmp";  // diagnostic pictures; empty for none
  bool keepRecord = true;  // false: no command record, whatever the PPD asks for
  std::function<bool()> cancelRequested = jobCancelRequested;
  std::function<void()> awaitCancel = awaitJobCancel;  // called if a cancel may be on its way
};

// Arguments as of filter(7): job id, user, title, copies, options, [file]. Reads
// CUPS raster of 8-bit grey pages, writes ESC/POS to standard output and log
// lines to standard error. Returns 0 when the job has ended normally, else 1, and
// throws nothing. The spooler makes the copies; the filter ignores their number.
int runFilter(int argc, char* const argv[], const FilterEnvironment& environment = {});

#endif  // FILTER_RUN_FILTER_H_
