// SPDX-License-Identifier: Apache-2.0
// Names, progress, scratch files, interruptions and child processes.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>

#include "common/child_process.h"
#include "common/temporary_file.h"
#include "tests/support/files.h"
#include "tests/support/scoped_env.h"
#include "tools/drav/io/interruption.h"
#include "tools/drav/io/output_name.h"
#include "tools/drav/io/progress.h"
#include "tools/drav/io/scratch_folder.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

TEST(OutputName, IsMadeFromTheInputs) {
  EXPECT_EQ(defaultOutputName("/home/a/drawing.pdf", "-proof.png"), "drawing-proof.png");
  EXPECT_EQ(defaultOutputName("a.b.pdf", "-proof.png"), "a.b-proof.png");
  EXPECT_EQ(defaultOutputName("../.hidden", "-proof.png"), ".hidden-proof.png");
  EXPECT_EQ(defaultOutputName("d.x/plain", "-sheet.pdf"), "plain-sheet.pdf");
  EXPECT_EQ(defaultOutputName("-", "-proof.png"), "proof.png");
  EXPECT_EQ(defaultOutputName("/dev/fd/63", "-proof.png"), "proof.png");
  EXPECT_EQ(insertBeforeEnding("d.x/out", "-2"), "d.x/out-2");
  EXPECT_EQ(insertBeforeEnding("d.x/out.png", "-2"), "d.x/out-2.png");
  EXPECT_EQ(insertBeforeEnding(".png", "-2"), ".png-2");
  EXPECT_EQ(pageName("a.png", 3, 9), "a-3.png");
  EXPECT_EQ(pageName("a.png", 3, 10), "a-03.png");
  EXPECT_EQ(pageName("a.png", 10, 10), "a-10.png");
  EXPECT_EQ(pageName("d.x/a", 7, 1234), "d.x/a-0007");
  EXPECT_EQ(endingOf("a/B.PNG"), ".png");
  EXPECT_EQ(endingOf("a.d/b"), "");
}

TEST(OutputName, TheInputIsKnownUnderOtherNames) {
  const TempFolder folder;
  writeFile(folder.file("in"), std::string("x"));
  ASSERT_EQ(::symlink("in", folder.file("link").c_str()), 0);
  std::string error;
  EXPECT_FALSE(checkNotInput(folder.file("link"), folder.file("in"), error));
  EXPECT_THAT(error, HasSubstr("link: is the input"));
  EXPECT_TRUE(checkNotInput(folder.file("out"), folder.file("in"), error));
}

TEST(Progress, DrawsABarWhenTheEndIsKnown) {
  const MemoryStream terminal;
  {
    Progress progress(terminal.get(), 60);
    progress.show(1, 4, "page 1");
    progress.show(4, 4, "page 4");
  }
  EXPECT_EQ(terminal.text(),
            "\r\x1B[K[######..................]  25 % | page 1"
            "\r\x1B[K[########################] 100 % / page 4\r\x1B[K");
}

TEST(Progress, OnlyAMarkMovesWhenItIsNot) {
  const MemoryStream terminal;
  Progress progress(terminal.get(), 21);
  progress.show(0, 0, "reading a long name.pdf");
  EXPECT_EQ(terminal.text(), "\r\x1B[K| reading a long nam");
}

TEST(Progress, IsPaced) {
  const MemoryStream terminal;
  Progress progress(terminal.get(), 80);
  for (int i = 0; i < 1000; ++i) progress.show(1, 2, "same");
  EXPECT_LT(terminal.text().size(), 300U);
}

TEST(Progress, IsSilentWithoutATerminal) {
  const ScopedEnv term("TERM", "xterm");
  testing::internal::CaptureStderr();
  {
    Progress progress(false);
    progress.show(1, 2, "x");
    progress.tick();
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ScratchFolder, IsPrivateAndGoesWithAllThatIsInIt) {
  const TempFolder parent;
  const ScopedEnv tmpdir("TMPDIR", parent.path());
  std::string error;
  {
    ScratchFolder scratch;
    ASSERT_TRUE(scratch.make(error)) << error;
    EXPECT_THAT(scratch.path(), StartsWith(parent.path() + "/drav-"));
    struct stat status = {};
    ASSERT_EQ(::stat(scratch.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
    ASSERT_EQ(::mkdir(scratch.file("deeper").c_str(), 0700), 0);
    EXPECT_TRUE(writeScratchFile(scratch.file("deeper/a"), "abc", 3, error)) << error;
    EXPECT_FALSE(writeScratchFile(scratch.file("none/a"), "abc", 3, error));
  }
  EXPECT_THAT(parent.names(), IsEmpty());
  const ScopedEnv missing("TMPDIR", parent.file("none"));
  ScratchFolder scratch;
  EXPECT_FALSE(scratch.make(error));
  EXPECT_THAT(error, HasSubstr("No such file"));
}

TEST(ScratchFolder, AnonymousFilesHoldWhatIsWritten) {
  std::string error;
  const int file = openAnonymousFile(error);
  ASSERT_GE(file, 0) << error;
  EXPECT_EQ(::write(file, "abc", 3), 3);
  EXPECT_EQ(::lseek(file, 0, SEEK_END), 3);
  ::close(file);
}

// Runs `code` in a process of its own; what it ended with, as waitpid tells it.
template <typename Code>
int statusOf(const Code& code) {
  const pid_t child = ::fork();
  if (child == 0) {
    code();
    ::_exit(42);
  }
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  return status;
}

TEST(Interruption, SetsAFlagAndEndsTheProgramAtItsEnd) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    const TempFolder folder;
    const std::string mark = folder.file("unwound");
    const int status = statusOf([number, &mark] {
      const Interruption interruption;
      if (Interruption::requested()) ::_exit(1);
      (void)::raise(number);
      if (!Interruption::requested()) ::_exit(2);
      writeFile(mark, std::string("yes"));
    });
    EXPECT_TRUE(WIFSIGNALED(status)) << status;
    EXPECT_EQ(WTERMSIG(status), number);
    EXPECT_EQ(::access(mark.c_str(), F_OK), 0);
  }
}

TEST(Interruption, IgnoredSignalsStayIgnored) {
  const int status = statusOf([] {
    (void)::signal(SIGHUP, SIG_IGN);
    const Interruption interruption;
    (void)::raise(SIGHUP);
    if (Interruption::requested()) ::_exit(1);
  });
  EXPECT_EQ(WEXITSTATUS(status), 42);
}

class ChildProcessTest : public testing::Test {
 protected:
  static ChildCommand shell(const std::string& script) {
    ChildCommand command;
    command.program = "/bin/sh";
    command.arguments = {"-c", script};
    return command;
  }

  // All of its output.
  std::string readAll() {
    std::string text;
    std::array<uint8_t, 1000> buffer{};
    for (;;) {
      const ssize_t got = child_.read(buffer.data(), buffer.size());
      if (got <= 0) return text;
      text.append(reinterpret_cast<const char*>(buffer.data()), static_cast<size_t>(got));
    }
  }

  ChildProcess child_;
  std::string error_;
};

TEST_F(ChildProcessTest, OutputAndMessagesAreKeptApart) {
  ASSERT_TRUE(child_.start(shell("echo out; echo err >&2; cat"), error_)) << error_;
  EXPECT_EQ(readAll(), "out\n");
  EXPECT_TRUE(child_.finish()) << child_.failure();
  EXPECT_EQ(child_.messages(), "err\n");
}

TEST_F(ChildProcessTest, ManyMessagesKeepTheirBeginningAndTheirEnd) {
  ASSERT_TRUE(child_.start(shell("echo first >&2; i=0; while [ $i -lt 4000 ]; do echo "
                                 "'a line of about forty bytes, to and fro' >&2; i=$((i+1)); "
                                 "done; echo last >&2"),
                           error_));
  EXPECT_TRUE(child_.finish()) << child_.failure();
  EXPECT_THAT(child_.messages(), StartsWith("first\n"));
  EXPECT_THAT(child_.messages(), testing::EndsWith("last\n"));
  EXPECT_LE(child_.messages().size(), size_t{1} << 16U);
}

TEST_F(ChildProcessTest, TellsHowItEnded) {
  ASSERT_TRUE(child_.start(shell("exit 7"), error_));
  EXPECT_FALSE(child_.finish());
  EXPECT_EQ(child_.failure(), "sh ended with status 7");
  ASSERT_TRUE(child_.start(shell("kill -KILL $$"), error_));
  EXPECT_FALSE(child_.finish());
  EXPECT_EQ(child_.failure(), "sh was ended by signal 9");
  ASSERT_TRUE(child_.start(shell("exit 0"), error_));
  EXPECT_TRUE(child_.finish());
  EXPECT_EQ(child_.failure(), "");
  ChildCommand missing;
  missing.program = "/no/such/program";
  EXPECT_FALSE(child_.start(missing, error_));
  EXPECT_EQ(error_, "program cannot be run: No such file or directory");
}

TEST_F(ChildProcessTest, SilenceEndsIt) {
  ChildCommand command = shell("echo one; sleep 1000");
  command.silenceMilliseconds = 300;
  const auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(child_.start(command, error_));
  EXPECT_EQ(readAll(), "one\n");
  EXPECT_FALSE(child_.finish());
  EXPECT_EQ(child_.failure(), "sh gave nothing for 0 s and was ended");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

TEST_F(ChildProcessTest, IsEndedWhenAsked) {
  ChildCommand command = shell("echo one; sleep 1000");
  bool isAsked = false;
  command.stopRequested = [&isAsked] { return isAsked; };
  ASSERT_TRUE(child_.start(command, error_));
  std::array<uint8_t, 10> buffer{};
  EXPECT_EQ(child_.read(buffer.data(), buffer.size()), 4);
  isAsked = true;
  EXPECT_EQ(child_.read(buffer.data(), buffer.size()), -1);
  EXPECT_EQ(child_.failure(), "interrupted");
  EXPECT_EQ(child_.end(), ChildEnd::kInterrupted);

  // And when all of its output is there.
  isAsked = false;
  command.arguments.back() = "exec >&- 2>&-; sleep 1000";
  ASSERT_TRUE(child_.start(command, error_));
  EXPECT_EQ(child_.read(buffer.data(), buffer.size()), 0);
  isAsked = true;
  EXPECT_FALSE(child_.finish());
  EXPECT_EQ(child_.end(), ChildEnd::kInterrupted);
}

TEST_F(ChildProcessTest, DeafProgramsAndTheirOffspringAreKilled) {
  const TempFolder folder;
  const std::string note = folder.file("note");
  ASSERT_TRUE(child_.start(shell("trap '' TERM; sleep 1000 & echo $! > " + note +
                                 "; echo ready; while :; do sleep 1; done"),
                           error_));
  std::array<uint8_t, 16> buffer{};
  ASSERT_GT(child_.read(buffer.data(), buffer.size()), 0);
  child_.kill();
  const Bytes written = readFile(note);
  const pid_t offspring = std::stoi(std::string(written.begin(), written.end()));
  // Dead, or dead and waiting for whoever inherits it.
  for (int i = 0; i < 200 && ::kill(offspring, 0) == 0; ++i) {
    const Bytes stat = readFile("/proc/" + std::to_string(offspring) + "/stat");
    if (std::string(stat.begin(), stat.end()).find(") Z ") != std::string::npos) return;
    ::usleep(10'000);
  }
  EXPECT_NE(::kill(offspring, 0), 0);
}

// How many descriptors of this process are open.
int openDescriptors() {
  int count = 0;
  for (int descriptor = 0; descriptor < 1024; ++descriptor)
    if (::fcntl(descriptor, F_GETFD) >= 0) ++count;
  return count;
}

// A grandchild in a session of its own, which nothing kills, holds the other ends.
TEST_F(ChildProcessTest, NoDescriptorIsLeftWhileAGrandchildHoldsTheOtherEnd) {
  const TempFolder folder;
  const std::string note = folder.file("note");
  const auto endGrandchild = [&note] {
    const Bytes written = readFile(note);
    (void)::kill(std::stoi(std::string(written.begin(), written.end())), SIGKILL);
  };
  const int before = openDescriptors();
  for (const char* const ending : {"exit 0", "exit 3", "kill -KILL $$"}) {
    ASSERT_TRUE(child_.start(
        shell("setsid sleep 1000 > /dev/null & echo $! > " + note + "; echo err >&2; " + ending),
        error_));
    EXPECT_EQ(child_.finish(), ending == std::string("exit 0")) << child_.failure();
    EXPECT_EQ(child_.messages(), "err\n");
    EXPECT_EQ(openDescriptors(), before) << ending;
    endGrandchild();
  }
  ASSERT_TRUE(
      child_.start(shell("setsid sleep 1000 & echo $! > " + note + "; echo ready; wait"), error_));
  std::array<uint8_t, 16> buffer{};
  ASSERT_GT(child_.read(buffer.data(), buffer.size()), 0);
  child_.kill();
  EXPECT_EQ(openDescriptors(), before) << "killed";
  endGrandchild();
  ChildCommand missing;
  missing.program = "/no/such/program";
  missing.input = "never read";
  EXPECT_FALSE(child_.start(missing, error_));
  EXPECT_EQ(openDescriptors(), before) << "not started";
}

TEST_F(ChildProcessTest, LimitsHold) {
  const TempFolder folder;
  ChildCommand command = shell("head -c 100000 /dev/zero > " + folder.file("big"));
  command.fileBytes = 5000;
  ASSERT_TRUE(child_.start(command, error_));
  EXPECT_FALSE(child_.finish());
  struct stat status = {};
  ASSERT_EQ(::stat(folder.file("big").c_str(), &status), 0);
  EXPECT_LE(status.st_size, 5000);
  command = shell("ulimit -v; ulimit -t; ulimit -c");
  command.memoryBytes = uint64_t{512} << 20U;
  command.cpuSeconds = 9;
  ASSERT_TRUE(child_.start(command, error_));
  EXPECT_EQ(readAll(), "524288\n9\n0\n");
}

TEST_F(ChildProcessTest, EnvironmentIsSetOverOurs) {
  const ScopedEnv kept("DRAV_KEPT", "kept");
  const ScopedEnv replaced("DRAV_REPLACED", "old");
  ChildCommand command = shell("echo $DRAV_KEPT $DRAV_REPLACED");
  command.environment = {{"DRAV_REPLACED", "new"}};
  ASSERT_TRUE(child_.start(command, error_));
  EXPECT_EQ(readAll(), "kept new\n");
}

TEST_F(ChildProcessTest, IdleIsCalledWhileItIsWaitedFor) {
  int calls = 0;
  child_.setIdle([&calls] { ++calls; });
  ASSERT_TRUE(child_.start(shell("sleep 0.5"), error_));
  EXPECT_TRUE(child_.finish());
  EXPECT_GE(calls, 2);
}

TEST(FindProgram, VariableComesFirst) {
  const ScopedEnv none("DRAV_TEST_PROGRAM", std::nullopt);
  EXPECT_THAT(findProgram("sh", "DRAV_TEST_PROGRAM"), MatchesRegex("/.*/sh"));
  EXPECT_EQ(findProgram("no-such-program", "DRAV_TEST_PROGRAM"), "");
  {
    const ScopedEnv noPath("PATH", std::nullopt);
    EXPECT_THAT(findProgram("sh"), MatchesRegex("/.*/sh"));
  }
  const ScopedEnv path("DRAV_TEST_PROGRAM", "/x/y");
  EXPECT_EQ(findProgram("sh", "DRAV_TEST_PROGRAM"), "/x/y");
  const ScopedEnv empty("DRAV_TEST_PROGRAM", "");
  EXPECT_EQ(findProgram("sh", "DRAV_TEST_PROGRAM"), "");
  EXPECT_THAT(findProgram("sh"), MatchesRegex("/.*/sh"));
}

}  // namespace
