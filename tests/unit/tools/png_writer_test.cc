// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/png_writer.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <random>

#include "tests/support/files.h"
#include "tests/unit/tools/png_reading.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(PngWriter, SetBitsAreBlackAndTheTopBitIsLeft) {
  const TempFolder folder;
  std::string error;
  PngWriter png;
  ASSERT_TRUE(png.open(folder.file("a.png"), 16, 2, error)) << error;
  ASSERT_TRUE(png.writeRow(hex("80 01"), error)) << error;
  ASSERT_TRUE(png.writeRow(hex("F0 00"), error)) << error;
  ASSERT_TRUE(png.finish(error)) << error;
  const Picture picture = readPng(folder.file("a.png"));
  EXPECT_EQ(picture.width, 16U);
  EXPECT_EQ(picture.height, 2U);
  EXPECT_TRUE(sameBytes(levelsOf(hex("80 01 F0 00")), picture.levels));
}

TEST(PngWriter, IsOneBitGreyWithoutInterlace) {
  const TempFolder folder;
  std::string error;
  PngWriter png;
  ASSERT_TRUE(png.open(folder.file("a.png"), 3, 1, error)) << error;
  ASSERT_TRUE(png.writeRow(hex("A0"), error)) << error;
  ASSERT_TRUE(png.finish(error)) << error;
  Bytes file = readFile(folder.file("a.png"));
  ASSERT_GE(file.size(), 29U);
  file.resize(29);
  // Signature, IHDR: width 3, height 1, depth 1, grey, deflate, adaptive, none.
  EXPECT_TRUE(
      sameBytes(hex("89504E470D0A1A0A 0000000D 49484452 00000003 00000001 01 00 00 00 00"), file));
  EXPECT_TRUE(sameBytes(hex("00 FF 00"), readPng(folder.file("a.png")).levels));
}

// The body of the first chunk of this name; empty when there is none.
Bytes chunk(const Bytes& file, const std::string& name) {
  for (size_t at = 8; at + 12 <= file.size();) {
    const size_t length = size_t{file[at]} << 24U | size_t{file[at + 1]} << 16U |
                          size_t{file[at + 2]} << 8U | file[at + 3];
    const auto start = file.begin() + static_cast<std::ptrdiff_t>(at + 8);
    if (std::string(start - 4, start) == name)
      return {start, start + static_cast<std::ptrdiff_t>(length)};
    at += length + 12;
  }
  return {};
}

TEST(PngWriter, NotesTellResolutionAndTexts) {
  const TempFolder folder;
  std::string error;
  PngWriter png;
  PngNotes notes;
  notes.dotsPerInchX = 300;
  notes.dotsPerInchY = 203;
  notes.texts = {{"Software", "drav"}, {"Source", "\xC3\xA9t\xC3\xA9"}};
  ASSERT_TRUE(png.open(folder.file("a.png"), 8, 1, error, notes)) << error;
  ASSERT_TRUE(png.writeRow(hex("A0"), error)) << error;
  ASSERT_TRUE(png.complete(error)) << error;
  EXPECT_NE(::access(folder.file("a.png").c_str(), F_OK), 0) << "has its name too early";
  ASSERT_TRUE(png.finish(error)) << error;
  const Bytes file = readFile(folder.file("a.png"));
  // 11811 and 7992 pixels per metre.
  EXPECT_TRUE(sameBytes(hex("00002E23 00001F38 01"), chunk(file, "pHYs")));
  EXPECT_TRUE(sameBytes(hex("536F667477617265 00 64726176"), chunk(file, "tEXt")));
  EXPECT_TRUE(sameBytes(hex("536F75726365 00 00 00 00 00 C3A974C3A9"), chunk(file, "iTXt")));
  EXPECT_TRUE(sameBytes(levelsOf(hex("A0")), readPng(folder.file("a.png")).levels));
}

TEST(PngWriter, WithoutNotesNothingIsSaid) {
  const TempFolder folder;
  std::string error;
  PngWriter png;
  ASSERT_TRUE(png.open(folder.file("a.png"), 8, 1, error)) << error;
  ASSERT_TRUE(png.writeRow(hex("A0"), error)) << error;
  ASSERT_TRUE(png.finish(error)) << error;
  EXPECT_THAT(chunk(readFile(folder.file("a.png")), "pHYs"), IsEmpty());
}

TEST(PngWriter, ShortRowsEndWhiteAndLongOnesAreCut) {
  const TempFolder folder;
  std::string error;
  PngWriter png;
  ASSERT_TRUE(png.open(folder.file("a.png"), 16, 4, error)) << error;
  for (const char* row : {"FF FF", "FF", "", "FF 00 FF"})
    ASSERT_TRUE(png.writeRow(hex(row), error)) << error;
  ASSERT_TRUE(png.finish(error)) << error;
  EXPECT_TRUE(
      sameBytes(levelsOf(hex("FF FF FF 00 00 00 FF 00")), readPng(folder.file("a.png")).levels));
}

TEST(PngWriter, NoisePicturesComeBackDotForDot) {
  const TempFolder folder;
  std::mt19937 random(20240503);
  std::string error;
  for (const uint32_t bytes : {1U, 37U, 300U, 1000U}) {
    const auto rows = static_cast<uint32_t>(1 + random() % 200);
    Bytes dots(size_t{bytes} * rows);
    for (uint8_t& byte : dots) byte = static_cast<uint8_t>(random());
    PngWriter png;
    ASSERT_TRUE(png.open(folder.file("a.png"), bytes * 8, rows, error)) << error;
    for (uint32_t row = 0; row < rows; ++row)
      ASSERT_TRUE(png.writeRow(std::span(dots).subspan(size_t{row} * bytes, bytes), error))
          << error;
    ASSERT_TRUE(png.finish(error)) << error;
    EXPECT_TRUE(sameBytes(levelsOf(dots), readPng(folder.file("a.png")).levels)) << bytes;
  }
}

TEST(PngWriter, PicturesMayBeLongerThanLibpngsOwnLimit) {
  const TempFolder folder;
  std::string error;
  PngWriter png;
  ASSERT_TRUE(png.open(folder.file("a.png"), 8, 1'000'001, error)) << error;
  for (uint32_t row = 0; row < 1'000'001; ++row) ASSERT_TRUE(png.writeRow(hex(""), error)) << error;
  EXPECT_TRUE(png.finish(error)) << error;
}

TEST(PngWriter, SizesThatPngCannotHoldAreErrors) {
  const TempFolder folder;
  std::string error;
  PngWriter png;
  EXPECT_FALSE(png.open(folder.file("a.png"), 0, 1, error));
  EXPECT_EQ(error, folder.file("a.png") + ": Invalid IHDR data");
  EXPECT_FALSE(png.open(folder.file("a.png"), 8, 0x80000000U, error));
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(PngWriter, UnfinishedPictureLeavesNothing) {
  const TempFolder folder;
  std::string error;
  {
    PngWriter png;
    ASSERT_TRUE(png.open(folder.file("a.png"), 8, 2, error)) << error;
    ASSERT_TRUE(png.writeRow(hex("01"), error)) << error;
  }
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(PngWriter, MissingRowsAreAnErrorAtTheEnd) {
  const TempFolder folder;
  std::string error;
  PngWriter png;
  ASSERT_TRUE(png.open(folder.file("a.png"), 8, 2, error)) << error;
  EXPECT_FALSE(png.finish(error));
  EXPECT_EQ(error, folder.file("a.png") + ": No IDATs written into file");
  EXPECT_THAT(folder.names(), IsEmpty());
}

// A size limit stands in for a full disk.
TEST(PngWriter, WriteErrorsBelowLibpngAreReported) {
  const TempFolder folder;
  struct rlimit before = {};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  struct rlimit small = before;
  small.rlim_cur = 100'000;
  (void)::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);

  std::mt19937 random(20240504);
  std::string error;
  PngWriter png;
  bool good = png.open(folder.file("a.png"), 8000, 1000, error);
  Bytes row(1000);
  int rows = 0;
  for (; good && rows < 1000; ++rows) {
    for (uint8_t& byte : row) byte = static_cast<uint8_t>(random());
    good = png.writeRow(row, error);
  }
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
  (void)::signal(SIGXFSZ, SIG_DFL);
  EXPECT_FALSE(good);
  EXPECT_GT(rows, 1);
  EXPECT_EQ(error, folder.file("a.png") + ": " + std::strerror(EFBIG));
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(PngWriter, WriterCanBeUsedAgain) {
  const TempFolder folder;
  std::string error;
  PngWriter png;
  for (const char* name : {"a.png", "b.png"}) {
    ASSERT_TRUE(png.open(folder.file(name), 8, 1, error)) << error;
    ASSERT_TRUE(png.writeRow(hex("55"), error)) << error;
    ASSERT_TRUE(png.finish(error)) << error;
  }
  EXPECT_THAT(folder.names(), ElementsAre("a.png", "b.png"));
}

}  // namespace
