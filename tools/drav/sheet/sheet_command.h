// SPDX-License-Identifier: Apache-2.0
// The command line of drav sheet.
#ifndef TOOLS_DRAV_SHEET_SHEET_COMMAND_H_
#define TOOLS_DRAV_SHEET_SHEET_COMMAND_H_

#include "tools/drav/command.h"

// Adds the command to `app`.
Command addSheet(CLI::App& app);

#endif  // TOOLS_DRAV_SHEET_SHEET_COMMAND_H_
