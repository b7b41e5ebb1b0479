// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/input_file.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <fstream>
#include <thread>

#include "tests/support/files.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

TEST(InputFile, ReadsFilesOfEverySize) {
  const TempFolder folder;
  for (const size_t size : {size_t{0}, size_t{1}, size_t{4096}, (size_t{1} << 20U) - 1,
                            size_t{1} << 20U, (size_t{1} << 20U) + 1, size_t{5} << 20U}) {
    Bytes content(size);
    for (size_t i = 0; i < size; ++i) content[i] = static_cast<uint8_t>(i * 31 >> 3U);
    writeFile(folder.file("in"), content);
    Bytes got{1, 2, 3};
    std::string error;
    ASSERT_TRUE(readInput(folder.file("in"), got, error)) << error;
    EXPECT_TRUE(sameBytes(content, got)) << size;
  }
}

TEST(InputFile, ReadsAPipeToItsEnd) {
  const TempFolder folder;
  const std::string pipe = folder.file("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const Bytes content(size_t{3} << 20U, 0x5A);
  std::thread writer([&] {
    std::ofstream out(pipe, std::ios::binary);
    out.write(reinterpret_cast<const char*>(content.data()),
              static_cast<std::streamsize>(content.size()));
  });
  Bytes got;
  std::string error;
  EXPECT_TRUE(readInput(pipe, got, error)) << error;
  writer.join();
  EXPECT_TRUE(sameBytes(content, got));
}

TEST(InputFile, HoldsToItsLimit) {
  const TempFolder folder;
  Bytes got;
  std::string error;
  writeFile(folder.file("in"), Bytes(1000, 7));
  EXPECT_TRUE(readInput(folder.file("in"), got, error, 1000)) << error;
  EXPECT_EQ(got.size(), 1000U);
  EXPECT_FALSE(readInput(folder.file("in"), got, error, 999));
  EXPECT_THAT(error, EndsWith("in: larger than 999 bytes, the most that is read"));
  // An input that never ends.
  EXPECT_FALSE(readInput("/dev/zero", got, error, 3'000'000));
  EXPECT_EQ(error, "/dev/zero: larger than 3000000 bytes, the most that is read");
}

TEST(InputFile, SaysWhyItCannotRead) {
  const TempFolder folder;
  Bytes got;
  std::string error;
  EXPECT_FALSE(readInput(folder.path(), got, error));
  EXPECT_EQ(error, folder.path() + ": Is a directory");
  EXPECT_FALSE(readInput(folder.file("none"), got, error));
  EXPECT_EQ(error, folder.file("none") + ": No such file or directory");
  EXPECT_FALSE(readInput("", got, error));
  EXPECT_THAT(error, HasSubstr("No such file"));
}

TEST(InputFile, NamesStayOnOneLine) {
  Bytes got;
  std::string error;
  EXPECT_FALSE(readInput("/none/a\nb\x1B[31m", got, error));
  EXPECT_THAT(error, StartsWith("/none/a?b?[31m: "));
}

}  // namespace
