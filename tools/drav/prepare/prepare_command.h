// SPDX-License-Identifier: Apache-2.0
// The command line of drav prepare.
#ifndef TOOLS_DRAV_PREPARE_PREPARE_COMMAND_H_
#define TOOLS_DRAV_PREPARE_PREPARE_COMMAND_H_

#include "tools/drav/command.h"

// Adds the command to `app`.
Command addPrepare(CLI::App& app);

#endif  // TOOLS_DRAV_PREPARE_PREPARE_COMMAND_H_
