// SPDX-License-Identifier: Apache-2.0
// The report of drav inspect for programs; docs/inspect.md describes it.
#ifndef TOOLS_DRAV_INSPECT_JSON_REPORT_H_
#define TOOLS_DRAV_INSPECT_JSON_REPORT_H_

#include <cstdint>
#include <iosfwd>
#include <span>

#include "tools/drav/inspect/inspect.h"
#include "tools/drav/inspect/job_survey.h"

// Of the form of the document. Fields may be added under the same number; one that
// goes or changes its meaning raises it.
inline constexpr int kJsonFormatVersion = 1;

// Writes one JSON document. `survey` is that of `stream`.
void writeJsonReport(std::span<const uint8_t> stream, const InspectOptions& options,
                     const Survey& survey, std::ostream& out);

#endif  // TOOLS_DRAV_INSPECT_JSON_REPORT_H_
