// SPDX-License-Identifier: Apache-2.0
// The paper of a picture from driver files that state it well, badly and not at all.
#include "filter/picture/picture_paper.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/files.h"
#include "tests/support/ppd_builder.h"

namespace {

class PicturePaperTest : public testing::Test {
 protected:
  // Whether there is a paper; if not, exactly one line has told so.
  bool read(const char* path, const char* options = "") {
    paper_ = {};
    testing::internal::CaptureStderr();
    const bool isRead = readPicturePaper(path, options, &paper_);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(log.find("The PPD file tells no size of the page, or no resolution!") != log.npos,
              !isRead)
        << log;
    return isRead;
  }

  // Of points and a resolution as a driver file states them.
  bool read(const std::string& size, const std::string& area, const std::string& resolution) {
    PpdBuilder ppd;
    ppd.pageSizes({}).option("PageSize", "A").option("Resolution", resolution);
    ppd.attribute("PaperDimension A", size).attribute("ImageableArea A", area);
    ppd.write(folder_.file("a.ppd"));
    return read(folder_.file("a.ppd").c_str());
  }

  const TempFolder folder_;
  PicturePaper paper_;
};

TEST_F(PicturePaperTest, SizeMarginsAndResolutionAreTheDriverFiles) {
  ASSERT_TRUE(read("144 288", "7.2 14.4 136.8 280.8", "300x150dpi"));
  const documents::Paper& paper = paper_.paper;
  EXPECT_EQ(paper.dpiX, 300U);
  EXPECT_EQ(paper.dpiY, 150U);
  EXPECT_EQ(paper.width, 600U);
  EXPECT_EQ(paper.height, 600U);
  EXPECT_EQ(paper.left, 30U);
  EXPECT_EQ(paper.right, 30U);
  EXPECT_EQ(paper.top, 15U);
  EXPECT_EQ(paper.bottom, 30U);
  EXPECT_FALSE(paper.roll);
  EXPECT_EQ(paper_.sizeName, "A");
}

TEST_F(PicturePaperTest, WithoutADriverFileThereIsNone) {
  EXPECT_FALSE(read(nullptr));
  EXPECT_FALSE(read(folder_.file("none.ppd").c_str()));
}

TEST_F(PicturePaperTest, WithoutASizeThereIsNone) {
  PpdBuilder ppd;
  ppd.pageSizes({}).option("Resolution", "300dpi").write(folder_.file("a.ppd"));
  EXPECT_FALSE(read(folder_.file("a.ppd").c_str()));
  EXPECT_FALSE(read("0 288", "0 0 0 288", "300dpi"));
  EXPECT_FALSE(read("144 0", "0 0 144 0", "300dpi"));
  EXPECT_FALSE(read("-144 288", "0 0 144 288", "300dpi"));
}

TEST_F(PicturePaperTest, AResolutionThatNoHeadHasIsNone) {
  for (const char* resolution : {"dpi", "0dpi", "59dpi", "2401dpi", "300x59dpi", "300x2401dpi"})
    EXPECT_FALSE(read("144 288", "0 0 144 288", resolution)) << resolution;
  for (const char* resolution : {"60dpi", "2400dpi", "300"})
    EXPECT_TRUE(read("144 288", "0 0 144 288", resolution)) << resolution;
}

TEST_F(PicturePaperTest, MarginsLeaveADot) {
  ASSERT_TRUE(read("144 288", "200 400 -9 -9", "300dpi"));
  const documents::Paper& paper = paper_.paper;
  EXPECT_EQ(paper.left, paper.width - 1);
  EXPECT_EQ(paper.right, 0U);
  EXPECT_EQ(paper.top + paper.bottom, paper.height - 1);
}

TEST_F(PicturePaperTest, NoPaperIsLargerThanAnyPage) {
  ASSERT_TRUE(read("99999999 99999999", "0 0 99999999 99999999", "300dpi"));
  EXPECT_EQ(paper_.paper.width, documents::kMostWidth);
  EXPECT_EQ(paper_.paper.height, documents::kMostHeight);
}

}  // namespace
