// SPDX-License-Identifier: Apache-2.0
#include "app/web/page_proof.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "app/web/wish_fields.h"
#include "common/temporary_file.h"

namespace app {
namespace {

DrawingWish wishOf(const Fields& fields) {
  DrawingWish wish;
  std::string error;
  EXPECT_TRUE(readWish(fields, *findPrinterModel("dravsa43"), wish, error)) << error;
  return wish;
}

// As wide as A6, with a mark in its corners.
PreparedPage marked(uint32_t width, uint32_t height, uint32_t reach) {
  PreparedPage page;
  page.header.cupsWidth = page.header.cupsBytesPerLine = width;
  page.header.cupsHeight = height;
  page.header.cupsBitsPerPixel = page.header.cupsBitsPerColor = 8;
  page.header.cupsColorSpace = CUPS_CSPACE_K;
  page.header.HWResolution[0] = page.header.HWResolution[1] = 300;
  page.pixels.assign(size_t{width} * height, 0);
  page.pixels.front() = page.pixels[size_t{width} * (height - 1) + reach - 1] = 255;
  page.reach = reach;
  return page;
}

TEST(PageProof, ShowsTheDotsThatTheSettingsPrint) {
  const PreparedPage page = marked(80, 5, 80);
  Proof proof;
  std::string error;
  Settings settings;
  settings.halftoneType = DitherType::None;
  const auto dots = [&] {
    EXPECT_TRUE(proofOf(
        page, settings, [] { return false; }, proof, error))
        << error;
    return proof.dots;
  };
  EXPECT_EQ(countDots(dots()), 2U);
  EXPECT_TRUE(proof.dots.isDot(0, 0) && proof.dots.isDot(79, 4));
  settings.stencilMirror = true;
  EXPECT_TRUE(dots().isDot(79, 0) && proof.dots.isDot(0, 4));
  settings.invertPage = true;
  EXPECT_EQ(countDots(dots()), 80U * 5 - 2);
}

TEST(PageProof, TheDocumentIsWhatTheHeadReaches) {
  std::string error;
  const int file = openAnonymousFile(error);
  ASSERT_TRUE(writeDocument(marked(6, 2, 4), file, error)) << error;
  std::string bytes(100, '\0');
  const ssize_t size = ::pread(file, bytes.data(), bytes.size(), 0);
  ::close(file);
  bytes.resize(static_cast<size_t>(size));
  EXPECT_EQ(bytes, std::string("P5 4 2 255\n\x00\xff\xff\xff\xff\xff\xff\x00", 19));
}

TEST(WishFields, AreReadAndBounded) {
  const DrawingWish wish = wishOf({{"paper", "10500x14800"},
                                   {"size", "6050"},
                                   {"turn", "270"},
                                   {"clean", "true"},
                                   {"page", "3"},
                                   {"copies", "2"},
                                   {"brightness", "-20"},
                                   {"upload", "x"},
                                   {"queue", "1"}});
  EXPECT_EQ(wish.page.medium.paper, "Tattoo_A6");
  EXPECT_DOUBLE_EQ(wish.page.art.width, 60.5);
  EXPECT_EQ(wish.page.art.turn, 270U);
  EXPECT_TRUE(wish.page.art.clean && !wish.page.art.lines && !wish.page.fillsPaper);
  EXPECT_EQ(wish.page.art.page, 3U);
  EXPECT_EQ(wish.copies, 2);
  ASSERT_EQ(wish.options.size(), 1U);
  EXPECT_STREQ(wish.options[0].first->option, "Brightness");
  DrawingWish other;
  std::string error;
  for (const auto& [name, value] : Fields{{"frames", "1"},
                                          {"paper", "1x1"},
                                          {"length", "10000"},  // of a sheet
                                          {"size", "99"},
                                          {"turn", "45"},
                                          {"lines", "1"},
                                          {"page", "10000"},
                                          {"copies", "100"},
                                          {"halftone-type", "x"}}) {
    EXPECT_FALSE(readWish({{name, value}}, *findPrinterModel("dravsa43"), other, error)) << name;
    EXPECT_NE(error.find(name), std::string::npos) << error;
  }
}

TEST(WishFields, APageOnARollMayHaveALength) {
  const auto lengthOf = [](const char* paper, const char* length) {
    DrawingWish wish;
    std::string error;
    const Fields fields = {{"paper", paper}, {"length", length}};
    const bool isRead = readWish(fields, *findPrinterModel("dravsa43"), wish, error);
    EXPECT_TRUE(isRead || error == "no good value of length") << error;
    return isRead ? wish.page.length : -1;
  };
  EXPECT_EQ(lengthOf("20300x29700", "2000"), 2000);
  EXPECT_EQ(lengthOf("20300x29700", "300000"), 300'000);
  for (const char* length : {"1999", "300001", "0", "-5", "", "auto", "20 0"})
    EXPECT_EQ(lengthOf("20300x29700", length), -1) << length;
  const DrawingWish wish = wishOf({{"paper", "20300x29700"}, {"length", "40000"}});
  EXPECT_EQ(wish.page.medium.paper, "X203MMY400MM");
}

TEST(WishFields, OptionsThatAModelLacksAreUnknown) {
  DrawingWish wish;
  std::string error;
  EXPECT_FALSE(readWish({{"frame", "2"}}, *findPrinterModel("dravr802"), wish, error));
  EXPECT_EQ(error, "there is no field frame");
}

TEST(PageWantedTest, ComparesWhatMakesThePage) {
  const PageWanted one = wishOf({}).page;
  EXPECT_EQ(one, wishOf({{"brightness", "5"}, {"copies", "9"}, {"name", "a"}}).page);
  EXPECT_FALSE(wishOf({{"paper", "20300x40000"}}).page ==
               wishOf({{"paper", "20300x40000"}, {"length", "40000"}}).page);
  for (const auto& [name, value] : Fields{{"size", "fill"},
                                          {"turn", "0"},
                                          {"clean", "true"},
                                          {"lines", "true"},
                                          {"page", "2"},
                                          {"paper", "10500x14800"}})
    EXPECT_FALSE(one == wishOf({{name, value}}).page) << name;
}

}  // namespace
}  // namespace app
