// SPDX-License-Identifier: Apache-2.0
// The report of drav inspect for programs; docs/inspect.md describes it.
#ifndef TOOLS_DRAV_INSPECT_JSON_REPORT_H_
#define TOOLS_DRAV_INSPECT_JSON_REPORT_H_

#include <cstdint>
#include <iosfwd>
#include <span>

#include "tools/drav/inspect/inspect.h"
#include "tools/drav/inspect/job_survey.h"

// The version of the document's form. Added fields leave it as it is; a field that goes
// or changes its meaning raises it.
inline constexpr int kJsonFormatVersion = 1;

// Writes one JSON document. `survey` is that of `stream`.
void writeJsonReport(std::span<const uint8_t> stream, const InspectOptions& options,
                     const Survey& survey, std::ostream& out);

#endif  // TOOLS_DRAV_INSPECT_JSON_REPORT_H_
