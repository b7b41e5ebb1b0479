// SPDX-License-Identifier: Apache-2.0
// Ctrl-C and its kin while there is something to tidy up.
#ifndef TOOLS_DRAV_IO_INTERRUPTION_H_
#define TOOLS_DRAV_IO_INTERRUPTION_H_

#include <array>
#include <csignal>

// The signals by which somebody ends a program that runs in a terminal.
inline constexpr std::array kEndingSignals = {SIGINT, SIGTERM, SIGHUP};

// While an Interruption lives, SIGINT, SIGTERM and SIGHUP do not end the program. They
// set a flag and interrupt slow system calls, so that the program can end its child
// processes and remove its scratch files. Its destructor gives the signals back and, when one has
// arrived, raises it again: the program then ends as its sender meant it to. Signals
// that the caller ignores stay ignored. Declare it before what must be tidied up,
// and close its scope before an OutputFile is opened. One at a time.
class Interruption {
 public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;
  Interruption(Interruption&&) = delete;
  Interruption& operator=(Interruption&&) = delete;

  // True once a signal has arrived; long work asks and gives up.
  static bool requested();
};

#endif  // TOOLS_DRAV_IO_INTERRUPTION_H_
