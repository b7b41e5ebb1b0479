// SPDX-License-Identifier: Apache-2.0
#include "common/private_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "common/scope_guard.h"
#include "tests/support/files.h"

namespace {

class PrivateFileTest : public testing::Test {
 protected:
  // Opens, writes `text` and closes; false when the file was refused.
  static bool writeTo(const std::string& path, const char* text, const char* mode = "w") {
    std::FILE* file = openPrivateFile(path.c_str(), mode);
    if (file == nullptr) return false;
    std::fputs(text, file);
    return std::fclose(file) == 0;
  }
  static std::string contentOf(const std::string& path) {
    const Bytes bytes = readFile(path);
    return {bytes.begin(), bytes.end()};
  }
  static mode_t permissionsOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
  }

  TempFolder folder_;
};

TEST_F(PrivateFileTest, NewFileIsForItsOwnerAlone) {
  const mode_t oldMask = umask(0);
  const ScopeGuard restore([oldMask] { umask(oldMask); });
  for (const char* mode : {"w", "wb+"}) {
    const std::string path = folder_.file(std::string("new-") + mode);
    ASSERT_TRUE(writeTo(path, "page", mode));
    EXPECT_EQ(permissionsOf(path), mode_t{0600});
    EXPECT_EQ(contentOf(path), "page");
  }
}

TEST_F(PrivateFileTest, ExistingFileIsEmptied) {
  for (const char* mode : {"w", "wb+"}) {
    const std::string path = folder_.file("existing");
    writeFile(path, std::string("a longer text than the new one"));
    ASSERT_TRUE(writeTo(path, "new", mode));
    EXPECT_EQ(contentOf(path), "new");
  }
}

TEST_F(PrivateFileTest, UpdateModeReadsBackWhatItWrote) {
  std::FILE* file = openPrivateFile(folder_.file("update").c_str(), "wb+");
  ASSERT_NE(file, nullptr);
  const ScopeGuard closeFile([file] { std::fclose(file); });
  std::fputs("back", file);
  std::rewind(file);
  char text[8] = {};
  EXPECT_EQ(std::fread(text, 1, sizeof text, file), 4U);
  EXPECT_STREQ(text, "back");
}

TEST_F(PrivateFileTest, SymbolicLinkIsRefusedAndItsTargetKept) {
  writeFile(folder_.file("target"), std::string("kept"));
  ASSERT_EQ(symlink(folder_.file("target").c_str(), folder_.file("link").c_str()), 0);
  errno = 0;
  EXPECT_FALSE(writeTo(folder_.file("link"), "lost"));
  EXPECT_EQ(errno, ELOOP);
  EXPECT_EQ(contentOf(folder_.file("target")), "kept");
}

TEST_F(PrivateFileTest, DanglingSymbolicLinkMakesNoFile) {
  ASSERT_EQ(symlink(folder_.file("nowhere").c_str(), folder_.file("link").c_str()), 0);
  EXPECT_FALSE(writeTo(folder_.file("link"), "lost"));
  EXPECT_NE(access(folder_.file("nowhere").c_str(), F_OK), 0);
}

TEST_F(PrivateFileTest, SecondNameOfAFileIsRefusedAndTheFileKept) {
  writeFile(folder_.file("first"), std::string("kept"));
  ASSERT_EQ(link(folder_.file("first").c_str(), folder_.file("second").c_str()), 0);
  errno = 0;
  EXPECT_FALSE(writeTo(folder_.file("second"), "lost"));
  EXPECT_NE(errno, 0);
  EXPECT_EQ(contentOf(folder_.file("first")), "kept");
}

TEST_F(PrivateFileTest, FifoIsRefusedWithoutWaitingForAReader) {
  const std::string path = folder_.file("fifo");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  errno = 0;
  EXPECT_EQ(openPrivateFile(path.c_str(), "w"), nullptr);
  EXPECT_NE(errno, 0);
  EXPECT_EQ(openPrivateFile(path.c_str(), "wb+"), nullptr);
}

TEST_F(PrivateFileTest, FifoWithAReaderGetsNothing) {
  const std::string path = folder_.file("fifo");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK);
  ASSERT_NE(reader, -1);
  const ScopeGuard closeReader([reader] { close(reader); });
  EXPECT_FALSE(writeTo(path, "lost"));
  char byte = 0;
  EXPECT_EQ(read(reader, &byte, 1), 0);
}

TEST_F(PrivateFileTest, DevicesAndFoldersAreRefused) {
  EXPECT_EQ(openPrivateFile("/dev/null", "w"), nullptr);
  EXPECT_EQ(openPrivateFile(folder_.path().c_str(), "w"), nullptr);
}

TEST_F(PrivateFileTest, MissingFolderIsReportedAndNotMade) {
  errno = 0;
  EXPECT_EQ(openPrivateFile(folder_.file("missing/file").c_str(), "w"), nullptr);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_TRUE(folder_.names().empty());
}

}  // namespace
