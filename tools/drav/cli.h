// SPDX-License-Identifier: Apache-2.0
// The command line of drav: which commands there are, and what all of them share.
#ifndef TOOLS_DRAV_CLI_H_
#define TOOLS_DRAV_CLI_H_

#include "tools/drav/command.h"

// Runs the command that the arguments of main name and returns its exit status
// (ExitStatus). An error is one line "drav: ..." on standard error. Throws nothing.
int runDrav(int argc, const char* const* argv);

#endif  // TOOLS_DRAV_CLI_H_
