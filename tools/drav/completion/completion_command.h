// SPDX-License-Identifier: Apache-2.0
// The command line of drav completion.
#ifndef TOOLS_DRAV_COMPLETION_COMPLETION_COMMAND_H_
#define TOOLS_DRAV_COMPLETION_COMPLETION_COMMAND_H_

#include "tools/drav/command.h"

// Adds the command to `app`. It reads the options of all commands of `app` when it
// runs, wherever it was added among them.
Command addCompletion(CLI::App& app);

#endif  // TOOLS_DRAV_COMPLETION_COMPLETION_COMMAND_H_
