// SPDX-License-Identifier: Apache-2.0
// The whole filter against the plain model of a job: bytes, record, pictures,
// log lines and exit status.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "image/halftones.h"
#include "tests/model/page_patterns.h"
#include "tests/support/job_options.h"
#include "tests/unit/filter/filter_fixture.h"

namespace {

class FilterModelTest : public FilterFixture, public testing::WithParamInterface<int> {
 protected:
  model::JobSettings halftone() const {
    model::JobSettings settings;
    settings.halftoneType = GetParam();
    return settings;
  }
};

model::JobSettings randomSettings(model::Random& random) {
  const auto option = [&random](int32_t limit) {
    return static_cast<int32_t>(random.below(static_cast<uint32_t>(limit) + 2)) - 1;
  };
  model::JobSettings settings;
  settings.pageCutType = option(3);
  settings.docCutType = option(3);
  settings.feedCutAfterJobEnd = option(5);
  settings.cashDrawer1Setting = option(2);
  settings.cashDrawer2Setting = option(2);
  settings.documentBuzzerSetting = option(2);
  settings.pageBuzzerSetting = option(2);
  settings.buzzerOnTime = option(9);
  settings.buzzerRepeat = option(9);
  settings.docTopLogoID = option(2);
  settings.docTopLogoMode = option(3);
  settings.docTopLogoPosition = option(2);
  settings.docBottomLogoID = option(2);
  settings.docBottomLogoMode = option(3);
  settings.docBottomLogoPosition = option(2);
  settings.printDensity = option(15);
  if (random.below(2) == 0) settings.brightness = static_cast<int32_t>(random.below(240)) - 120;
  if (random.below(2) == 0) settings.maxMediaWidth = static_cast<double>(random.below(300)) / 10.0;
  for (const PageOption& own : pageOptions()) {
    if (random.below(3) != 0) continue;
    const auto count = static_cast<uint32_t>(own.choices.size());
    EXPECT_TRUE(model::setJobField(settings, own.field, own.choices[random.below(count)]));
  }
  settings.savesFail = random.below(8) == 0;
  return settings;
}

model::RasterPage randomPage(model::Random& random) {
  const std::vector<std::string>& names = model::patternNames();
  const std::string& pattern = names[random.below(static_cast<uint32_t>(names.size()))];
  const int width = static_cast<int>(1 + random.below(120));
  const int height = static_cast<int>(1 + random.below(210));
  const uint32_t padding = random.below(4) == 0 ? random.below(9) : 0;
  model::RasterPage page =
      patternPage(pattern, width, height, random.next(), static_cast<uint32_t>(width) + padding);
  page.hwResolution = random.below(2) == 0 ? 300 : 203;
  page.hwResolutionY = random.below(2) == 0 ? 300 : 180;
  if (random.below(4) == 0) page.pageSizeName = "Tattoo_A6";
  page.numCopies = random.below(4);
  if (random.below(6) == 0) page.colorSpace = random.below(20);
  return page;
}

TEST_P(FilterModelTest, PagesOfOneDotOneRowAndOneColumn) {
  std::vector<model::RasterPage> pages;
  for (const int length : {1, 2, 3, 7, 8, 9, 97}) {
    pages.push_back(patternPage("noise", length, 1, 1));
    pages.push_back(patternPage("noise", 1, length, 2));
  }
  for (const char* pattern : {"blank", "flat", "full"}) pages.push_back(patternPage(pattern, 1, 1));
  expectAsModel(halftone(), pages);
}

TEST_P(FilterModelTest, EveryPattern) {
  std::vector<model::RasterPage> pages;
  for (const std::string& name : model::patternNames()) {
    pages.push_back(patternPage(name, 67, 53, 3));
  }
  expectAsModel(halftone(), pages);
}

TEST_P(FilterModelTest, WidePagesOnAnEightInchHead) {
  model::JobSettings settings = halftone();
  settings.maxMediaWidth = 576.0;
  expectAsModel(settings, {patternPage("photo", 2479, 13, 4), patternPage("text", 945, 30, 5),
                           patternPage("circles", 679, 20, 6)});
}

TEST_P(FilterModelTest, EveryBrightness) {
  for (const int brightness : {-120, -100, -51, -20, -1, 1, 5, 20, 50, 51, 100, 120}) {
    SCOPED_TRACE(brightness);
    model::JobSettings settings = halftone();
    settings.brightness = brightness;
    expectAsModel(
        settings,
        {patternPage("photo", 31, 22, 7), patternPage("blank", 9, 9), patternPage("full", 9, 9)},
        false, brightness > 0);
  }
}

// A frame that fits and one that does not; over the halftones every thickness, and
// pages that are turned, mirrored, inverted and trimmed besides.
TEST_P(FilterModelTest, FramedPages) {
  const int level = 1 + GetParam() % 5;
  model::JobSettings settings = halftone();
  settings.paperFrame = level;
  settings.stencilMirror = level % 2 == 0;
  settings.halfTurn = level % 3 == 0;
  settings.invertPage = level == 4;
  settings.trimPaper = level == 5 ? model::Trim::both : model::Trim::nothing;
  settings.keepPictures = level < 4;
  std::vector<model::RasterPage> pages = {patternPage("text", 1301, 1420, 8),
                                          patternPage("text", 1301, 1417, 8)};
  for (model::RasterPage& page : pages) page.pageSizeName = "Tattoo_A6";
  expectAsModel(settings, pages);
}

TEST_P(FilterModelTest, TrimmedPages) {
  for (const model::Trim trim : {model::Trim::end, model::Trim::both}) {
    for (const bool inverted : {false, true}) {
      model::JobSettings settings = halftone();
      settings.trimPaper = trim;
      settings.invertPage = inverted;
      std::vector<model::RasterPage> pages;
      for (const auto& [first, last] : {std::pair{0, 0}, {150, 152}, {20, 280}, {299, 299}}) {
        model::RasterPage page = patternPage("blank", 40, 300);
        std::fill(page.pixels.begin() + first * 40 + 3, page.pixels.begin() + last * 40 + 9, 255);
        pages.push_back(page);
      }
      pages.push_back(patternPage("blank", 40, 300));
      expectAsModel(settings, pages);
    }
  }
}

TEST_P(FilterModelTest, RandomJobs) {
  for (uint64_t seed = 1; seed <= 4; ++seed) {
    model::Random random(seed * 100 + static_cast<uint64_t>(GetParam()));
    for (int round = 0; round < 3; ++round) {
      SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round));
      model::JobSettings settings = randomSettings(random);
      settings.halftoneType = GetParam();
      std::vector<model::RasterPage> pages(1 + random.below(3));
      for (model::RasterPage& page : pages) page = randomPage(random);
      expectAsModel(settings, pages, random.below(2) == 0, random.below(2) == 0);
      if (HasFailure()) return;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Halftones, FilterModelTest, testing::Range(0, 10),
                         [](const testing::TestParamInfo<int>& type) {
                           return dravHalftoneTypeToStr(static_cast<DitherType>(type.param));
                         });

}  // namespace
