// SPDX-License-Identifier: Apache-2.0
// Checks of what stands around the filter: the converters before it and the
// driver source that new queues are made from.
#ifndef TOOLS_DRAV_DOCTOR_CHAIN_CHECK_H_
#define TOOLS_DRAV_DOCTOR_CHAIN_CHECK_H_

#include "tools/drav/doctor/finding.h"
#include "tools/drav/doctor/installation.h"

// The programs of CUPS that turn documents and pictures into raster pages.
void checkConverters(const Installation& installation, Findings& findings);

// The driver source is there, readable, and of this version.
void checkDriverSource(const Installation& installation, Findings& findings);

#endif  // TOOLS_DRAV_DOCTOR_CHAIN_CHECK_H_
