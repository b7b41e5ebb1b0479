// SPDX-License-Identifier: Apache-2.0
// Signals and standard descriptors belong to the process: each test changes
// those of a child.
#include "filter/job_signals.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace {

// Each of these runs in a child and answers whether all was well there.

bool isQuietBeforeASignal() {
  installJobSignals();
  return !jobCancelRequested();
}

bool notesEverySigterm() {
  installJobSignals();
  std::raise(SIGTERM);
  const bool first = jobCancelRequested();
  std::raise(SIGTERM);
  return first && jobCancelRequested();
}

std::chrono::milliseconds waited() {
  const auto start = std::chrono::steady_clock::now();
  awaitJobCancel();
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                               start);
}

bool waitsAMomentForASignal() {
  installJobSignals();
  return waited() >= std::chrono::milliseconds(50) && !jobCancelRequested();
}

bool doesNotWaitBehindASignal() {
  installJobSignals();
  std::raise(SIGTERM);
  return waited() < std::chrono::milliseconds(50);
}

bool seesASignalThatComesWhileItWaits() {
  installJobSignals();
  const pid_t child = fork();
  if (child == -1) return false;
  if (child == 0) _exit(kill(getppid(), SIGTERM));
  awaitJobCancel();
  int status = 0;
  waitpid(child, &status, 0);
  return status == 0 && jobCancelRequested();
}

bool restartsInterruptedCalls() {
  installJobSignals();
  struct sigaction action = {};
  return sigaction(SIGTERM, nullptr, &action) == 0 && (action.sa_flags & SA_RESTART) != 0 &&
         action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN;
}

bool seesABrokenPipeAsAnError() {
  installJobSignals();
  int ends[2] = {-1, -1};
  if (pipe(ends) != 0) return false;
  close(ends[0]);
  return write(ends[1], "x", 1) == -1 && errno == EPIPE;
}

bool seesAFileThatIsTooLargeAsAnError() {
  installJobSignals();
  std::FILE* file = std::tmpfile();
  struct rlimit none = {};
  if (file == nullptr || setrlimit(RLIMIT_FSIZE, &none) != 0) return false;
  return write(fileno(file), "x", 1) == -1 && errno == EFBIG;
}

bool takesClosedDescriptors() {
  close(STDIN_FILENO);
  close(STDOUT_FILENO);
  close(STDERR_FILENO);
  reserveStandardDescriptors();
  char byte = 0;
  const bool inputFails = read(STDIN_FILENO, &byte, 1) == -1 && errno == EBADF;
  const bool outputFails = write(STDOUT_FILENO, "x", 1) == -1 && errno == EBADF;
  const bool errorsVanish = write(STDERR_FILENO, "x", 1) == 1;
  const int next = open("/dev/null", O_RDONLY);
  return inputFails && outputFails && errorsVanish && next > STDERR_FILENO;
}

bool leavesOpenDescriptors() {
  int ends[2] = {-1, -1};
  if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) == -1) return false;
  reserveStandardDescriptors();
  char byte = 0;
  return write(STDOUT_FILENO, "x", 1) == 1 && read(ends[0], &byte, 1) == 1 && byte == 'x';
}

// _exit: open streams and folders are the parent's business.
#define EXPECT_IN_CHILD(check) EXPECT_EXIT(_exit((check)() ? 0 : 1), testing::ExitedWithCode(0), "")

TEST(JobSignalsDeathTest, NothingIsCancelledBeforeASignal) {
  EXPECT_IN_CHILD(isQuietBeforeASignal);
}

TEST(JobSignalsDeathTest, SigtermIsNotedAndSoIsEveryFurtherOne) {
  EXPECT_IN_CHILD(notesEverySigterm);
}

TEST(JobSignalsDeathTest, CancelIsAwaitedForAMoment) {
  EXPECT_IN_CHILD(waitsAMomentForASignal);
  EXPECT_IN_CHILD(doesNotWaitBehindASignal);
  EXPECT_IN_CHILD(seesASignalThatComesWhileItWaits);
}

TEST(JobSignalsDeathTest, InterruptedCallsAreRestarted) {
  EXPECT_IN_CHILD(restartsInterruptedCalls);
}

TEST(JobSignalsDeathTest, BrokenPipeIsAWriteErrorAndNoSignal) {
  EXPECT_IN_CHILD(seesABrokenPipeAsAnError);
}

TEST(JobSignalsDeathTest, FileThatIsTooLargeIsAWriteErrorAndNoSignal) {
  EXPECT_IN_CHILD(seesAFileThatIsTooLargeAsAnError);
}

TEST(JobSignalsDeathTest, ClosedStandardDescriptorsAreTakenAndFail) {
  EXPECT_IN_CHILD(takesClosedDescriptors);
}

TEST(JobSignalsDeathTest, OpenStandardDescriptorsStayAsTheyAre) {
  EXPECT_IN_CHILD(leavesOpenDescriptors);
}

}  // namespace
