// SPDX-License-Identifier: Apache-2.0
// What a command of a job stream means, in words.
#ifndef TOOLS_DRAV_JOB_COMMAND_TEXT_H_
#define TOOLS_DRAV_JOB_COMMAND_TEXT_H_

#include <cstdint>
#include <string>

#include "proof/job_stream.h"
#include "tools/drav/job/paper_scale.h"

// A short name for programs, such as "raster-band". Never null.
const char* commandKey(CommandKind kind);

// One line without its end, such as "feed 160 units, 13.5 mm". Of a band it tells
// the size; what its dots are like is for the caller to add.
std::string commandMeaning(const JobCommand& command, const PaperScale& scale);

// Rows and width of a band, or of several with rows of one length.
std::string bandSizeText(uint64_t rows, uint32_t bytesPerRow);

#endif  // TOOLS_DRAV_JOB_COMMAND_TEXT_H_
