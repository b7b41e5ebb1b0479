// SPDX-License-Identifier: Apache-2.0
// Jobs of the picture filter that end before a decoder starts.
#include "filter/picture/run_picture_filter.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/files.h"
#include "tests/support/ppd_builder.h"

namespace {

class PictureFilterTest : public testing::Test {
 protected:
  PictureFilterTest() {
    PpdBuilder().option("Resolution", "300dpi").write(folder_.file("a.ppd"));
    environment_.ppdPath = [this] { return ppdPath_.empty() ? nullptr : ppdPath_.c_str(); };
    environment_.cancelRequested = [] { return false; };
    environment_.dumpFolder.clear();
    environment_.keepRecord = false;
  }

  // What it writes to standard error. It fails, and writes nothing else.
  std::string failure(std::vector<std::string> arguments) {
    std::vector<char*> pointers;
    for (std::string& one : arguments) pointers.push_back(one.data());
    const int count = static_cast<int>(pointers.size());
    pointers.push_back(nullptr);
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    EXPECT_EQ(runPictureFilter(count, pointers.data(), {}, environment_), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    return testing::internal::GetCapturedStderr();
  }
  std::string failureOf(const std::string& file, const std::string& options = "") {
    return failure({"picturetodrav", "1", "u", "t", "1", options, file});
  }

  const TempFolder folder_;
  std::string ppdPath_ = folder_.file("a.ppd");
  FilterEnvironment environment_;
};

TEST_F(PictureFilterTest, WrongArgumentsGetTheUsage) {
  EXPECT_NE(failure({"picturetodrav", "1"}).find("Usage"), std::string::npos);
  EXPECT_NE(failure({}).find("Usage"), std::string::npos);
}

TEST_F(PictureFilterTest, WithoutADriverFileNothingPrints) {
  ppdPath_.clear();
  EXPECT_NE(failureOf("none.png"), "");
}

TEST_F(PictureFilterTest, AFileThatIsNotThereIsTold) {
  EXPECT_NE(failureOf(folder_.file("none.png")).find("No such file"), std::string::npos);
}

TEST_F(PictureFilterTest, WithoutADecoderThePictureIsRefused) {
  writeFile(folder_.file("a.png"), "\x89PNG\r\n\x1A\n, or so");
  EXPECT_NE(failureOf(folder_.file("a.png")).find("drav-picture-reader"), std::string::npos);
}

}  // namespace
