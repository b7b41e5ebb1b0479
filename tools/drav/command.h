// SPDX-License-Identifier: Apache-2.0
// What every command of drav shares: how it joins the command line, how it ends
// and how it says that it failed.
#ifndef TOOLS_DRAV_COMMAND_H_
#define TOOLS_DRAV_COMMAND_H_

#include <functional>
#include <string>

namespace CLI {
class App;
}  // namespace CLI

// What every command ends with.
enum ExitStatus : int {
  kExitDone = 0,
  kExitFindings = 1,  // done, and something was found that the caller should know
  kExitFailed = 2,    // bad input, failure, or wrong usage
};

// A subcommand. Its folder has one function that adds it: options, help text,
// example. `run` is called after the command line was parsed, if it names the
// command, and owns whatever the options were stored in.
struct Command {
  CLI::App* app = nullptr;   // owned by the application it was added to
  std::function<int()> run;  // gives the exit status
};

// Prints "drav: <text>" as one line on standard error, control characters made
// visible, and returns kExitFailed.
int failCommand(const std::string& text);

// Prints "drav: note: <text>" in the same way.
void printNote(const std::string& text);

// Flushes standard output: kExitFailed with its line when it cannot be written,
// else `status`.
int endCommand(int status);

#endif  // TOOLS_DRAV_COMMAND_H_
