// SPDX-License-Identifier: Apache-2.0
// Checks of the filter as the scheduler finds it: there, allowed, made for this
// machine, and able to start.
#ifndef TOOLS_DRAV_DOCTOR_FILTER_CHECK_H_
#define TOOLS_DRAV_DOCTOR_FILTER_CHECK_H_

#include <string>

#include "tools/drav/doctor/finding.h"
#include "tools/drav/doctor/installation.h"

struct FilterState {
  bool present = false;
  std::string version;  // that it says of itself; empty when it did not start
};

// Checks the filter at `path` (in the installation). It is started, without
// arguments, so that it prints its usage and ends, only when root alone can have
// changed it, and not as root.
FilterState checkFilter(const std::string& path, const Installation& installation,
                        Findings& findings);

#endif  // TOOLS_DRAV_DOCTOR_FILTER_CHECK_H_
