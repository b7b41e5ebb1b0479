// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/output_file.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "tests/support/files.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const Bytes kNew = {'n', 'e', 'w'};
const Bytes kOld = {'o', 'l', 'd', 'e', 'r'};

void writeNew(const OutputFile& file) {
  ASSERT_EQ(std::fwrite(kNew.data(), 1, kNew.size(), file.stream()), kNew.size());
}

TEST(OutputFile, AppearsWithTheCommit) {
  const TempFolder folder;
  std::string error;
  OutputFile file;
  ASSERT_TRUE(file.open(folder.file("out"), error)) << error;
  writeNew(file);
  EXPECT_NE(::access(folder.file("out").c_str(), F_OK), 0);
  EXPECT_TRUE(file.commit(error)) << error;
  EXPECT_THAT(folder.names(), ElementsAre("out"));
  EXPECT_TRUE(sameBytes(kNew, readFile(folder.file("out"))));
}

TEST(OutputFile, LeavesTheOlderFileUntilTheCommit) {
  const TempFolder folder;
  writeFile(folder.file("out"), kOld);
  std::string error;
  {
    OutputFile file;
    ASSERT_TRUE(file.open(folder.file("out"), error)) << error;
    writeNew(file);
    EXPECT_THAT(folder.names(), SizeIs(2));
  }
  EXPECT_THAT(folder.names(), ElementsAre("out"));
  EXPECT_TRUE(sameBytes(kOld, readFile(folder.file("out"))));
  OutputFile file;
  ASSERT_TRUE(file.open(folder.file("out"), error)) << error;
  writeNew(file);
  ASSERT_TRUE(file.commit(error)) << error;
  EXPECT_TRUE(sameBytes(kNew, readFile(folder.file("out"))));
}

TEST(OutputFile, GetsTheRightsOfANewFile) {
  const TempFolder folder;
  std::string error;
  for (const mode_t mask : {mode_t{022}, mode_t{077}, mode_t{0}}) {
    const mode_t before = ::umask(mask);
    OutputFile file;
    ASSERT_TRUE(file.open(folder.file("out"), error)) << error;
    ASSERT_TRUE(file.commit(error)) << error;
    ::umask(before);
    struct stat status = {};
    ASSERT_EQ(::stat(folder.file("out").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0666U & ~mask);
  }
}

TEST(OutputFile, RefusesWhatIsNoRegularFile) {
  const TempFolder folder;
  std::string error;
  OutputFile file;
  EXPECT_FALSE(file.open(folder.path(), error));
  EXPECT_EQ(error, folder.path() + ": is a folder");
  EXPECT_FALSE(file.open("/dev/null", error));
  EXPECT_EQ(error, "/dev/null: exists and is not a regular file");
  EXPECT_FALSE(file.open("", error));
  EXPECT_FALSE(file.open("-", error));
  EXPECT_FALSE(file.open(folder.file("none/out"), error));
  EXPECT_EQ(error, folder.file("none/out") + ": No such file or directory");
  EXPECT_EQ(file.stream(), nullptr);
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(OutputFile, NameMayBeAsLongAsTheSystemAllows) {
  const TempFolder folder;
  const std::string name(255, 'x');
  std::string error;
  OutputFile file;
  ASSERT_TRUE(file.open(folder.file(name), error)) << error;
  EXPECT_TRUE(file.commit(error)) << error;
  EXPECT_THAT(folder.names(), ElementsAre(name));
  ASSERT_TRUE(file.open(folder.file(name + "x"), error)) << error;
  EXPECT_FALSE(file.commit(error));
  EXPECT_THAT(folder.names(), ElementsAre(name));
}

TEST(OutputFile, SeveralAreCompletedBeforeTheFirstGetsItsName) {
  const TempFolder folder;
  std::string error;
  OutputFile one;
  OutputFile other;
  ASSERT_TRUE(one.open(folder.file("one"), error)) << error;
  ASSERT_TRUE(other.open(folder.file("other"), error)) << error;
  writeNew(one);
  EXPECT_TRUE(one.complete(error)) << error;
  EXPECT_TRUE(one.complete(error)) << error;
  EXPECT_NE(::access(folder.file("one").c_str(), F_OK), 0);
  EXPECT_TRUE(one.commit(error)) << error;
  EXPECT_TRUE(other.commit(error)) << error;
  EXPECT_THAT(folder.names(), ElementsAre("one", "other"));
  EXPECT_TRUE(sameBytes(kNew, readFile(folder.file("one"))));
  EXPECT_FALSE(one.commit(error));
  EXPECT_FALSE(one.complete(error));
}

TEST(OutputFile, ASignalRemovesAllThatAreOpen) {
  const TempFolder folder;
  const pid_t child = ::fork();
  if (child == 0) {
    std::string error;
    OutputFile done;
    OutputFile one;
    OutputFile two;
    if (!done.open(folder.file("done"), error) || !one.open(folder.file("one"), error) ||
        !two.open(folder.file("two"), error) || !done.commit(error) || !two.complete(error))
      ::_exit(1);
    (void)::raise(SIGTERM);
    ::_exit(2);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFSIGNALED(status)) << status;
  EXPECT_THAT(folder.names(), ElementsAre("done"));
}

TEST(OutputFile, FailedWriteLeavesNothing) {
  const TempFolder folder;
  std::string error;
  OutputFile file;
  ASSERT_TRUE(file.open(folder.file("out"), error)) << error;
  // The stream's descriptor becomes one that takes no bytes, like a full disk.
  const int full = ::open("/dev/full", O_WRONLY);
  ASSERT_GE(full, 0);
  ASSERT_GE(::dup2(full, ::fileno(file.stream())), 0);
  ::close(full);
  writeNew(file);
  EXPECT_FALSE(file.commit(error));
  EXPECT_EQ(error, folder.file("out") + ": " + std::strerror(ENOSPC));
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(OutputFile, FailedRenameLeavesNothing) {
  const TempFolder folder;
  std::string error;
  OutputFile file;
  ASSERT_TRUE(file.open(folder.file("out"), error)) << error;
  ASSERT_EQ(::mkdir(folder.file("out").c_str(), 0700), 0);
  EXPECT_FALSE(file.commit(error));
  EXPECT_EQ(error, folder.file("out") + ": Is a directory");
  EXPECT_THAT(folder.names(), ElementsAre("out"));
  EXPECT_FALSE(file.commit(error)) << "nothing is open any more";
}

// Ends a child in the middle of its output. Returns the signal that ended it, or
// its exit status made negative.
int signalThatEnds(const std::string& path, int signalNumber, bool ignored) {
  const pid_t child = ::fork();
  if (child == 0) {
    (void)::signal(signalNumber, ignored ? SIG_IGN : SIG_DFL);
    std::string error;
    OutputFile file;
    if (!file.open(path, error)) ::_exit(9);
    (void)::raise(signalNumber);
    if (!file.commit(error)) ::_exit(9);
    ::_exit(0);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFSIGNALED(status) ? WTERMSIG(status) : -WEXITSTATUS(status);
}

TEST(OutputFile, EndingSignalsRemoveTheTemporaryFile) {
  const TempFolder folder;
  for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
    EXPECT_EQ(signalThatEnds(folder.file("out"), signalNumber, false), signalNumber);
    EXPECT_THAT(folder.names(), IsEmpty()) << signalNumber;
  }
  EXPECT_EQ(signalThatEnds(folder.file("out"), SIGHUP, true), 0) << "an ignored signal stays so";
  EXPECT_THAT(folder.names(), ElementsAre("out"));
}

}  // namespace
