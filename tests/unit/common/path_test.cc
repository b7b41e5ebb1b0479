// SPDX-License-Identifier: Apache-2.0
#include "common/path.h"

#include <gtest/gtest.h>

namespace {

TEST(PathTest, BasenameFollowsTheLastSeparatorOfEitherKind) {
  EXPECT_STREQ(dravPathGetBasename("/usr/local/bin/tool"), "tool");
  EXPECT_STREQ(dravPathGetBasename("C:\\dir\\file.exe"), "file.exe");
  EXPECT_STREQ(dravPathGetBasename("dir/sub\\name"), "name");
  EXPECT_STREQ(dravPathGetBasename("dir\\sub/name"), "name");
}

TEST(PathTest, NameWithoutSeparatorIsTheBasename) {
  const char* name = "rastertodrav";
  EXPECT_EQ(dravPathGetBasename(name), name);
}

TEST(PathTest, SeparatorAtTheEndLeavesAnEmptyText) {
  EXPECT_STREQ(dravPathGetBasename("/usr/local/bin/"), "");
  EXPECT_STREQ(dravPathGetBasename("dir\\"), "");
  EXPECT_STREQ(dravPathGetBasename("/"), "");
}

TEST(PathTest, EmptyTextAndNullComeBack) {
  EXPECT_STREQ(dravPathGetBasename(""), "");
  EXPECT_EQ(dravPathGetBasename(nullptr), nullptr);
}

TEST(PathTest, ResultPointsIntoTheArgument) {
  const char* path = "/a/bc";
  EXPECT_EQ(dravPathGetBasename(path), path + 3);
}

}  // namespace
