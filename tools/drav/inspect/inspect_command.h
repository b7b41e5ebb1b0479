// SPDX-License-Identifier: Apache-2.0
// The command line of drav inspect.
#ifndef TOOLS_DRAV_INSPECT_INSPECT_COMMAND_H_
#define TOOLS_DRAV_INSPECT_INSPECT_COMMAND_H_

#include "tools/drav/command.h"

// Adds the command to `app`.
Command addInspect(CLI::App& app);

#endif  // TOOLS_DRAV_INSPECT_INSPECT_COMMAND_H_
