// SPDX-License-Identifier: Apache-2.0
// The CUPS raster filter: one job from its arguments to its exit status.
#ifndef FILTER_RUN_FILTER_H_
#define FILTER_RUN_FILTER_H_

#include "filter/environment.h"

// Arguments as of filter(7): job id, user, title, copies, options, [file]. Reads
// CUPS raster of 8-bit grey pages, writes ESC/POS to standard output and log
// lines to standard error. Returns 0 when the job has ended normally, else 1, and
// throws nothing. The spooler makes the copies; the filter ignores their number.
int runFilter(int argc, char* const argv[], const FilterEnvironment& environment = {});

#endif  // FILTER_RUN_FILTER_H_
