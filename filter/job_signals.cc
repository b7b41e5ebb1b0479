// SPDX-License-Identifier: Apache-2.0
#include "filter/job_signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>

namespace {

volatile std::sig_atomic_t cancelRequested = 0;

extern "C" void noteCancel(int /*signal*/) { cancelRequested = 1; }

void handle(int signal, void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  sigaction(signal, &action, nullptr);
}

}  // namespace

void installJobSignals() {
  handle(SIGTERM, noteCancel);
  handle(SIGPIPE, SIG_IGN);
  handle(SIGXFSZ, SIG_IGN);
}

bool jobCancelRequested() { return cancelRequested != 0; }

void awaitJobCancel() {
  constexpr int kSlices = 50;  // of 1 ms; a signal cuts its slice short
  for (int i = 0; i < kSlices && cancelRequested == 0; ++i) {
    timespec slice = {};
    slice.tv_nsec = 1000000;
    nanosleep(&slice, nullptr);
  }
}

void reserveStandardDescriptors() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF) continue;  // GCOVR_EXCL_BR_LINE
    // Opened the wrong way round: reading the missing input and writing the
    // missing output fail. open takes the lowest free number, this one.
    const int access = descriptor == STDOUT_FILENO ? O_RDONLY : O_WRONLY;
    if (open("/dev/null", access) == -1) return;  // GCOVR_EXCL_BR_LINE: no /dev/null
  }
}
