// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "tests/model/page_patterns.h"
#include "tests/model/pages.h"
#include "tests/support/log_capture.h"
#include "tests/support/saved_pictures.h"
#include "tests/support/scoped_env.h"
#include "tests/unit/printer/printer_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

uint64_t littleEndian(const Bytes& bytes, size_t offset, size_t size) {
  uint64_t value = 0;
  for (size_t i = 0; i < size; ++i) value |= uint64_t{bytes.at(offset + i)} << (8 * i);
  return value;
}

class DebugBmpTest : public PrinterFixture {
 protected:
  // Saves a picture and returns it; the folder holds no other one afterwards.
  SavedPicture save(const Bytes& pixels, uint64_t bytesPerLine, uint64_t height, uint64_t width,
                    uint16_t bitsPerPixel) {
    for (const std::string& name : folder_.names()) unlink(folder_.file(name).c_str());
    const std::vector<std::string> log = captureLog(
        [&] { printer_.saveImage(pixels.data(), bytesPerLine, height, width, bitsPerPixel); });
    EXPECT_THAT(log, IsEmpty());
    const std::vector<SavedPicture> pictures = savedPictures(folder_);
    EXPECT_EQ(pictures.size(), 1U);
    return pictures.empty() ? SavedPicture{} : pictures.front();
  }

  const ScopedEnv utc_{"TZ", "UTC"};
};

TEST_F(DebugBmpTest, GreyPictureStatesPaddedRowsButHoldsUnpaddedOnes) {
  Bytes pixels(20);
  for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<uint8_t>(i * 3);
  const Bytes file = save(pixels, 10, 2, 10, 8).bytes;
  ASSERT_EQ(file.size(), 1098U);
  EXPECT_EQ(littleEndian(file, 0, 2), 0x4D42U);
  EXPECT_EQ(littleEndian(file, 2, 4), 1102U);   // file size
  EXPECT_EQ(littleEndian(file, 6, 4), 0U);      // reserved
  EXPECT_EQ(littleEndian(file, 10, 4), 1078U);  // data offset
  EXPECT_EQ(littleEndian(file, 14, 4), 40U);    // header size
  EXPECT_EQ(littleEndian(file, 18, 4), 10U);    // width
  EXPECT_EQ(littleEndian(file, 22, 4), 2U);     // height
  EXPECT_EQ(littleEndian(file, 26, 2), 1U);     // planes
  EXPECT_EQ(littleEndian(file, 28, 2), 8U);     // bits per pixel
  EXPECT_EQ(littleEndian(file, 30, 4), 0U);     // compression
  EXPECT_EQ(littleEndian(file, 34, 4), 24U);    // image size
  EXPECT_EQ(littleEndian(file, 38, 4), 0U);     // horizontal resolution
  EXPECT_EQ(littleEndian(file, 42, 4), 0U);     // vertical resolution
  EXPECT_EQ(littleEndian(file, 46, 4), 256U);   // colours used
  EXPECT_EQ(littleEndian(file, 50, 4), 256U);   // important colours
  for (size_t i = 0; i < 256; ++i) {
    EXPECT_EQ(littleEndian(file, 54 + 4 * i, 4), i | i << 8 | i << 16) << "entry " << i;
  }
  EXPECT_TRUE(sameBytes(pixels, {file.begin() + 1078, file.end()}));
}

TEST_F(DebugBmpTest, BlackAndWhitePictureIsPackedFromTheLastRowUp) {
  Bytes pixels(24, 0);
  pixels[12] = 5;  // leftmost pixel of the second row
  const Bytes file = save(pixels, 12, 2, 12, 1).bytes;
  ASSERT_EQ(file.size(), 62U + 8U);
  EXPECT_EQ(littleEndian(file, 2, 4), 70U);
  EXPECT_EQ(littleEndian(file, 10, 4), 62U);
  EXPECT_EQ(littleEndian(file, 18, 4), 12U);
  EXPECT_EQ(littleEndian(file, 22, 4), 2U);
  EXPECT_EQ(littleEndian(file, 28, 2), 1U);
  EXPECT_EQ(littleEndian(file, 34, 4), 8U);
  EXPECT_EQ(littleEndian(file, 46, 4), 0U);
  EXPECT_EQ(littleEndian(file, 50, 4), 0U);
  EXPECT_TRUE(sameBytes(hex("00 00 00 00 FF FF FF 00"), {file.begin() + 54, file.begin() + 62}));
  EXPECT_TRUE(sameBytes(hex("7F FF 00 00 FF FF 00 00"), {file.begin() + 62, file.end()}));
}

TEST_F(DebugBmpTest, TwelveBlankPixelsAreWhiteWithWhitePaddingBits) {
  const Bytes file = save(Bytes(12, 0), 12, 1, 12, 1).bytes;
  EXPECT_TRUE(sameBytes(hex("FF FF 00 00"), {file.begin() + 62, file.end()}));
}

TEST_F(DebugBmpTest, OtherDepthsLeaveOutThePalette) {
  for (const uint16_t bits : {uint16_t{0}, uint16_t{4}, uint16_t{24}, uint16_t{65535}}) {
    const Bytes file = save(Bytes(12, 0), 12, 1, 12, bits).bytes;
    ASSERT_EQ(file.size(), 58U) << bits;
    EXPECT_EQ(littleEndian(file, 28, 2), 1U) << bits;
    EXPECT_EQ(littleEndian(file, 10, 4), 62U) << bits;
    EXPECT_TRUE(sameBytes(hex("FF FF 00 00"), {file.begin() + 54, file.end()})) << bits;
  }
}

TEST_F(DebugBmpTest, GreyPicturesAgreeWithTheModelAtAnySize) {
  model::Random random(5);
  for (int round = 0; round < 100; ++round) {
    const uint64_t width = random.below(40);
    const uint64_t bytesPerLine = width + random.below(5);
    const uint64_t height = random.below(9);
    Bytes pixels(bytesPerLine * height);
    for (uint8_t& level : pixels) level = random.byte();
    const Bytes file = save(pixels, bytesPerLine, height, width, 8).bytes;
    ASSERT_TRUE(sameBytes(model::bmpFile(pixels, bytesPerLine, height, width, 8), file))
        << width << " of " << bytesPerLine << " x " << height;
  }
}

TEST_F(DebugBmpTest, BlackAndWhitePicturesAgreeWithTheModelAtAnySize) {
  model::Random random(6);
  for (int round = 0; round < 200; ++round) {
    // Rows longer and shorter than the picture is wide: the longer ones end at
    // the end of their row.
    const uint64_t width = random.below(60);
    const uint64_t bytesPerLine = 1 + random.below(90);
    const uint64_t height = random.below(9);
    const auto bits = static_cast<uint16_t>(random.below(4));
    Bytes pixels(bytesPerLine * height);
    for (uint8_t& level : pixels) level = static_cast<uint8_t>(random.below(2) * 200);
    const Bytes file = save(pixels, bytesPerLine, height, width, bits).bytes;
    ASSERT_TRUE(sameBytes(model::bmpFile(pixels, bytesPerLine, height, width, bits), file))
        << width << " of " << bytesPerLine << " x " << height;
  }
}

TEST_F(DebugBmpTest, NothingIsReadBehindThePixels) {
  // A picture said to be wider than its rows: the sanitizers see a read behind
  // the rows.
  const Bytes pixels(8, 0x11);
  const Bytes file = save(pixels, 4, 2, 10, 8).bytes;
  ASSERT_GE(file.size(), 1078U + 8U);
  EXPECT_TRUE(sameBytes(pixels, {file.begin() + 1078, file.begin() + 1086}));
  EXPECT_EQ(littleEndian(file, 34, 4), 24U);
}

TEST_F(DebugBmpTest, PictureWithoutPixelsIsItsHeaderAndPalette) {
  captureLog([&] { printer_.saveImage(nullptr, 4, 2, 4, 8); });
  std::vector<SavedPicture> pictures = savedPictures(folder_);
  ASSERT_EQ(pictures.size(), 1U);
  EXPECT_EQ(pictures[0].bytes.size(), 1078U);
}

TEST_F(DebugBmpTest, PictureWithoutColumnsOrRowsHasNoPixels) {
  // No block of no bytes is written either, see null_writes.cc.
  for (const uint16_t bits : {uint16_t{1}, uint16_t{8}}) {
    for (const uint64_t height : {uint64_t{0}, uint64_t{3}}) {
      const size_t palette = bits == 1 ? 8 : 1024;
      EXPECT_EQ(save(Bytes(30, 0), 10, height, 0, bits).bytes.size(), 54 + palette) << bits;
    }
    EXPECT_EQ(littleEndian(save(Bytes(30, 0), 10, 3, 0, bits).bytes, 34, 4), 0U);
  }
}

TEST_F(DebugBmpTest, NameHasTheLocalTimeWithoutZeroPadding) {
  // 2025-01-05 03:04:09 in UTC.
  printer_.setClock([] { return std::time_t{1736046249}; });
  EXPECT_EQ(save(Bytes(4, 0), 4, 1, 4, 8).stamp, "2025-1-5_3_4_9");
  const ScopedEnv zone("TZ", "EST5");
  EXPECT_EQ(save(Bytes(4, 0), 4, 1, 4, 8).stamp, "2025-1-4_22_4_9");
}

TEST_F(DebugBmpTest, NameOfASaveOutsideAPageBeginsWithPrnimg) {
  const SavedPicture picture = save(Bytes(4, 0), 4, 1, 4, 8);
  EXPECT_EQ(picture.name, "prnimg_2025-1-31_23_59_59_" + std::to_string(picture.number) + ".bmp");
}

TEST_F(DebugBmpTest, PerCentSignsInTheFolderAreNoFields) {
  const std::string folder = folder_.file("100%d%s%n");
  ASSERT_EQ(mkdir(folder.c_str(), 0700), 0);
  printer_.setDumpFolder(folder);
  const std::vector<std::string> log =
      captureLog([&] { printer_.saveImage(Bytes(4, 0).data(), 4, 1, 4, 8); });
  EXPECT_THAT(log, IsEmpty());
  EXPECT_EQ(rmdir(folder.c_str()), -1) << "the picture lies in the folder";
}

TEST_F(DebugBmpTest, SavesOfOneSecondAreToldApartByACounterOfAllPrinters) {
  ReceiptEpPrinter second;
  second.setDumpFolder(folder_.path()).setClock([] { return kNow; });
  const Bytes pixels(4, 0);
  printer_.saveImage(pixels.data(), 4, 1, 4, 8);
  second.saveImage(pixels.data(), 4, 1, 4, 8);
  printer_.saveImage(pixels.data(), 4, 1, 4, 1);
  const std::vector<SavedPicture> pictures = savedPictures(folder_);
  ASSERT_EQ(pictures.size(), 3U);
  EXPECT_EQ(pictures[1].number, pictures[0].number + 1);
  EXPECT_EQ(pictures[2].number, pictures[0].number + 2);
}

TEST_F(DebugBmpTest, FailedSaveIsReportedAndCounted) {
  const Bytes pixels(4, 0);
  const long before = save(pixels, 4, 1, 4, 8).number;
  printer_.setDumpFolder(folder_.file("missing"));
  const std::string expected = "DravPrinter::saveImage: unable to open the file " +
                               folder_.file("missing") + "/prnimg_2025-1-31_23_59_59_" +
                               std::to_string(before + 1) + ".bmp\n";
  EXPECT_EQ(captureLogText([&] { printer_.saveImage(pixels.data(), 4, 1, 4, 8); }), expected);
  printer_.setDumpFolder(folder_.path());
  EXPECT_EQ(save(pixels, 4, 1, 4, 8).number, before + 2);
  EXPECT_NE(access(folder_.file("missing").c_str(), F_OK), 0) << "the folder is not made";
}

TEST_F(DebugBmpTest, WithoutAFolderNothingIsSavedReportedOrCounted) {
  const Bytes pixels(4, 0);
  const long before = save(pixels, 4, 1, 4, 8).number;
  const size_t saved = savedPictures(folder_).size();
  printer_.setDumpFolder("");
  EXPECT_EQ(captureLogText([&] { printer_.saveImage(pixels.data(), 4, 1, 4, 8); }), "");
  EXPECT_EQ(savedPictures(folder_).size(), saved);
  printer_.setDumpFolder(folder_.path());
  EXPECT_EQ(save(pixels, 4, 1, 4, 8).number, before + 1);
}

TEST_F(DebugBmpTest, PictureIsForItsOwnerAlone) {
  const mode_t oldMask = umask(0);
  const SavedPicture picture = save(Bytes(4, 0), 4, 1, 4, 8);
  umask(oldMask);
  struct stat status = {};
  ASSERT_EQ(stat(folder_.file(picture.name).c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, mode_t{0600});
}

TEST_F(DebugBmpTest, PictureNeverGoesThroughASymbolicLink) {
  const Bytes pixels(4, 0);
  const long before = save(pixels, 4, 1, 4, 8).number;
  const std::string name = "prnimg_2025-1-31_23_59_59_" + std::to_string(before + 1) + ".bmp";
  TempFolder elsewhere;
  writeFile(elsewhere.file("target"), std::string("kept"));
  ASSERT_EQ(symlink(elsewhere.file("target").c_str(), folder_.file(name).c_str()), 0);
  EXPECT_THAT(captureLog([&] { printer_.saveImage(pixels.data(), 4, 1, 4, 8); }),
              ElementsAre("DravPrinter::saveImage: unable to open the file " + folder_.file(name)));
  EXPECT_TRUE(sameBytes(Bytes{'k', 'e', 'p', 't'}, readFile(elsewhere.file("target"))));
}

// Prints two pages and answers with status 0 when their pictures are numbered
// from 0 in the order of their making.
int numbersOfAFreshProcess() {
  TempFolder folder;
  ReceiptEpPrinter printer;
  MemoryStream out;
  printer.getOutputStreams() = {out.get()};
  printer.setDumpFolder(folder.path()).setClock([] { return std::time_t{0}; });
  const Bytes page(16, 0x80);
  printer.printImage(page.data(), 4, 4, 4);
  printer.printImage(page.data(), 4, 4, 4);
  const char* const kinds[] = {"origin", "dithered", "origin", "dithered"};
  const std::vector<SavedPicture> pictures = savedPictures(folder);
  if (pictures.size() != 4) return 1;
  for (size_t i = 0; i < 4; ++i) {
    if (pictures[i].kind != kinds[i] || pictures[i].number != static_cast<long>(i)) return 2;
  }
  return 0;
}

TEST(DebugBmpDeathTest, PicturesOfAProcessAreNumberedFromZero) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process of its own
  EXPECT_EXIT(std::exit(numbersOfAFreshProcess()), testing::ExitedWithCode(0), "");
}

}  // namespace
