// SPDX-License-Identifier: Apache-2.0
// The row by row way of a page against the same page made of whole images, with the
// functions that DravPrinter and PaletteImage offer to everyone.
#include "printer/page_path.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tattoo/pipeline.h"
#include "tests/model/page_patterns.h"
#include "tests/support/log_capture.h"
#include "tests/support/sanitizers.h"
#include "tests/support/saved_pictures.h"
#include "tests/unit/printer/printer_fixture.h"

namespace {

using testing::ElementsAreArray;

struct Shape {
  uint32_t width;
  uint32_t height;
  uint32_t stride;
  unsigned long skip;
};

// Lines of the page's processing, which both ways write.
std::vector<std::string> processingLines(const std::vector<std::string>& log) {
  std::vector<std::string> lines;
  for (const std::string& line : log) {
    if (line.rfind("DEBUG:PageProcess: ", 0) == 0 ||
        line.rfind("DEBUG:EnableAntiWrink: ", 0) == 0) {
      lines.push_back(line);
    }
  }
  return lines;
}

// A page that is printed both ways.
class PageTwins : public PrinterFixture {
 protected:
  ~PageTwins() override {
    image_.Destroy();
    stencil_.Destroy();
  }

  // Noise in the padding behind the picture as well: it must not print.
  static Bytes noise(const Shape& shape) {
    return model::noisePage(static_cast<int>(shape.stride), static_cast<int>(shape.height),
                            shape.width + shape.stride)
        .pixels;
  }

  void expectTwins(const model::PrinterSettings& settings, const Shape& shape) {
    const Bytes page = noise(shape);
    configure(settings);
    printer_.setSkipRightPixels(shape.skip);

    MemoryStream imageOut;
    const TempFolder imagePictures;
    printer_.getOutputStreams() = {imageOut.get()};
    printer_.setDumpFolder(imagePictures.path());
    const std::vector<std::string> imageLog = printAsImage(page, shape);

    MemoryStream rowsOut;
    const TempFolder rowsPictures;
    printer_.getOutputStreams() = {rowsOut.get()};
    printer_.setDumpFolder(rowsPictures.path());
    const std::vector<std::string> rowsLog = captureLog(
        [&] { printer_.printImage(page.data(), shape.stride, shape.height, shape.width); });

    EXPECT_TRUE(sameBytes(imageOut.bytes(), rowsOut.bytes()));
    EXPECT_THAT(processingLines(rowsLog), ElementsAreArray(processingLines(imageLog)));
    const std::vector<SavedPicture> expected = savedPictures(imagePictures);
    const std::vector<SavedPicture> actual = savedPictures(rowsPictures);
    ASSERT_EQ(expected.size(), 2U);
    ASSERT_EQ(actual.size(), 2U);
    for (size_t i = 0; i < 2; ++i) EXPECT_TRUE(sameBytes(expected[i].bytes, actual[i].bytes));
  }

 private:
  // Returns the log of PageProcess, whose buffer must hold what the steps below give.
  std::vector<std::string> printAsImage(const Bytes& page, const Shape& shape) {
    Bytes processed(2 * page.size(), 0);
    const std::vector<std::string> log = captureLog([&] {
      printer_.PageProcess(printer_.getHalftoneType(), page.data(),
                           static_cast<int32_t>(shape.stride), static_cast<int32_t>(shape.width),
                           static_cast<int32_t>(shape.height), processed.data());
    });
    captureLog([&] {
      PaletteImage& finished = finishedImage(page, shape);
      expectSameCopy(finished, processed);
      printer_.saveImage(page.data(), shape.stride, shape.height, shape.width, 8);
      printer_.saveImage(finished.GetBits(0), finished.GetEffWidth(), finished.GetHeight(),
                         finished.GetWidth(), 8);
      printer_.doPrintImage(finished.GetBits(0), finished.GetEffWidth(), finished.GetHeight(),
                            finished.GetWidth());
    });
    return log;
  }

  // What PageProcess has put into its buffer, row padding aside, is the image's copy.
  void expectSameCopy(const PaletteImage& finished, const Bytes& processed) {
    const auto rowBytes = static_cast<int32_t>(finished.GetEffWidth());
    Bytes expected = processed;
    printer_.copyProcessedPixels(
        &finished, expected.data(), static_cast<int32_t>(finished.GetWidth()),
        static_cast<int32_t>(finished.GetHeight()), rowBytes, expected.size());
    EXPECT_TRUE(sameBytes(expected, processed));
  }

  PaletteImage& finishedImage(const Bytes& page, const Shape& shape) {
    EXPECT_TRUE(
        image_.CreateFromArray(page.data(), shape.width, shape.height, 8, shape.stride, false));
    if (printer_.getBrightness() != 0 || printer_.getContrast() != 0) {
      image_.Light(printer_.getBrightness() * 5, printer_.getContrast() * 2);
    }
    if (printer_.isRotate180Print()) image_.Rotate180();
    if (printer_.isMirrorPrint()) image_.Mirror();
    PaletteImage& finished = halftone(shape);
    if (printer_.isNegativePrint()) finished.Negative();
    if (printer_.getAntiWrinkle() != 0) printer_.EnableAntiWrink(finished);
    return finished;
  }

  PaletteImage& halftone(const Shape& shape) {
    const DitherType type = printer_.getHalftoneType();
    if (type != DitherType::Tattoo && type != DitherType::Tattoo_X8) {
      image_.Dither(static_cast<long>(type));
      image_.IncreaseBpp(8);
      return image_;
    }
    Bytes levels(size_t{shape.stride} * shape.height, 0);
    DravPrinter::copyPixels(image_, levels.data(), static_cast<int32_t>(shape.width),
                            static_cast<int32_t>(shape.height), static_cast<int32_t>(shape.stride));
    QZImage grey(static_cast<int32_t>(shape.width), static_cast<int32_t>(shape.height),
                 QZ_IMG_GRAY);
    std::copy_n(levels.begin(), grey.pixelCount(), grey.data);
    const QZImage stencil =
        type == DitherType::Tattoo ? qzTattooDithering(grey) : qzTattooDitheringX8(grey);
    stencil_.CreateFromArray(stencil.data, shape.width, shape.height, 8, shape.width, false);
    return stencil_;
  }

  PaletteImage image_;
  PaletteImage stencil_;
};

class PageTwinsTest : public PageTwins, public testing::WithParamInterface<int> {};

TEST_P(PageTwinsTest, AgreeUnderEverySwitch) {
  constexpr Shape kShapes[] = {{1, 1, 1, 0},    {7, 3, 7, 0},    {37, 20, 37, 0}, {37, 20, 40, 5},
                               {41, 97, 46, 1}, {64, 33, 64, 9}, {65, 33, 65, 2}, {30, 9, 97, 33}};
  for (const Shape& shape : kShapes) {
    for (unsigned bits = 0; bits < 32; ++bits) {
      model::PrinterSettings settings;
      settings.halftoneType = GetParam();
      settings.rotate180 = (bits & 1U) != 0;
      settings.mirror = (bits & 2U) != 0;
      settings.negative = (bits & 4U) != 0;
      const int brightness = shape.width % 2 != 0 ? 9 : -9;  // lifts bare paper, or not
      settings.brightness = (bits & 8U) != 0 ? brightness : 0;
      settings.contrast = (bits & 8U) != 0 && brightness < 0 ? 20 : 0;
      settings.antiWrinkle = (bits & 16U) != 0 ? 3 : 0;
      settings.pageSizeName = "Custom.10x10";
      SCOPED_TRACE(std::to_string(shape.width) + " of " + std::to_string(shape.stride) + " x " +
                   std::to_string(shape.height) + ", switches " + std::to_string(bits));
      expectTwins(settings, shape);
      if (HasFailure()) return;
    }
  }
}

TEST_P(PageTwinsTest, AgreeWithAFrameThatFits) {
#ifdef DRAV_TEST_ADDRESS_SANITIZER
  constexpr unsigned kStep = 5;  // such pages take seconds: each switch off and on, twice
#else
  constexpr unsigned kStep = 1;
#endif
  for (unsigned bits = 0; bits < 16; bits += kStep) {
    model::PrinterSettings settings;
    settings.halftoneType = GetParam();
    settings.rotate180 = (bits & 1U) != 0;
    settings.mirror = (bits & 2U) != 0;
    settings.negative = (bits & 4U) != 0;
    settings.brightness = bits % 3 == 0 ? -6 : 0;
    settings.antiWrinkle = (bits & 8U) != 0 ? 3 : 1;
    settings.pageSizeName = "Tattoo_A6";
    SCOPED_TRACE(bits);
    // The canvas is 1251 or 1205 x 1418 dots.
    expectTwins(settings, {1254, 1419 + bits, 1254 + bits / 2, bits % 3});
    if (HasFailure()) return;
  }
}

TEST_P(PageTwinsTest, AgreeOnEachPaperWithAFrame) {
  struct Paper {
    const char* name;
    uint32_t width;
    uint32_t height;
  };
  // Their canvases at level 1, and one or two dots more.
  constexpr Paper kPapers[] = {{"A4", 2386, 3273},
                               {"Letter", 2505, 3059},
                               {"Tattoo_A5", 2388, 1418},
                               {"Tattoo_A6", 1205, 1420}};
  const Paper& paper = kPapers[static_cast<size_t>(GetParam()) % 4];
  model::PrinterSettings settings;
  settings.halftoneType = GetParam();
  settings.antiWrinkle = 1;
  settings.pageSizeName = paper.name;
  expectTwins(settings, {paper.width, paper.height, paper.width, 0});
}

TEST_P(PageTwinsTest, AgreeWithoutAHeader) {
  model::PrinterSettings settings;
  settings.halftoneType = GetParam();
  settings.antiWrinkle = 2;
  settings.hasPageHeader = false;
  expectTwins(settings, {37, 20, 37, 0});
}

INSTANTIATE_TEST_SUITE_P(Halftones, PageTwinsTest, testing::Range(0, 10),
                         [](const testing::TestParamInfo<int>& type) {
                           return std::string(
                               dravHalftoneTypeToStr(static_cast<DitherType>(type.param)));
                         });

}  // namespace
