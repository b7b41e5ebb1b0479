// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/access.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct stat makeStatus(mode_t mode, uid_t uid, gid_t gid) {
  struct stat status = {};
  status.st_mode = mode;
  status.st_uid = uid;
  status.st_gid = gid;
  return status;
}

Installation lpInstallation() {
  Installation installation;
  installation.uid = 7;
  installation.gid = 8;
  return installation;
}

TEST(Access, TheFirstFittingClassCounts) {
  const Installation lp = lpInstallation();
  EXPECT_TRUE(spoolUserMay(makeStatus(0700, 7, 0), 7, lp));
  EXPECT_FALSE(spoolUserMay(makeStatus(0077, 7, 8), 1, lp)) << "an owner is nothing else";
  EXPECT_TRUE(spoolUserMay(makeStatus(0070, 0, 8), 7, lp));
  EXPECT_FALSE(spoolUserMay(makeStatus(0707, 0, 8), 1, lp)) << "a group is not others";
  EXPECT_TRUE(spoolUserMay(makeStatus(0001, 0, 0), 1, lp));
  EXPECT_FALSE(spoolUserMay(makeStatus(0771, 0, 0), 3, lp)) << "all of the bits";
  EXPECT_FALSE(spoolUserMay(makeStatus(0770, 0, 0), 1, Installation{})) << "unknown is others";
}

TEST(Access, RightsThatTheSchedulerRefuses) {
  const Installation lp = lpInstallation();
  for (const mode_t mode : {0755U, 0555U, 0700U, 02755U, 01755U})
    EXPECT_EQ(rightsFault(makeStatus(mode, 0, 0), lp), "") << mode;
  for (const mode_t mode : {0775U, 0757U, 0777U, 0720U, 01777U})
    EXPECT_THAT(rightsFault(makeStatus(mode, 0, 0), lp), HasSubstr("group or others can write"))
        << mode;
  EXPECT_THAT(rightsFault(makeStatus(04755, 0, 0), lp), HasSubstr("set-user-id"));
  EXPECT_THAT(rightsFault(makeStatus(0755, 7, 0), lp), HasSubstr("belongs to user 7"));
}

TEST(Access, FoldersAboveAPath) {
  EXPECT_THAT(foldersAbove("/usr/lib/x"), ElementsAre("/usr", "/usr/lib"));
  EXPECT_THAT(foldersAbove("/x"), IsEmpty());
  EXPECT_THAT(foldersAbove("//usr//x"), ElementsAre("//usr"));
}

TEST(Access, ModesAreFourOctalDigits) {
  EXPECT_EQ(modeText(makeStatus(S_IFREG | 0755, 0, 0)), "0755");
  EXPECT_EQ(modeText(makeStatus(S_IFDIR | 01770, 0, 0)), "1770");
}

}  // namespace
