// SPDX-License-Identifier: Apache-2.0
// The command line of drav: options, messages and exit statuses of all commands.
#ifndef TOOLS_DRAV_CLI_H_
#define TOOLS_DRAV_CLI_H_

// What every command of drav ends with.
enum ExitStatus : int {
  kExitDone = 0,
  kExitFindings = 1,  // done, and something was found that the caller should know
  kExitFailed = 2,    // bad input, failure, or wrong usage
};

// Runs the command that the arguments of main name and returns its exit status.
// An error is one line "drav: ..." on standard error. Throws nothing.
int runDrav(int argc, const char* const* argv);

#endif  // TOOLS_DRAV_CLI_H_
