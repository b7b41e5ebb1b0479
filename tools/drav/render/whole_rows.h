// SPDX-License-Identifier: Apache-2.0
// The commands of a job for whoever draws it.
#ifndef TOOLS_DRAV_RENDER_WHOLE_ROWS_H_
#define TOOLS_DRAV_RENDER_WHOLE_ROWS_H_

#include <string>

#include "tools/drav/job/job_stream.h"

// Hands every command of `stream` to `take`: bool(const JobCommand&), false of which
// ends the reading. Of a band that the stream ends inside, that is its whole rows; what
// is missing then stands in `cut`. False when `take` was, or with one line in `error`
// for bytes that are no command.
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
