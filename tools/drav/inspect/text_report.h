// SPDX-License-Identifier: Apache-2.0
// The report of drav inspect for people.
#ifndef TOOLS_DRAV_INSPECT_TEXT_REPORT_H_
#define TOOLS_DRAV_INSPECT_TEXT_REPORT_H_

#include <cstdint>
#include <iosfwd>
#include <span>

#include "tools/drav/inspect/inspect.h"
#include "tools/drav/inspect/job_survey.h"

// Writes the commands, the totals and the warnings. `survey` is that of `stream`.
void writeTextReport(std::span<const uint8_t> stream, const InspectOptions& options,
                     const Survey& survey, std::ostream& out);

#endif  // TOOLS_DRAV_INSPECT_TEXT_REPORT_H_
