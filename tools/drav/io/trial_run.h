// SPDX-License-Identifier: Apache-2.0
// Runs a program for a moment and keeps what it says.
#ifndef TOOLS_DRAV_IO_TRIAL_RUN_H_
#define TOOLS_DRAV_IO_TRIAL_RUN_H_

#include <string>
#include <vector>

#include "common/child_process.h"

// A program that is given little: no environment but PATH, the root folder, 5 s to
// end, 5 s of processor time, no core dump and no file writing.
ChildCommand trialCommand(const std::string& program,
                          const std::vector<std::string>& arguments = {});

struct TrialResult {
  ChildEnd end = ChildEnd::kNone;
  int code = 0;
  std::string output;  // standard output and standard error, at most 64 KiB
};

// Runs it to its end.
TrialResult runTrial(ChildCommand command);

#endif  // TOOLS_DRAV_IO_TRIAL_RUN_H_
