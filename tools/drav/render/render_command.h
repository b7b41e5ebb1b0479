// SPDX-License-Identifier: Apache-2.0
// The command line of drav render.
#ifndef TOOLS_DRAV_RENDER_RENDER_COMMAND_H_
#define TOOLS_DRAV_RENDER_RENDER_COMMAND_H_

#include "tools/drav/command.h"

// Adds the command to `app`.
Command addRender(CLI::App& app);

#endif  // TOOLS_DRAV_RENDER_RENDER_COMMAND_H_
