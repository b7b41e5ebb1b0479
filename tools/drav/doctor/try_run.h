// SPDX-License-Identifier: Apache-2.0
// Runs a program for a moment, bounded in time and in what it can do, and keeps
// what it says.
#ifndef TOOLS_DRAV_DOCTOR_TRY_RUN_H_
#define TOOLS_DRAV_DOCTOR_TRY_RUN_H_

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

struct TryRun {
  std::vector<std::string> command;  // a name without a slash is looked for in /usr/bin and so on
  std::string input;                 // what it reads on standard input
  int timeoutMilliseconds = 5000;
  // Whose place to take when this process is root's; both or none.
  std::optional<uid_t> uid;
  std::optional<gid_t> gid;
};

struct TryResult {
  enum class End {
    kExited,      // `code` is the exit status
    kSignalled,   // `code` is the signal
    kTimedOut,    // killed
    kNotStarted,  // `code` is the errno of execve
    kNotTried,    // the environment of the run could not be made; `code` is an errno
  };
  End end = End::kNotTried;
  int code = 0;
  std::string output;  // standard output and standard error, at most 64 KiB
};

// Runs it in a process group of its own with an empty environment but PATH, in
// the root folder, with 5 s of processor time, no core dump and no file writing.
// Everything of the group that is left at the end is killed.
TryResult tryRun(const TryRun& run);

#endif  // TOOLS_DRAV_DOCTOR_TRY_RUN_H_
