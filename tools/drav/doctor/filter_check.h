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
  std::string version;  // as the filter itself says; empty when it did not start
};

// Checks the filter at `path` (in the installation). Starts it without arguments, so
// that it prints its usage and ends. Never starts it as root, and not at all if
// someone other than root could have changed it.
FilterState checkFilter(const std::string& path, const Installation& installation,
                        Findings& findings);

#endif  // TOOLS_DRAV_DOCTOR_FILTER_CHECK_H_
