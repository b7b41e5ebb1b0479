// SPDX-License-Identifier: Apache-2.0
// Job options that mean something without the driver file.
#ifndef TOOLS_DRAV_DRIVER_KNOWN_OPTIONS_H_
#define TOOLS_DRAV_DRIVER_KNOWN_OPTIONS_H_

#include <string>
#include <vector>

// Whether the scheduler or a converter of its chain knows the option: the job template
// of IPP, what lp(1) lists, and what cups-filters reads. Case does not count.
bool isStandardOption(const std::string& name);

// Their names, without those that go by a beginning such as "job-".
std::vector<std::string> standardOptionNames();

#endif  // TOOLS_DRAV_DRIVER_KNOWN_OPTIONS_H_
