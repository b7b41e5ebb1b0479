// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/trial_run.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>

#include "tests/support/files.h"

namespace {

using testing::HasSubstr;

TrialResult shell(const std::string& script, int mostMilliseconds = 20000) {
  ChildCommand command = trialCommand("/bin/sh", {"-c", script});
  command.mostMilliseconds = mostMilliseconds;
  return runTrial(command);
}

TEST(TrialRun, TellsOutputAndStatus) {
  const TrialResult result = shell("echo out; echo err >&2; exit 3");
  EXPECT_EQ(result.end, ChildEnd::kExited);
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.output, "out\nerr\n");
}

TEST(TrialRun, PassesInputAndNothingElse) {
  ChildCommand command = trialCommand("/bin/sh", {"-c", "cat; env; pwd"});
  command.input = "given\n";
  ASSERT_EQ(::setenv("DRAV_TEST_SECRET", "x", 1), 0);
  const TrialResult result = runTrial(command);
  EXPECT_THAT(result.output, HasSubstr("given\n"));
  EXPECT_THAT(result.output, HasSubstr("PATH=/usr/bin"));
  EXPECT_THAT(result.output, Not(HasSubstr("DRAV_TEST_SECRET")));
  EXPECT_THAT(result.output, HasSubstr("\n/\n"));
}

TEST(TrialRun, WhatHangsIsEndedWithItsChildren) {
  const auto start = std::chrono::steady_clock::now();
  // The child of the program keeps its output open.
  const TrialResult result = shell("sleep 60 & sleep 60", 200);
  EXPECT_EQ(result.end, ChildEnd::kTimedOut);
  const TrialResult quiet = shell("exec >&- 2>&-; sleep 60", 200);
  EXPECT_EQ(quiet.end, ChildEnd::kTimedOut);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST(TrialRun, WhatTalksForeverIsEnded) {
  const TrialResult result = shell("while :; do echo x; sleep 0.05; done", 500);
  EXPECT_EQ(result.end, ChildEnd::kTimedOut);
  EXPECT_THAT(result.output, HasSubstr("x\nx\n"));
}

TEST(TrialRun, WhatCannotBeMadeIsNotTried) {
  ChildCommand command = trialCommand("/bin/true");
  command.folder = "/no/such/folder";
  const TrialResult result = runTrial(command);
  EXPECT_EQ(result.end, ChildEnd::kNotTried);
  EXPECT_EQ(result.code, ENOENT);
}

TEST(TrialRun, TellsCrashes) {
  const TrialResult result = shell("kill -SEGV $$");
  EXPECT_EQ(result.end, ChildEnd::kSignalled);
  EXPECT_EQ(result.code, SIGSEGV);
}

TEST(TrialRun, OutputIsBounded) {
  const TrialResult result = shell("yes | head -c 1000000");
  EXPECT_EQ(result.end, ChildEnd::kExited);
  EXPECT_EQ(result.output.size(), 65536U);
}

TEST(TrialRun, NoFileCanBeWritten) {
  const TempFolder folder;
  EXPECT_EQ(shell("(echo x > " + folder.file("a") + "); echo done").output.find("done") ==
                std::string::npos,
            false);
  struct stat status = {};
  if (::stat(folder.file("a").c_str(), &status) == 0) {
    EXPECT_EQ(status.st_size, 0);
  }
}

TEST(TrialRun, ProgramsThatDoNotStart) {
  const TempFolder folder;
  writeFile(folder.file("noise"), "no program\n");
  ASSERT_EQ(::chmod(folder.file("noise").c_str(), 0755), 0);
  TrialResult result = runTrial(trialCommand(folder.file("noise")));
  EXPECT_EQ(result.end, ChildEnd::kNotStarted);
  EXPECT_EQ(result.code, ENOEXEC) << "no shell is asked to try";
  for (const std::string& missing : {folder.file("none"), std::string()}) {
    result = runTrial(trialCommand(missing));
    EXPECT_EQ(result.end, ChildEnd::kNotStarted);
    EXPECT_EQ(result.code, ENOENT);
  }
}

TEST(TrialRun, RootTakesAnothersPlace) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can";
  ChildCommand command = trialCommand("/bin/sh", {"-c", "id -u; id -g; id -G"});
  command.uid = 12345;
  command.gid = 23456;
  EXPECT_EQ(runTrial(command).output, "12345\n23456\n23456\n");
}

}  // namespace
