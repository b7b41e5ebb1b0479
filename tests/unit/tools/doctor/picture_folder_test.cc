// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/clean/picture_folder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "filter/run_filter.h"
#include "tests/support/files.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kName = "origin_2026-1-2_3_4_5_0.bmp";

TEST(PictureFolder, IsTheFiltersOwn) { EXPECT_EQ(FilterEnvironment().dumpFolder, kPictureFolder); }

TEST(PictureFolder, ListsNamesAndTellsKindsApart) {
  const TempFolder folder;
  writeFile(folder.file(kName), "12345");
  writeFile(folder.file("origin.bmp"), "1");
  ASSERT_EQ(::symlink(kName, folder.file("dithered_2026-1-2_3_4_5_1.bmp").c_str()), 0);
  ASSERT_EQ(::mkdir(folder.file("dithered_2026-1-2_3_4_5_2.bmp").c_str(), 0700), 0);
  PictureFolder pictures;
  std::string error;
  ASSERT_TRUE(pictures.open(folder.path() + "/", error)) << error;
  std::vector<std::string> names;
  ASSERT_TRUE(pictures.list(names, error)) << error;
  EXPECT_THAT(names,
              ElementsAre("dithered_2026-1-2_3_4_5_1.bmp", "dithered_2026-1-2_3_4_5_2.bmp", kName));
  std::vector<std::string> again;
  ASSERT_TRUE(pictures.list(again, error)) << "a second time from the beginning";
  EXPECT_EQ(again, names);
  Picture picture;
  EXPECT_EQ(pictures.look(names[0], picture), PictureFolder::Kind::kOther);
  EXPECT_EQ(pictures.look(names[1], picture), PictureFolder::Kind::kOther);
  EXPECT_EQ(pictures.look(names[2], picture), PictureFolder::Kind::kPicture);
  EXPECT_EQ(picture.bytes, 5U);
  EXPECT_EQ(pictures.look("origin_2026-1-2_3_4_5_9.bmp", picture), PictureFolder::Kind::kGone);
}

TEST(PictureFolder, StaysWithTheFolderThatWasOpened) {
  const TempFolder base;
  ASSERT_EQ(::mkdir(base.file("tmp").c_str(), 0700), 0);
  ASSERT_EQ(::mkdir(base.file("other").c_str(), 0700), 0);
  writeFile(base.file("tmp/") + kName, "1");
  writeFile(base.file("other/") + kName, "1");
  PictureFolder pictures;
  std::string error;
  ASSERT_TRUE(pictures.open(base.file("tmp"), error)) << error;
  // Somebody moves it away and puts a link in its place.
  ASSERT_EQ(::rename(base.file("tmp").c_str(), base.file("moved").c_str()), 0);
  ASSERT_EQ(::symlink("other", base.file("tmp").c_str()), 0);
  EXPECT_TRUE(pictures.remove(kName, error)) << error;
  EXPECT_EQ(::access(base.file(std::string("other/") + kName).c_str(), F_OK), 0);
  EXPECT_NE(::access(base.file(std::string("moved/") + kName).c_str(), F_OK), 0);
}

TEST(PictureFolder, RemovesALinkItselfAndNoFolder) {
  const TempFolder folder;
  writeFile(folder.file("target"), "1");
  ASSERT_EQ(::symlink("target", folder.file(kName).c_str()), 0);
  ASSERT_EQ(::mkdir(folder.file("dithered_2026-1-2_3_4_5_2.bmp").c_str(), 0700), 0);
  PictureFolder pictures;
  std::string error;
  ASSERT_TRUE(pictures.open(folder.path(), error)) << error;
  EXPECT_TRUE(pictures.remove(kName, error)) << "as when it was exchanged just now";
  EXPECT_TRUE(pictures.remove(kName, error)) << "gone already is fine";
  EXPECT_FALSE(pictures.remove("dithered_2026-1-2_3_4_5_2.bmp", error));
  EXPECT_THAT(folder.names(), ElementsAre("dithered_2026-1-2_3_4_5_2.bmp", "target"));
}

TEST(PictureFolder, OpensOnlyPictures) {
  const TempFolder folder;
  writeFile(folder.file("target"), "1");
  ASSERT_EQ(::symlink("target", folder.file("origin_2026-1-2_3_4_5_1.bmp").c_str()), 0);
  ASSERT_EQ(::mkfifo(folder.file("origin_2026-1-2_3_4_5_2.bmp").c_str(), 0600), 0);
  ASSERT_EQ(
      ::link(folder.file("target").c_str(), folder.file("origin_2026-1-2_3_4_5_3.bmp").c_str()), 0);
  writeFile(folder.file(kName), "1");
  PictureFolder pictures;
  std::string error;
  ASSERT_TRUE(pictures.open(folder.path(), error)) << error;
  for (const char* name : {"origin_2026-1-2_3_4_5_1.bmp", "origin_2026-1-2_3_4_5_2.bmp",
                           "origin_2026-1-2_3_4_5_3.bmp", "origin_2026-1-2_3_4_5_4.bmp"})
    EXPECT_EQ(pictures.openPicture(name), -1) << name;
  const int file = pictures.openPicture(kName);
  EXPECT_GE(file, 0);
  ::close(file);
}

TEST(ClearPictures, TakesWhatIsOldEnough) {
  const TempFolder folder;
  constexpr std::time_t kNow = 2'000'000'000;
  for (const int age : {99, 100, 101}) {
    const std::string file = folder.file("origin_2026-1-2_3_4_5_" + std::to_string(age) + ".bmp");
    writeFile(file, "1234");
    const timespec when = {kNow - age, 0};
    const timespec times[2] = {when, when};
    ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
  }
  ClearRequest request;
  request.folder = folder.path();
  request.olderThan = 100;
  request.now = kNow;
  ClearOutcome outcome;
  std::string error;
  ASSERT_TRUE(clearPictures(request, outcome, error)) << error;
  EXPECT_EQ(clearingText(request, outcome), "removed 2 pictures, 8 bytes; 1 younger picture stays");
  EXPECT_THAT(folder.names(), ElementsAre("origin_2026-1-2_3_4_5_99.bmp"));
  request.olderThan = 0;
  request.now = 0;  // the clock went back: all are of the future
  ASSERT_TRUE(clearPictures(request, outcome, error)) << error;
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(ClearPictures, AFolderThatIsNotThereIsNoFailure) {
  const TempFolder folder;
  ClearRequest request;
  request.folder = folder.file("none");
  ClearOutcome outcome;
  std::string error;
  EXPECT_TRUE(clearPictures(request, outcome, error));
  EXPECT_TRUE(outcome.folderMissing);
  EXPECT_EQ(clearingText(request, outcome),
            "there is no folder " + folder.file("none") + ", so there are no pictures");
}

}  // namespace
