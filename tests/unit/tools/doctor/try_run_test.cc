// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/try_run.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>

#include "tests/support/files.h"

namespace {

using testing::HasSubstr;

TryResult shell(const std::string& script, int timeoutMilliseconds = 20000) {
  TryRun run;
  run.command = {"sh", "-c", script};
  run.timeoutMilliseconds = timeoutMilliseconds;
  return tryRun(run);
}

TEST(TryRun, TellsOutputAndStatus) {
  const TryResult result = shell("echo out; echo err >&2; exit 3");
  EXPECT_EQ(result.end, TryResult::End::kExited);
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.output, "out\nerr\n");
}

TEST(TryRun, PassesInputAndNothingElse) {
  TryRun run;
  run.command = {"sh", "-c", "cat; env; pwd"};
  run.input = "given\n";
  ASSERT_EQ(::setenv("DRAV_TEST_SECRET", "x", 1), 0);
  const TryResult result = tryRun(run);
  EXPECT_THAT(result.output, HasSubstr("given\n"));
  EXPECT_THAT(result.output, HasSubstr("PATH=/usr/bin"));
  EXPECT_THAT(result.output, Not(HasSubstr("DRAV_TEST_SECRET")));
  EXPECT_THAT(result.output, HasSubstr("\n/\n"));
}

TEST(TryRun, WhatHangsIsEndedWithItsChildren) {
  const auto start = std::chrono::steady_clock::now();
  // The child of the program keeps its output open.
  const TryResult result = shell("sleep 60 & sleep 60", 200);
  EXPECT_EQ(result.end, TryResult::End::kTimedOut);
  const TryResult quiet = shell("exec >&- 2>&-; sleep 60", 200);
  EXPECT_EQ(quiet.end, TryResult::End::kTimedOut);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST(TryRun, TellsCrashes) {
  const TryResult result = shell("kill -SEGV $$");
  EXPECT_EQ(result.end, TryResult::End::kSignalled);
  EXPECT_EQ(result.code, SIGSEGV);
}

TEST(TryRun, OutputIsBounded) {
  const TryResult result = shell("yes | head -c 1000000");
  EXPECT_EQ(result.end, TryResult::End::kExited);
  EXPECT_EQ(result.output.size(), 65536U);
}

TEST(TryRun, NoFileCanBeWritten) {
  const TempFolder folder;
  EXPECT_EQ(shell("(echo x > " + folder.file("a") + "); echo done").output.find("done") ==
                std::string::npos,
            false);
  struct stat status = {};
  if (::stat(folder.file("a").c_str(), &status) == 0) {
    EXPECT_EQ(status.st_size, 0);
  }
}

TEST(TryRun, ProgramsThatDoNotStart) {
  const TempFolder folder;
  writeFile(folder.file("noise"), "no program\n");
  ASSERT_EQ(::chmod(folder.file("noise").c_str(), 0755), 0);
  TryRun run;
  run.command = {folder.file("noise")};
  TryResult result = tryRun(run);
  EXPECT_EQ(result.end, TryResult::End::kNotStarted);
  EXPECT_EQ(result.code, ENOEXEC) << "no shell is asked to try";
  run.command = {folder.file("none")};
  result = tryRun(run);
  EXPECT_EQ(result.end, TryResult::End::kNotStarted);
  EXPECT_EQ(result.code, ENOENT);
  run.command = {"no-such-program-anywhere"};
  EXPECT_EQ(tryRun(run).end, TryResult::End::kNotStarted);
}

TEST(TryRun, RootTakesAnothersPlace) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can";
  TryRun run;
  run.command = {"sh", "-c", "id -u; id -g; id -G"};
  run.uid = 12345;
  run.gid = 23456;
  EXPECT_EQ(tryRun(run).output, "12345\n23456\n23456\n");
}

}  // namespace
