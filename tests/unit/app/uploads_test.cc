// SPDX-License-Identifier: Apache-2.0
#include "app/web/uploads.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "common/temporary_file.h"

namespace app {
namespace {

using std::chrono::seconds;
using std::chrono::steady_clock;

class UploadsTest : public testing::Test {
 protected:
  UploadsTest() : folder_(temporaryPath()), uploads_(make(), [this] { return now_; }) {}
  ~UploadsTest() override { std::filesystem::remove_all(folder_); }

  std::string make() {
    EXPECT_NE(::mkdtemp(folder_.data()), nullptr);
    return folder_;
  }

  std::string add(uint64_t bytes = 10) {
    std::string error;
    const auto place = uploads_.begin(bytes, error);
    EXPECT_TRUE(place.upload) << error;
    uploads_.complete(place.key);
    return place.key;
  }

  steady_clock::time_point now_;
  std::string folder_;
  Uploads uploads_;
};

TEST_F(UploadsTest, AreForgottenTenMinutesAfterTheLastQuestion) {
  const std::string one = add();
  const std::string other = add();
  now_ += std::chrono::minutes(9);
  EXPECT_TRUE(uploads_.find(one));
  now_ += seconds(59);
  EXPECT_EQ(uploads_.count(), 2U);
  EXPECT_TRUE(uploads_.find(other));
  now_ += std::chrono::minutes(9) + seconds(1);
  EXPECT_FALSE(uploads_.find(one));
  EXPECT_TRUE(uploads_.find(other));
  now_ += std::chrono::minutes(10);
  uploads_.forgetOld();
  EXPECT_EQ(uploads_.count(), 0U);
}

TEST_F(UploadsTest, TheOneThatWasNotAskedForLongestMakesRoom) {
  std::vector<std::string> keys;
  for (size_t i = 0; i < Uploads::kMost; ++i) keys.push_back(add());
  EXPECT_TRUE(uploads_.find(keys[0]));
  const std::string next = add();
  EXPECT_TRUE(uploads_.find(keys[0]));
  EXPECT_FALSE(uploads_.find(keys[1]));
  EXPECT_TRUE(uploads_.find(next));
  EXPECT_EQ(uploads_.count(), Uploads::kMost);
}

TEST_F(UploadsTest, BytesTogetherAreBounded) {
  const std::string one = add(Uploads::kMostBytes);
  for (int i = 0; i < 3; ++i) add(Uploads::kMostBytes);
  EXPECT_EQ(uploads_.count(), 4U);
  add(1);
  EXPECT_EQ(uploads_.count(), 4U);
  EXPECT_FALSE(uploads_.find(one));
}

TEST_F(UploadsTest, OnesOnTheirWayStayAndAreNotFound) {
  std::vector<Uploads::Place> places;
  std::string error;
  for (size_t i = 0; i < Uploads::kMost; ++i) places.push_back(uploads_.begin(10, error));
  EXPECT_FALSE(uploads_.find(places[0].key));
  EXPECT_FALSE(uploads_.begin(10, error).upload);
  EXPECT_FALSE(error.empty());
  uploads_.forget(places[0].key);
  EXPECT_TRUE(uploads_.begin(10, error).upload);
}

TEST_F(UploadsTest, FilesHaveNoNameAndAreTheOwnersAlone) {
  std::string error;
  const auto place = uploads_.begin(10, error);
  ASSERT_TRUE(place.upload);
  EXPECT_TRUE(std::filesystem::is_empty(folder_));
  struct stat status = {};
  ASSERT_EQ(::fstat(place.upload->file, &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_EQ(status.st_nlink, 0U);
}

TEST_F(UploadsTest, ThePageOfOneThatRestsIsFreed) {
  const auto upload = uploads_.find(add());
  upload->madeFor = PageWanted();
  upload->page.pixels.resize(100);
  now_ += seconds(59);
  uploads_.forgetOld();
  EXPECT_TRUE(upload->madeFor);
  now_ += seconds(1);
  uploads_.forgetOld();
  EXPECT_FALSE(upload->madeFor);
  EXPECT_TRUE(upload->page.pixels.empty());
}

TEST_F(UploadsTest, AUserOfAForgottenOneKeepsItsFile) {
  const std::string key = add();
  const auto upload = uploads_.find(key);
  uploads_.forget(key);
  EXPECT_FALSE(uploads_.find(key));
  EXPECT_EQ(::write(upload->file, "x", 1), 1);
}

}  // namespace
}  // namespace app
