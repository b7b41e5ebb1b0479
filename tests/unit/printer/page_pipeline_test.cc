// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "image/halftone_rows.h"
#include "tattoo/stencil_rows.h"
#include "tests/model/page_patterns.h"
#include "tests/model/pages.h"
#include "tests/support/failing_allocations.h"
#include "tests/support/log_capture.h"
#include "tests/support/saved_pictures.h"
#include "tests/support/scoped_env.h"
#include "tests/unit/printer/printer_fixture.h"

namespace {

using testing::Contains;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::Not;

// The value behind `label` in the line that begins with `prefix`, as number.
uint64_t valueIn(const std::vector<std::string>& log, const std::string& prefix,
                 const std::string& label, int base) {
  for (const std::string& line : log) {
    if (line.rfind(prefix, 0) != 0) continue;
    const size_t at = line.find(label);
    if (at != std::string::npos) {
      return std::strtoull(line.c_str() + at + label.size(), nullptr, base);
    }
  }
  ADD_FAILURE() << "no line " << prefix << " with " << label;
  return 0;
}

class PagePipelineTest : public PrinterFixture {
 protected:
  // Prints a page and returns its log.
  std::vector<std::string> print(const Bytes& pixels, uint64_t bytesPerLine, uint64_t height,
                                 uint64_t width) {
    return captureLog([&] { printer_.printImage(pixels.data(), bytesPerLine, height, width); });
  }

  // Prints with the settings and compares bands, pictures and log with the model.
  void expectAsModel(const model::PrinterSettings& settings, const Bytes& pixels,
                     uint64_t bytesPerLine, uint64_t height, uint64_t width) {
    const model::PrintedPage expected =
        model::printImage(settings, pixels, bytesPerLine, height, width);
    configure(settings);
    MemoryStream out;
    const TempFolder pictures;
    printer_.getOutputStreams() = {out.get()};
    printer_.setDumpFolder(pictures.path());
    const std::vector<std::string> log = print(pixels, bytesPerLine, height, width);
    EXPECT_TRUE(sameBytes(expected.bands, out.bytes()));
    EXPECT_THAT(maskLog(log), ElementsAreArray(expected.log));
    EXPECT_TRUE(samePictures(expected.saved, savedPictures(pictures)));
  }

  const ScopedEnv utc_{"TZ", "UTC"};
};

TEST_F(PagePipelineTest, WholePageIsPrintedWithItsLogAndPictures) {
  configure({});
  printer_.setRemoveBlankEdges(10);
  Bytes page(8 * 4, 0);
  page[8 * 2 + 1] = 255;
  const std::vector<std::string> log = maskLog(print(page, 8, 4, 8));
  EXPECT_THAT(
      log,
      ElementsAreArray(std::vector<std::string>{
          "DEBUG:printImage: Start processing image, input width: 8, height: 4, bytes per line: 8",
          "DEBUG:printImage: Memory allocated successfully, size: 32 bytes",
          "DEBUG:printImage: Removal of bottom blank edges detected, number of bottom blank "
          "lines: 3",
          "DEBUG:printImage: Removal of top blank edges detected, number of top blank lines: 1",
          "DEBUG:printImage: Saving original image, file path will be generated based on time",
          "DEBUG:printImage: Memory for processing result allocated successfully, size: 32 bytes",
          "DEBUG:PageProcess: QZ dithering is disabled",
          "DEBUG:PageProcess: Successfully created PaletteImage from array with stride 8",
          "DEBUG:PageProcess: Applied default dithering and increased bit depth",
          "DEBUG:PageProcess: negativePrint_ 0",
          "DEBUG:PageProcess: Filled the output buffer with processed pixels, length: 32",
          "DEBUG:printImage: Adjusted image height to 2, pointer offset by 8 bytes",
          "DEBUG:printImage: Processed image information - pointer address: <pointer>, width: 8, "
          "height: 4, bytes per line: 8, number of top blank lines: 1, number of bottom blank "
          "lines: 3, adjusted height: 2",
          "DEBUG:printImage: Saving processed image, file path will be generated based on time",
          "DEBUG:printImage: Starting to print the processed image",
          "DEBUG:GrayToMono, bpl(8), h(4), skipPixels(0), wb(8)",
          "DEBUG:printImage: Freed the allocated memory, address: <null>",
          "DEBUG:printImage: Freed the memory for processing result, address: <pointer>",
          "DEBUG:printImage: Image processing completed"}));
  EXPECT_TRUE(sameBytes(hex("1D 76 30 00 01 00 04 00 00 00 40 00"), out_.bytes()));
  const std::vector<SavedPicture> pictures = savedPictures(folder_);
  ASSERT_EQ(pictures.size(), 2U);
  EXPECT_EQ(pictures[0].name,
            "origin_2025-1-31_23_59_59_" + std::to_string(pictures[0].number) + ".bmp");
  EXPECT_EQ(pictures[1].name,
            "dithered_2025-1-31_23_59_59_" + std::to_string(pictures[0].number + 1) + ".bmp");
  EXPECT_TRUE(sameBytes(model::bmpFile(page, 8, 4, 8, 8), pictures[0].bytes));
}

TEST_F(PagePipelineTest, LabelsOfWidthAndBytesPerLineKeepTheirCrossedValues) {
  configure({});
  const std::vector<std::string> log = print(Bytes(12 * 2, 0), 12, 2, 9);
  EXPECT_THAT(log, Contains("DEBUG:printImage: Start processing image, input width: 9, height: 2, "
                            "bytes per line: 12"));
  EXPECT_THAT(maskLog(log),
              Contains("DEBUG:printImage: Processed image information - pointer address: "
                       "<pointer>, width: 12, height: 2, bytes per line: 9, number of top blank "
                       "lines: 0, number of bottom blank lines: 0, adjusted height: 2"));
}

TEST_F(PagePipelineTest, LoggedAddressIsThatOfTheFirstMeasuredRow) {
  configure({});
  printer_.setRemoveBlankEdges(10);
  Bytes page(8 * 6, 0);
  page[8 * 4] = 255;
  const std::vector<std::string> log = print(page, 8, 6, 8);
  const uint64_t start = valueIn(log, "DEBUG:printImage: Processed image", "pointer address: ", 10);
  const uint64_t block =
      valueIn(log, "DEBUG:printImage: Freed the memory for processing", "address: ", 16);
  EXPECT_NE(block, 0U);
  EXPECT_EQ(start - block, 3U * 8U);
  EXPECT_THAT(log, Contains("DEBUG:printImage: Adjusted image height to 2, pointer offset by 24 "
                            "bytes"));
}

TEST_F(PagePipelineTest, BlankPageIsPrintedWhole) {
  configure({});
  printer_.setRemoveBlankEdges(10);
  const std::vector<std::string> log = print(Bytes(8 * 100, 0), 8, 100, 8);
  EXPECT_THAT(log, Contains(HasSubstr("number of bottom blank lines: 0")));
  EXPECT_THAT(log, Contains(HasSubstr("number of top blank lines: 100")));
  EXPECT_THAT(log, Not(Contains(HasSubstr("Adjusted image height"))));
  Bytes expected = hex("1D 76 30 00 01 00 60 00");
  expected.resize(8 + 96);
  append(expected, hex("1D 76 30 00 01 00 04 00 00 00 00 00"));
  EXPECT_TRUE(sameBytes(expected, out_.bytes()));
}

TEST_F(PagePipelineTest, InkInTheFirstRowAloneIsNotSeenFromTheFront) {
  configure({});
  printer_.setRemoveBlankEdges(10);
  Bytes page(8 * 5, 0);
  page[3] = 255;
  const std::vector<std::string> log = print(page, 8, 5, 8);
  EXPECT_THAT(log, Contains(HasSubstr("number of top blank lines: 5")));
  EXPECT_THAT(log, Contains(HasSubstr("number of bottom blank lines: 1")));
  EXPECT_THAT(log, Not(Contains(HasSubstr("Adjusted image height"))));
}

TEST_F(PagePipelineTest, EachEdgeIsMeasuredOnlyWhenAskedFor) {
  Bytes page(8 * 5, 0);
  page[8 * 3] = 255;
  const auto logWith = [&](unsigned char edges) {
    configure({});
    printer_.setRemoveBlankEdges(edges);
    return print(page, 8, 5, 8);
  };
  const auto bottom = HasSubstr("Removal of bottom blank edges");
  const auto top = HasSubstr("Removal of top blank edges");
  EXPECT_THAT(logWith(0), Not(Contains(bottom)));
  EXPECT_THAT(logWith(0), Not(Contains(top)));
  EXPECT_THAT(logWith(5), Not(Contains(bottom))) << "other bits mean nothing";
  EXPECT_THAT(logWith(5), Not(Contains(top)));
  EXPECT_THAT(logWith(8), Contains(bottom));
  EXPECT_THAT(logWith(8), Not(Contains(top)));
  EXPECT_THAT(logWith(8), Contains(HasSubstr("Adjusted image height to 4, pointer offset by 0 ")));
  EXPECT_THAT(logWith(2), Not(Contains(bottom)));
  EXPECT_THAT(logWith(2), Contains(top));
  EXPECT_THAT(logWith(255), Contains(bottom));
  EXPECT_THAT(logWith(255), Contains(top));
}

TEST_F(PagePipelineTest, SkipOfAWholeRowMakesThePageBlankForMeasuring) {
  configure({});
  printer_.setRemoveBlankEdges(10).setSkipRightPixels(8);
  const std::vector<std::string> log = print(Bytes(8 * 3, 255), 8, 3, 8);
  EXPECT_THAT(log, Contains(HasSubstr("number of bottom blank lines: 0")));
  EXPECT_THAT(log, Contains(HasSubstr("number of top blank lines: 3")));
  EXPECT_TRUE(sameBytes(hex("1D 76 30 00 01 00 03 00 FF FF FF"), out_.bytes()))
      << "a skip of the whole row is ignored when packing";
}

TEST_F(PagePipelineTest, PaddingColumnsArePackedAsNoDot) {
  configure({});
  print(Bytes(9 * 2, 255), 9, 2, 9);
  // 9 pixels make rows of 12 bytes: two packed bytes, the last three bits blank.
  EXPECT_TRUE(sameBytes(hex("1D 76 30 00 02 00 02 00 FF 80 FF 80"), out_.bytes()));
}

// Hands rows on with ink behind their end: a kernel may leave anything there.
template <typename Sink>
Sink inkBehindRows(uint32_t width, const Sink& sink) {
  return [width, &sink](uint32_t y, const uint8_t* row) {
    Bytes longer(size_t{width} + 64, 0xFF);
    std::copy_n(row, width, longer.begin());
    sink(y, longer.data());
  };
}

// Lets the product run on kernels that do so until the end of the scope. The lists
// are handed out as constant, but their elements live on the heap and may be
// overwritten; the product uses the last one of each.
class InkBehindRows {
 public:
  InkBehindRows()
      : halftone_(const_cast<HalftoneVariant&>(halftoneVariants().back())),
        stencil_(const_cast<StencilVariant&>(stencilVariants().back())) {
    plainHalftone_ = halftoneVariants().front().run;
    plainStencil_ = stencilVariants().front().run;
    halftone_.run = [](long method, uint32_t width, uint32_t height, const auto& source,
                       const auto& sink) {
      const auto inked = inkBehindRows(width, sink);
      plainHalftone_(method, width, height, source, inked);
    };
    stencil_.run = [](int32_t threshold, uint32_t width, uint32_t height, const auto& source,
                      const auto& sink) {
      const auto inked = inkBehindRows(width, sink);
      plainStencil_(threshold, width, height, source, inked);
    };
  }
  ~InkBehindRows() {
    halftone_.run = halftoneRun_;
    stencil_.run = stencilRun_;
  }
  InkBehindRows(const InkBehindRows&) = delete;
  InkBehindRows& operator=(const InkBehindRows&) = delete;

 private:
  static inline HalftoneRows plainHalftone_ = nullptr;
  static inline StencilRows plainStencil_ = nullptr;
  HalftoneVariant& halftone_;
  StencilVariant& stencil_;
  HalftoneRows halftoneRun_ = halftone_.run;
  StencilRows stencilRun_ = stencil_.run;
};

TEST_F(PagePipelineTest, WhatAKernelLeavesBehindARowIsNeitherPackedNorSaved) {
  const InkBehindRows ink;
  for (int type = 0; type < 10; ++type) {
    for (const int width : {41, 42, 43, 44, 49}) {
      for (const uint64_t skip : {0U, 1U, 2U, 9U}) {
        SCOPED_TRACE(std::to_string(type) + ", width " + std::to_string(width) + ", skip " +
                     std::to_string(skip));
        model::PrinterSettings settings;
        settings.halftoneType = type;
        settings.skipRightPixels = skip;
        const auto columns = static_cast<uint64_t>(width);
        expectAsModel(settings, model::noisePage(width, 9, 3).pixels, columns, 9, columns);
      }
    }
  }
}

TEST_F(PagePipelineTest, FailedPageIsReportedAndNeverPrintsTheOneBefore) {
  // Rows as long as the picture is wide, and longer ones.
  for (const uint64_t width : {uint64_t{16}, uint64_t{15}}) {
    for (const DitherType type : {DitherType::Burkes, DitherType::Tattoo}) {
      SCOPED_TRACE(std::to_string(width) + ", " + dravHalftoneTypeToStr(type));
      configure({});
      printer_.setHalftoneType(type);
      MemoryStream out;
      printer_.getOutputStreams() = {out.get()};
      print(Bytes(16 * 4, 255), 16, 4, width);
      const Bytes good = out.bytes();
      ASSERT_FALSE(good.empty());
      const size_t pictures = folder_.names().size();

      const std::vector<std::string> log = print(Bytes(16 * 4, 255), 16, 4, 0);
      EXPECT_THAT(log, Contains("CRIT:paletteImage.CreateFromArray with grey failed!"));
      EXPECT_THAT(log, Contains("ERROR:printImage: pimage is NULL, unable to print the image"));
      EXPECT_EQ(log.back(), "DEBUG:printImage: Image processing completed");
      EXPECT_TRUE(sameBytes(good, out.bytes()));
      EXPECT_EQ(folder_.names().size(), pictures + 1) << "the input picture alone";

      print(Bytes(16 * 4, 255), 16, 4, width);
      Bytes twice = good;
      append(twice, good);
      EXPECT_TRUE(sameBytes(twice, out.bytes())) << "the page after it is printed again";
    }
  }
}

TEST_F(PagePipelineTest, FailedFirstPageFindsNoImage) {
  configure({});
  const std::vector<std::string> log = print(Bytes(4, 255), 4, 1, 0);
  EXPECT_THAT(log, Contains("ERROR:printImage: pimage is NULL, unable to print the image"));
  EXPECT_TRUE(out_.bytes().empty());
}

TEST_F(PagePipelineTest, MemoryThatCannotBeHadEndsThePageWithoutOutput) {
  configure({});
  const uint8_t pixel = 255;
  const std::vector<std::string> log =
      captureLog([&] { printer_.printImage(&pixel, uint64_t{1} << 50, 1 << 10, 1); });
  EXPECT_THAT(log, ElementsAreArray(std::vector<std::string>{
                       "DEBUG:printImage: Start processing image, input width: 1, height: 1024, "
                       "bytes per line: 1125899906842624",
                       "ERROR:printImage: Memory allocation failed, unable to process image, "
                       "exiting processing",
                       "DEBUG:printImage: Image processing completed"}));
  EXPECT_TRUE(out_.bytes().empty());
  EXPECT_TRUE(folder_.names().empty());
}

TEST_F(PagePipelineTest, PageTooLargeForAnImageIsNotPrinted) {
  // 2^29 pixels: eight bits of each no longer fit the image class's 32-bit count.
  constexpr uint64_t kWidth = 16384;
  constexpr uint64_t kHeight = 32768;
  struct Free {
    void operator()(uint8_t* block) const { std::free(block); }
  };
  const std::unique_ptr<uint8_t, Free> page(
      static_cast<uint8_t*>(std::calloc(kWidth * kHeight, 1)));
  ASSERT_NE(page, nullptr);
  for (const DitherType type : {DitherType::None, DitherType::Tattoo}) {
    configure({});
    printer_.setHalftoneType(type).setDumpFolder(folder_.file("missing"));
    const std::vector<std::string> log =
        captureLog([&] { printer_.printImage(page.get(), kWidth, kHeight, kWidth); });
    EXPECT_THAT(log, Contains("CRIT:paletteImage.CreateFromArray with grey failed!"));
    EXPECT_THAT(log, Contains("ERROR:printImage: pimage is NULL, unable to print the image"));
    EXPECT_EQ(countLines(log, "DravPrinter::saveImage: "), 1U) << "the input picture alone";
    ASSERT_TRUE(out_.bytes().empty());
  }
}

#if defined(DRAV_TEST_WRAPS_ALLOCATIONS)
TEST_F(PagePipelineTest, PageThatRunsOutOfMemoryAnywhereSendsNothing) {
  const Bytes page = model::photoPage(40, 110, 3).pixels;
  bool sawMissingResult = false;
  for (const int type : {0, 1, 2, 5, 7, 8, 9}) {
    for (const bool turned : {false, true}) {
      SCOPED_TRACE(std::to_string(type) + (turned ? ", turned" : ""));
      model::PrinterSettings settings;
      settings.halftoneType = type;
      settings.rotate180 = turned;
      settings.brightness = 5;
      configure(settings);
      const Bytes whole = model::printImage(settings, page, 40, 110, 40).bands;
      for (int granted = 0;; ++granted) {
        ASSERT_LT(granted, 1000);
        MemoryStream out;
        printer_.getOutputStreams() = {out.get()};
        print(page, 40, 110, 40);
        const Bytes before = out.bytes();
        int refused = 0;
        bool thrown = false;
        const std::vector<std::string> log = captureLog([&] {
          const FailingAllocations failing(granted);
          try {
            printer_.printImage(page.data(), 40, 110, 40);
          } catch (const std::bad_alloc&) {
            thrown = true;
          }
          refused = failing.refused();
        });
        Bytes expected = before;
        if (refused == 0) append(expected, whole);
        ASSERT_TRUE(sameBytes(expected, out.bytes())) << granted << " allocations granted";
        if (refused == 0) break;
        EXPECT_TRUE(thrown || countLines(log, "ERROR:") + countLines(log, "CRIT:") != 0)
            << granted << " allocations granted";
        if (testing::Value(log, Contains("ERROR:printImage: Memory allocation for processing "
                                         "result failed, unable to continue processing"))) {
          sawMissingResult = true;
          EXPECT_EQ(log.back(), "DEBUG:printImage: Image processing completed");
          EXPECT_EQ(countLines(log, "DEBUG:PageProcess: "), 0U);
        }
      }
    }
  }
  EXPECT_TRUE(sawMissingResult);
}
#endif

// Keeps the finished page that it gets.
class KeepingPrinter : public DravPrinter {
 public:
  void doPrintImage(const unsigned char* pixels, uint64_t bytesPerLine, uint64_t height,
                    uint64_t width) override {
    ++calls;
    rowBytes = bytesPerLine;
    columns = width;
    rows.assign(pixels, pixels + bytesPerLine * height);
  }

  int calls = 0;
  uint64_t rowBytes = 0;
  uint64_t columns = 0;
  Bytes rows;
};

TEST_F(PagePipelineTest, OtherPrintersGetTheFinishedPageUnpacked) {
  const Bytes page = model::photoPage(37, 20, 6).pixels;
  for (int type = 0; type < 10; ++type) {
    SCOPED_TRACE(type);
    model::PrinterSettings settings;
    settings.halftoneType = type;
    const model::FinishedPage expected = model::processPage(settings, page, 37, 37, 20);
    KeepingPrinter printer;
    printer.getOutputStreams() = {out_.get()};
    printer.setDumpFolder(folder_.path()).setHalftoneType(static_cast<DitherType>(type));
    captureLog([&] { printer.printImage(page.data(), 37, 20, 37); });
    EXPECT_EQ(printer.calls, 1);
    EXPECT_EQ(printer.rowBytes, 40U);
    EXPECT_EQ(printer.columns, 37U);
    EXPECT_TRUE(sameBytes(expected.image.rows(), printer.rows));
  }
  EXPECT_TRUE(out_.bytes().empty()) << "the pipeline itself writes nothing";
}

TEST_F(PagePipelineTest, WidePagesAgreeWithTheModelAtEveryHalftone) {
  // Wide enough for every vector length, with each remainder of the width.
  for (int type = 0; type < 11; ++type) {
    for (const int width : {255, 256, 257, 1181, 2480}) {
      SCOPED_TRACE(std::to_string(type) + ", width " + std::to_string(width));
      model::PrinterSettings settings;
      settings.halftoneType = type;
      settings.brightness = width == 1181 ? 4 : 0;
      settings.skipRightPixels = width == 2480 ? 79 : 0;
      const auto columns = static_cast<uint64_t>(width);
      const model::Grey picture = model::patternPage(width % 2 == 0 ? "photo" : "noise", width, 9,
                                                     static_cast<uint64_t>(type));
      expectAsModel(settings, picture.pixels, columns, 9, columns);
    }
  }
}

TEST_F(PagePipelineTest, FailedSavesCostTwoLinesAndNothingElse) {
  configure({});
  printer_.setDumpFolder(folder_.file("missing"));
  const Bytes page = model::photoPage(24, 8, 1).pixels;
  const std::vector<std::string> log = maskLog(print(page, 24, 8, 24));
  const model::PrintedPage expected = model::printImage({}, page, 24, 8, 24, true);
  EXPECT_THAT(log, ElementsAreArray(expected.log));
  EXPECT_EQ(countLines(log, "DravPrinter::saveImage: unable to open the file "), 2U);
  EXPECT_TRUE(sameBytes(expected.bands, out_.bytes()));
}

TEST_F(PagePipelineTest, StopInsideAPageIsForgottenWithTheNextPage) {
  configure({});
  bool stop = false;
  printer_.setStopRequested([&stop] { return stop; });
  stop = true;
  print(Bytes(8 * 200, 255), 8, 200, 8);
  EXPECT_TRUE(printer_.rasterInterrupted());
  EXPECT_EQ(printer_.bandsSent(), 0U);
  EXPECT_TRUE(out_.bytes().empty());
  stop = false;
  print(Bytes(8 * 200, 255), 8, 200, 8);
  EXPECT_FALSE(printer_.rasterInterrupted());
  EXPECT_EQ(printer_.bandsSent(), 3U);
}

TEST_F(PagePipelineTest, InputPageIsLeftAsItIs) {
  const Bytes page = model::photoPage(33, 20, 2).pixels;
  for (int type = 0; type < 10; ++type) {
    model::PrinterSettings settings;
    settings.halftoneType = type;
    settings.brightness = 30;
    settings.negative = true;
    configure(settings);
    Bytes copy = page;
    print(copy, 33, 20, 33);
    EXPECT_TRUE(sameBytes(page, copy)) << type;
  }
}

TEST_F(PagePipelineTest, RandomPagesAgreeWithTheModel) {
  model::Random random(9);
  for (int round = 0; round < 150; ++round) {
    model::PrinterSettings settings;
    settings.halftoneType = static_cast<int32_t>(random.below(11));
    settings.brightness = random.below(2) == 0 ? 0 : static_cast<int>(random.below(241)) - 120;
    settings.contrast = random.below(2) == 0 ? 0 : static_cast<int>(random.below(241)) - 120;
    settings.rotate180 = random.below(3) == 0;
    settings.mirror = random.below(3) == 0;
    settings.negative = random.below(4) == 0;
    settings.removeBlankEdges = static_cast<uint8_t>(random.below(16));
    settings.invert = random.below(4) == 0;
    settings.trim = static_cast<model::Trim>(random.below(3));
    settings.keepPictures = random.below(3) != 0;
    settings.verticalResolution = random.below(4) * 100;
    settings.antiWrinkle = static_cast<int>(random.below(4));
    settings.pageSizeName = random.below(2) == 0 ? "Tattoo_A6" : "X80MMY200MM";
    const int width = static_cast<int>(1 + random.below(70));
    const int height = static_cast<int>(1 + random.below(120));
    const uint32_t padding = random.below(3) == 0 ? random.below(6) : 0;
    const uint32_t stride = static_cast<uint32_t>(width) + padding;
    settings.skipRightPixels = random.below(2) == 0 ? 0 : random.below(stride + 3);
    const std::vector<std::string>& names = model::patternNames();
    const std::string& pattern = names[random.below(static_cast<uint32_t>(names.size()))];
    const model::Grey picture = model::patternPage(pattern, width, height, random.next());
    Bytes rows(size_t{stride} * static_cast<size_t>(height), 0);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        rows[static_cast<size_t>(y) * stride + static_cast<size_t>(x)] = picture.at(x, y);
      }
    }
    SCOPED_TRACE("round " + std::to_string(round) + ", " + pattern + " " + std::to_string(width) +
                 " of " + std::to_string(stride) + " x " + std::to_string(height) + ", halftone " +
                 std::to_string(settings.halftoneType));
    expectAsModel(settings, rows, stride, static_cast<uint64_t>(height),
                  static_cast<uint64_t>(width));
    if (HasFailure()) return;
  }
}

TEST_F(PagePipelineTest, FramedPagesAgreeWithTheModel) {
  for (const int type : {2, 9}) {
    model::PrinterSettings settings;
    settings.halftoneType = type;
    settings.antiWrinkle = 3;
    settings.pageSizeName = "Tattoo_A6";  // a canvas of 1251 x 1418 dots
    settings.negative = type == 2;
    settings.removeBlankEdges = 10;
    expectAsModel(settings, model::circlesPage(1253, 1421, 4).pixels, 1253, 1421, 1253);
  }
}

TEST_F(PagePipelineTest, FrameThatDoesNotPrintWholeIsLeftOutWithOneWarning) {
  struct Case {
    uint32_t width;
    uint32_t height;
    unsigned long skip;
  };
  // One dot too narrow, too low, its right side among the skipped pixels.
  for (const Case& page : {Case{1204, 1418, 0}, Case{1205, 1417, 0}, Case{1208, 1418, 3}}) {
    SCOPED_TRACE(std::to_string(page.width) + " x " + std::to_string(page.height));
    const Bytes pixels =
        model::circlesPage(static_cast<int>(page.width), static_cast<int>(page.height), 4).pixels;
    model::PrinterSettings settings;
    settings.skipRightPixels = page.skip;
    const model::PrintedPage plain =
        model::printImage(settings, pixels, page.width, page.height, page.width);
    settings.antiWrinkle = 1;
    settings.pageSizeName = "Tattoo_A6";
    configure(settings);
    MemoryStream out;
    const TempFolder pictures;
    printer_.getOutputStreams() = {out.get()};
    printer_.setDumpFolder(pictures.path());
    std::vector<std::string> log = maskLog(print(pixels, page.width, page.height, page.width));
    EXPECT_TRUE(sameBytes(plain.bands, out.bytes()));
    EXPECT_TRUE(samePictures(plain.saved, savedPictures(pictures)));
    const std::string warning =
        "WARN:The frame of 1205 x 1418 dots does not fit the " +
        std::to_string(page.skip != 0 ? page.width - page.skip : page.width) + " x " +
        std::to_string(page.height) + " dots that print, it is left out!";
    EXPECT_EQ(std::erase(log, warning), 1U);
    EXPECT_THAT(log, ElementsAreArray(plain.log));
  }
}

}  // namespace
