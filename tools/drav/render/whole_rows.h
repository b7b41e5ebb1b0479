// SPDX-License-Identifier: Apache-2.0
// The commands of a job for whoever draws it.
#ifndef TOOLS_DRAV_RENDER_WHOLE_ROWS_H_
#define TOOLS_DRAV_RENDER_WHOLE_ROWS_H_

#include <string>

#include "proof/job_stream.h"

// Hands every command of `stream` to `take`: bool(const JobCommand&); false ends the
// reading. If the stream ends inside a band, `take` gets the band's whole rows, and `cut`
// tells what is missing. Returns false when `take` did, or, with one line in `error`, at
// bytes that are not a command.
template <typename Take>
bool eachCommand(std::span<const uint8_t> stream, Take take, std::string& cut, std::string& error) {
  JobStreamReader reader(stream);
  while (const auto command = reader.next())
    if (!take(*command)) return false;
  if (!reader.error()) return true;
  if (!reader.isCut()) {
    error = reader.error()->text;
    return false;
  }
  cut = reader.error()->text;
  const auto band = reader.cutBand();
  return !band || take(*band);
}

#endif  // TOOLS_DRAV_RENDER_WHOLE_ROWS_H_
