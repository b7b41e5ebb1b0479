// SPDX-License-Identifier: Apache-2.0
// drav inspect: what is in a job stream or command record.
#ifndef TOOLS_DRAV_INSPECT_INSPECT_H_
#define TOOLS_DRAV_INSPECT_INSPECT_H_

#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>

#include "tools/drav/job/paper_scale.h"

struct InspectOptions {
  std::string name;  // of the input, for the report
  PrinterFacts printer;
  bool json = false;  // one JSON document instead of text
  bool all = false;   // an entry for every command, no runs
};

// Writes the report about `stream` to `out` and returns kExitDone for a job without
// warnings, kExitFindings for one with. kExitFailed, with one line in `error` and
// nothing written, when the stream is no job at all. Reads the stream a fixed number
// of times and takes no memory that grows with it. When `out` fails it stops early;
// whoever owns `out` must look.
int inspectStream(std::span<const uint8_t> stream, const InspectOptions& given, std::ostream& out,
                  std::string& error);

#endif  // TOOLS_DRAV_INSPECT_INSPECT_H_
