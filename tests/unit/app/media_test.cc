// SPDX-License-Identifier: Apache-2.0
#include "app/media.h"

#include <cups/pwg.h>
#include <gmock/gmock.h>

#include <set>
#include <string>

#include "filter/picture/picture_paper.h"
#include "tests/support/log_capture.h"

namespace app {
namespace {

const PrinterModel& modelOf(const char* name) { return *findPrinterModel(name); }

TEST(Media, NamesStateTheirSizes) {
  for (const PrinterModel& model : printerModels()) {
    std::set<std::string> names;
    ASSERT_EQ(mediaOf(model).size(), model.papers.size());
    for (const Medium& one : mediaOf(model)) {
      EXPECT_TRUE(names.insert(one.name).second) << one.name;
      const pwg_media_t* size = pwgMediaForPWG(one.name.c_str());
      ASSERT_NE(size, nullptr) << one.name;
      EXPECT_EQ(size->width, one.width) << one.name;
      EXPECT_EQ(size->length, one.length) << one.name;
    }
    EXPECT_EQ(standardMedium(model).paper, model.paper);
  }
}

TEST(Media, PagesAreThoseOfTheDriverFile) {
  for (const PrinterModel& model : printerModels()) {
    const std::string file = std::string(DRAV_PPD_FOLDER) + "/" + model.name + ".ppd";
    for (const Medium& one : mediaOf(model)) {
      SCOPED_TRACE(std::string(model.name) + " " + one.paper);
      PicturePaper want;
      ASSERT_TRUE(readPicturePaper(file.c_str(), ("PageSize=" + one.paper).c_str(), &want));
      const PicturePaper got = picturePaper(model, one);
      EXPECT_EQ(got.sizeName, want.sizeName);
      EXPECT_NEAR(got.width, want.width, 0.001);
      EXPECT_NEAR(got.length, want.length, 0.001);
      EXPECT_EQ(got.paper.dpiX, want.paper.dpiX);
      EXPECT_EQ(got.paper.dpiY, want.paper.dpiY);
      EXPECT_EQ(got.paper.width, want.paper.width);
      EXPECT_EQ(got.paper.height, want.paper.height);
      EXPECT_EQ(got.paper.left, want.paper.left);
      EXPECT_EQ(got.paper.top, want.paper.top);
      EXPECT_EQ(got.paper.right, want.paper.right);
      EXPECT_EQ(got.paper.bottom, want.paper.bottom);
      EXPECT_EQ(got.paper.roll, want.paper.roll);
    }
  }
}

TEST(Media, ASizeFindsItsPaper) {
  const PrinterModel& stencil = modelOf("dravsa43");
  EXPECT_EQ(mediumOfSize(stencil, 21'000, 29'700).paper, "A4");
  EXPECT_EQ(mediumOfSize(stencil, 21'010, 29'660).paper, "A4");
  EXPECT_EQ(mediumOfSize(stencil, 21'590, 27'940).paper, "Letter");
  EXPECT_EQ(mediumOfSize(stencil, 21'000, 14'800).paper, "Tattoo_A5");
  EXPECT_EQ(mediumOfSize(stencil, 20'300, 60'000).paper, "X203MMY600MM");
  const Medium custom = mediumOfSize(stencil, 20'340, 12'345);
  EXPECT_EQ(custom.paper, "X203MMY123MM");
  EXPECT_EQ(custom.width, 20'340);
  EXPECT_EQ(custom.length, 12'345);
}

TEST(Media, ThePaperBesideTheHeadIsMargin) {
  const PrinterModel& stencil = modelOf("dravsa43");
  // 2480 - 2397 dots at 300 dpi.
  EXPECT_EQ(rightMargin(stencil, mediumOfSize(stencil, 21'000, 29'700)), 702);
  EXPECT_EQ(rightMargin(stencil, mediumOfSize(stencil, 10'500, 14'800)), 0);
  EXPECT_EQ(widestPaper(stencil), 21'600);
  EXPECT_EQ(mostRows(stencil), 35'433U);
  EXPECT_EQ(mostRows(modelOf("dravr582")), 23'976U);
}

}  // namespace
}  // namespace app
