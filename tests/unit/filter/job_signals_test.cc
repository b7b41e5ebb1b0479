// SPDX-License-Identifier: Apache-2.0
// Signals and standard descriptors belong to the process: each test changes
// those of a child.
#include "filter/job_signals.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace {

// Leaves a child at once; open streams are the parent's business.
[[noreturn]] void leave(bool good) { _exit(good ? 0 : 1); }

const testing::ExitedWithCode kGood(0);

TEST(JobSignalsDeathTest, NothingIsCancelledBeforeASignal) {
  EXPECT_EXIT(
      {
        installJobSignals();
        leave(!jobCancelRequested());
      },
      kGood, "");
}

TEST(JobSignalsDeathTest, SigtermIsNotedAndSoIsEveryFurtherOne) {
  EXPECT_EXIT(
      {
        installJobSignals();
        std::raise(SIGTERM);
        const bool first = jobCancelRequested();
        std::raise(SIGTERM);
        leave(first && jobCancelRequested());
      },
      kGood, "");
}

TEST(JobSignalsDeathTest, InterruptedCallsAreRestarted) {
  EXPECT_EXIT(
      {
        installJobSignals();
        struct sigaction action = {};
        const bool known = sigaction(SIGTERM, nullptr, &action) == 0;
        leave(known && (action.sa_flags & SA_RESTART) != 0 && action.sa_handler != SIG_DFL &&
              action.sa_handler != SIG_IGN);
      },
      kGood, "");
}

TEST(JobSignalsDeathTest, BrokenPipeIsAWriteErrorAndNoSignal) {
  EXPECT_EXIT(
      {
        installJobSignals();
        int ends[2] = {-1, -1};
        if (pipe(ends) != 0) leave(false);
        close(ends[0]);
        const ssize_t written = write(ends[1], "x", 1);
        leave(written == -1 && errno == EPIPE);
      },
      kGood, "");
}

TEST(JobSignalsDeathTest, ClosedStandardDescriptorsAreTakenAndFail) {
  EXPECT_EXIT(
      {
        close(STDIN_FILENO);
        close(STDOUT_FILENO);
        close(STDERR_FILENO);
        reserveStandardDescriptors();
        char byte = 0;
        const bool inputFails = read(STDIN_FILENO, &byte, 1) == -1 && errno == EBADF;
        const bool outputFails = write(STDOUT_FILENO, "x", 1) == -1 && errno == EBADF;
        const bool errorsVanish = write(STDERR_FILENO, "x", 1) == 1;
        const int next = open("/dev/null", O_RDONLY);
        leave(inputFails && outputFails && errorsVanish && next > STDERR_FILENO);
      },
      kGood, "");
}

TEST(JobSignalsDeathTest, OpenStandardDescriptorsStayAsTheyAre) {
  EXPECT_EXIT(
      {
        int ends[2] = {-1, -1};
        if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) == -1) leave(false);
        reserveStandardDescriptors();
        char byte = 0;
        leave(write(STDOUT_FILENO, "x", 1) == 1 && read(ends[0], &byte, 1) == 1 && byte == 'x');
      },
      kGood, "");
}

}  // namespace
