// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "tests/model/page_patterns.h"
#include "tests/model/pages.h"
#include "tests/support/log_capture.h"
#include "tests/unit/printer/printer_fixture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::Not;

constexpr size_t kGuardBytes = 64;
constexpr uint8_t kGuardByte = 0xA5;

struct Processed {
  int32_t filled = 0;
  Bytes dst;
  std::vector<std::string> log;
};

// A picture's pixels in rows of `stride` bytes, the rest of each row random.
Bytes rowsOf(const model::Grey& picture, int32_t stride, uint64_t seed) {
  model::Random random(seed);
  Bytes rows(static_cast<size_t>(stride) * static_cast<size_t>(picture.height));
  for (uint8_t& byte : rows) byte = random.byte();
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      rows[static_cast<size_t>(y) * static_cast<size_t>(stride) + static_cast<size_t>(x)] =
          picture.at(x, y);
    }
  }
  return rows;
}

class PageProcessTest : public PrinterFixture {
 protected:
  // Processes a page into a buffer of just the size that it may fill.
  Processed process(DitherType type, const Bytes& src, int32_t stride, int32_t width,
                    int32_t height) {
    const size_t capacity = 2 * static_cast<size_t>(stride) * static_cast<size_t>(height);
    Processed result;
    result.dst.assign(capacity + kGuardBytes, 0);
    std::fill(result.dst.begin() + static_cast<std::ptrdiff_t>(capacity), result.dst.end(),
              kGuardByte);
    result.log = captureLog([&] {
      result.filled =
          printer_.PageProcess(type, src.data(), stride, width, height, result.dst.data());
    });
    for (size_t i = capacity; i < result.dst.size(); ++i) {
      EXPECT_EQ(result.dst[i], kGuardByte) << "written " << i - capacity << " behind the buffer";
    }
    result.dst.resize(capacity);
    return result;
  }

  // Processes with the settings' own halftone and compares with the model.
  void expectAsModel(const model::PrinterSettings& settings, const Bytes& src, int32_t stride,
                     int32_t width, int32_t height) {
    configure(settings);
    const model::FinishedPage expected = model::processPage(settings, src, stride, width, height);
    const Processed actual =
        process(static_cast<DitherType>(settings.halftoneType), src, stride, width, height);
    EXPECT_EQ(actual.filled, expected.filled);
    EXPECT_TRUE(sameBytes(expected.dst, actual.dst));
    EXPECT_THAT(actual.log, ElementsAreArray(expected.log));
  }
};

class EveryHalftoneTest : public PageProcessTest, public testing::WithParamInterface<int> {};

TEST_P(EveryHalftoneTest, AgreesWithTheModelOnEveryPattern) {
  model::PrinterSettings settings;
  settings.halftoneType = GetParam();
  for (const std::string& name : model::patternNames()) {
    SCOPED_TRACE(name);
    const model::Grey picture = model::patternPage(name, 45, 31, 7);
    expectAsModel(settings, rowsOf(picture, 45, 1), 45, 45, 31);
    expectAsModel(settings, rowsOf(picture, 48, 2), 48, 45, 31);
  }
}

TEST_P(EveryHalftoneTest, AgreesWithTheModelAtSmallSizes) {
  model::PrinterSettings settings;
  settings.halftoneType = GetParam();
  for (const auto& [width, height] : std::vector<std::pair<int, int>>{
           {1, 1}, {1, 9}, {9, 1}, {2, 2}, {3, 5}, {4, 4}, {8, 3}, {17, 16}}) {
    SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
    const model::Grey picture = model::noisePage(width, height, 11);
    expectAsModel(settings, rowsOf(picture, width, 1), width, width, height);
    expectAsModel(settings, rowsOf(picture, width + 3, 2), width + 3, width, height);
  }
}

TEST_P(EveryHalftoneTest, AgreesWithTheModelUnderEveryPageTreatment) {
  const model::Grey picture = model::photoPage(37, 26, 3);
  const Bytes rows = rowsOf(picture, 37, 1);
  for (unsigned treatment = 1; treatment < 16; ++treatment) {
    SCOPED_TRACE(treatment);
    model::PrinterSettings settings;
    settings.halftoneType = GetParam();
    settings.rotate180 = (treatment & 1) != 0;
    settings.mirror = (treatment & 2) != 0;
    settings.negative = (treatment & 4) != 0;
    settings.brightness = (treatment & 8) != 0 ? 7 : 0;
    settings.contrast = (treatment & 8) != 0 ? -20 : 0;
    expectAsModel(settings, rows, 37, 37, 26);
  }
}

TEST_P(EveryHalftoneTest, AgreesWithTheModelAtAnyTone) {
  const model::Grey picture = model::photoPage(29, 21, 5);
  const Bytes rows = rowsOf(picture, 29, 1);
  for (const auto& [brightness, contrast] : std::vector<std::pair<int, int>>{{1, 0},
                                                                             {20, 0},
                                                                             {-20, 0},
                                                                             {51, 0},
                                                                             {-51, 0},
                                                                             {100, 0},
                                                                             {0, 1},
                                                                             {0, 50},
                                                                             {0, -50},
                                                                             {0, 100},
                                                                             {0, -100},
                                                                             {-100, 100},
                                                                             {500, -500}}) {
    SCOPED_TRACE(std::to_string(brightness) + ", " + std::to_string(contrast));
    model::PrinterSettings settings;
    settings.halftoneType = GetParam();
    settings.brightness = brightness;
    settings.contrast = contrast;
    expectAsModel(settings, rows, 29, 29, 21);
  }
}

INSTANTIATE_TEST_SUITE_P(Halftones, EveryHalftoneTest, testing::Range(0, 10),
                         [](const testing::TestParamInfo<int>& type) {
                           return dravHalftoneTypeToStr(static_cast<DitherType>(type.param));
                         });

TEST_F(PageProcessTest, ClassicPageLogsItsSteps) {
  configure({});
  printer_.setHalftoneType(DitherType::Ordered);
  printer_.setUseQZDithering(true);
  const Processed page = process(DitherType::Ordered, Bytes(24, 100), 8, 6, 3);
  EXPECT_THAT(page.log,
              ElementsAre("DEBUG:PageProcess: QZ dithering is disabled",
                          "DEBUG:PageProcess: Successfully created PaletteImage from array with "
                          "stride 8",
                          "DEBUG:PageProcess: Applied default dithering and increased bit depth",
                          "DEBUG:PageProcess: negativePrint_ 0",
                          "DEBUG:PageProcess: Filled the output buffer with processed pixels, "
                          "length: 24"));
  EXPECT_EQ(page.filled, 24);
  EXPECT_FALSE(printer_.getUseQZDithering()) << "the halftone decides, not the setter";
}

TEST_F(PageProcessTest, TattooPageLogsItsSteps) {
  configure({});
  printer_.setHalftoneType(DitherType::Tattoo_X8);
  const Processed page = process(DitherType::Tattoo_X8, Bytes(30, 100), 10, 6, 3);
  EXPECT_THAT(page.log,
              ElementsAre("DEBUG:PageProcess: QZ dithering is enabled",
                          "DEBUG:PageProcess: Successfully created PaletteImage from array with "
                          "stride 10",
                          "DEBUG:PageProcess: Copied pixels to the output buffer for QZ "
                          "dithering, with stride 10, EffWidth 8",
                          "DEBUG:PageProcess: Applied QZ dithering with stride 8, width 6",
                          "DEBUG:PageProcess: Successfully created a new PaletteImage from QZ "
                          "dithered data",
                          "DEBUG:PageProcess: negativePrint_ 0",
                          "DEBUG:PageProcess: Filled the output buffer with processed pixels, "
                          "length: 24"));
  EXPECT_TRUE(printer_.getUseQZDithering());
}

TEST_F(PageProcessTest, ToneIsAdjustedOnlyWhenAskedFor) {
  configure({});
  const Bytes src(16, 60);
  EXPECT_THAT(process(DitherType::None, src, 4, 4, 4).log,
              Not(Contains(HasSubstr("Adjusted brightness"))));
  printer_.setBrightness(20);
  EXPECT_THAT(process(DitherType::None, src, 4, 4, 4).log,
              Contains("DEBUG:PageProcess: Adjusted brightness to 100 and contrast to 0"));
  printer_.setBrightness(0).setContrast(-100);
  EXPECT_THAT(process(DitherType::None, src, 4, 4, 4).log,
              Contains("DEBUG:PageProcess: Adjusted brightness to 0 and contrast to -200"));
  printer_.setBrightness(-200).setContrast(200);
  EXPECT_THAT(process(DitherType::None, src, 4, 4, 4).log,
              Contains("DEBUG:PageProcess: Adjusted brightness to -500 and contrast to 200"));
}

TEST_F(PageProcessTest, BrightnessOfTwentyLiftsLevelsByAHundred) {
  configure({});
  const Bytes src = {28, 29, 128, 129};  // above 128 becomes a dot
  EXPECT_TRUE(
      sameBytes(hex("00 00 00 FF 00 00 00 00"), process(DitherType::None, src, 4, 4, 1).dst));
  printer_.setBrightness(20);
  EXPECT_TRUE(
      sameBytes(hex("00 FF FF FF 00 00 00 00"), process(DitherType::None, src, 4, 4, 1).dst));
}

TEST_F(PageProcessTest, RotationThenMirroringFlipsThePageTopToBottom) {
  configure({});
  const Bytes src = {255, 0,   0,   0,  //
                     0,   255, 255, 0,  //
                     0,   0,   0,   255};
  const Bytes flipped = {0,   0,   0,   255,  //
                         0,   255, 255, 0,    //
                         255, 0,   0,   0};
  const Bytes plain = process(DitherType::None, flipped, 4, 4, 3).dst;
  printer_.setRotate180Print(true).setMirrorPrint(true);
  const Processed turned = process(DitherType::None, src, 4, 4, 3);
  EXPECT_TRUE(sameBytes(plain, turned.dst));
  EXPECT_THAT(turned.log[2], "DEBUG:PageProcess: Rotated the image 180 degrees");
  EXPECT_THAT(turned.log[3], "DEBUG:PageProcess: Mirrored the image");
}

TEST_F(PageProcessTest, NegativePageReachesTheBufferInvertedTwice) {
  configure({});
  printer_.setNegativePrint(true);
  const Bytes src = {0, 255, 0, 255};
  const Processed page = process(DitherType::None, src, 4, 4, 1);
  // Indices 0 and 1 become FF and FE, and their complements are 0 and 1.
  EXPECT_TRUE(sameBytes(hex("00 01 00 01 00 00 00 00"), page.dst));
  EXPECT_THAT(page.log, Contains("DEBUG:PageProcess: negativePrint_ 1"));
  EXPECT_THAT(page.log, Contains("DEBUG:PageProcess: Inverting the image for negative print"));
}

TEST_F(PageProcessTest, MemberChoosesTheTattooPathAndTheArgumentTheClassicMethod) {
  const model::Grey picture = model::photoPage(24, 18, 9);
  const Bytes src = rowsOf(picture, 24, 1);
  model::PrinterSettings settings;
  const auto bufferOf = [&](int32_t type) {
    settings.halftoneType = type;
    return model::processPage(settings, src, 24, 24, 18).dst;
  };
  configure({});
  printer_.setHalftoneType(DitherType::None);
  EXPECT_TRUE(sameBytes(bufferOf(3), process(DitherType::Burkes, src, 24, 24, 18).dst));
  printer_.setHalftoneType(DitherType::Tattoo);
  EXPECT_TRUE(sameBytes(bufferOf(8), process(DitherType::Burkes, src, 24, 24, 18).dst));
  printer_.setHalftoneType(DitherType::Burkes);
  // On the classic path 8 is a method number like any unknown one.
  EXPECT_TRUE(sameBytes(bufferOf(10), process(DitherType::Tattoo, src, 24, 24, 18).dst));
}

TEST_F(PageProcessTest, UnknownHalftonesTakeTheClassicPath) {
  const model::Grey picture = model::photoPage(24, 18, 9);
  const Bytes src = rowsOf(picture, 24, 1);
  for (const int type : {10, 11, 1000, -1}) {
    SCOPED_TRACE(type);
    model::PrinterSettings settings;
    settings.halftoneType = type;
    expectAsModel(settings, src, 24, 24, 18);
  }
}

TEST_F(PageProcessTest, PageThatCannotBecomeAnImageFails) {
  configure({});
  const Bytes src(16, 255);
  const Processed noColumns = process(DitherType::None, src, 4, 0, 4);
  EXPECT_EQ(noColumns.filled, 0);
  EXPECT_THAT(noColumns.log, ElementsAre("DEBUG:PageProcess: QZ dithering is disabled",
                                         "CRIT:paletteImage.CreateFromArray with grey failed!"));
  EXPECT_EQ(process(DitherType::None, src, 4, 4, 0).filled, 0);
  uint8_t dst = kGuardByte;
  captureLog([&] {
    EXPECT_EQ(printer_.PageProcess(DitherType::None, src.data(), -4, 4, 4, &dst), 0);
    EXPECT_EQ(printer_.PageProcess(DitherType::None, src.data(), 4, -4, 4, &dst), 0);
    EXPECT_EQ(printer_.PageProcess(DitherType::None, src.data(), 4, 4, -4, &dst), 0);
  });
  EXPECT_EQ(dst, kGuardByte);
}

TEST_F(PageProcessTest, FramedPageStaysInsideTheBuffer) {
  // The frame makes 1204 x 1418 dots of the page; the buffer holds 2 x 40 x 30.
  const model::Grey picture = model::textPage(40, 30, 4);
  for (const int type : {0, 8}) {
    SCOPED_TRACE(type);
    model::PrinterSettings settings;
    settings.halftoneType = type;
    settings.antiWrinkle = 1;
    settings.pageSizeName = "Tattoo_A6";
    expectAsModel(settings, rowsOf(picture, 40, 1), 40, 40, 30);
  }
}

TEST_F(PageProcessTest, FrameIsDrawnAfterTheNegative) {
  model::PrinterSettings settings;
  settings.negative = true;
  settings.antiWrinkle = 2;
  settings.pageSizeName = "Tattoo_A6";
  const model::Grey picture = model::textPage(40, 30, 4);
  expectAsModel(settings, rowsOf(picture, 40, 1), 40, 40, 30);
}

TEST_F(PageProcessTest, CopiesStopAtTheCapacityAndKeepTheRestOfEachRow) {
  PaletteImage image;
  const Bytes levels = {0, 1, 255, 7, 1, 1};
  ASSERT_TRUE(image.CreateFromArray(levels.data(), 3, 2, 8, 3, false));
  Bytes dst(16, kGuardByte);
  printer_.copyPixels(image, dst.data(), 3, 2, 5);
  EXPECT_TRUE(sameBytes(hex("00 01 FF A5 A5 07 01 01 A5 A5 A5 A5 A5 A5 A5 A5"), dst));
  dst.assign(16, kGuardByte);
  printer_.copyPixels(image, dst.data(), 3, 2, 5, 6);
  EXPECT_TRUE(sameBytes(hex("00 01 FF A5 A5 07 A5 A5 A5 A5 A5 A5 A5 A5 A5 A5"), dst));
  dst.assign(16, kGuardByte);
  printer_.copyPixels(image, dst.data(), 3, 2, 5, 0);
  EXPECT_TRUE(sameBytes(Bytes(16, kGuardByte), dst));
  image.Destroy();
}

TEST_F(PageProcessTest, ProcessedCopyMakesIndexOneSolidAndComplementsNegatives) {
  PaletteImage image;
  const Bytes levels = {0, 1, 255, 7};
  ASSERT_TRUE(image.CreateFromArray(levels.data(), 4, 1, 8, 4, false));
  Bytes dst(8, kGuardByte);
  printer_.copyProcessedPixels(&image, dst.data(), 4, 1, 4);
  EXPECT_TRUE(sameBytes(hex("00 FF FF 07 A5 A5 A5 A5"), dst));
  printer_.setNegativePrint(true);
  printer_.copyProcessedPixels(&image, dst.data(), 4, 1, 4);
  EXPECT_TRUE(sameBytes(hex("FF 00 00 F8 A5 A5 A5 A5"), dst));
  dst.assign(8, kGuardByte);
  printer_.copyProcessedPixels(&image, dst.data(), 4, 1, 4, 2);
  EXPECT_TRUE(sameBytes(hex("FF 00 A5 A5 A5 A5 A5 A5"), dst));
  image.Destroy();
}

}  // namespace
