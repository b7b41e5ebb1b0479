// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/render/render.h"

#include <gmock/gmock.h>

#include "tests/support/files.h"
#include "tests/unit/tools/png_reading.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

// A band of equal rows.
Bytes band(uint32_t bytesPerRow, uint32_t rows, uint8_t fill) {
  Bytes bytes = hex("1D 76 30 00");
  for (const uint32_t value : {bytesPerRow, rows}) {
    bytes.push_back(static_cast<uint8_t>(value));
    bytes.push_back(static_cast<uint8_t>(value >> 8U));
  }
  bytes.resize(bytes.size() + size_t{bytesPerRow} * rows, fill);
  return bytes;
}

TEST(Render, DrawsTheBandsOfAllPagesAndJobsUnderEachOther) {
  const TempFolder folder;
  Bytes stream(64, 0);
  append(stream, hex("1B 40, 1D 76 30 00 02 00 02 00 80 01 40 02, 1D 76 30 00 02 00 01 00 FF 0F,"
                     "1B 4A A0, 1D 76 30 00 02 00 01 00 11 22, 1B 4A A0, 1B 76"));
  Bytes next(64, 0);
  append(next, hex("1B 40, 1D 76 30 00 02 00 01 00 AA 55, 1B 76"));
  append(stream, next);
  std::string error;
  ASSERT_TRUE(renderStream(stream, folder.file("a.png"), error)) << error;
  const Picture picture = readPng(folder.file("a.png"));
  EXPECT_EQ(picture.width, 16U);
  EXPECT_EQ(picture.height, 5U);
  EXPECT_TRUE(sameBytes(levelsOf(hex("80 01 40 02 FF 0F 11 22 AA 55")), picture.levels));
}

TEST(Render, NarrowPagesAreWhiteOnTheRight) {
  const TempFolder folder;
  Bytes stream = band(1, 1, 0xFF);
  append(stream, band(3, 2, 0xFF));
  append(stream, band(2, 1, 0xFF));
  std::string error;
  ASSERT_TRUE(renderStream(stream, folder.file("a.png"), error)) << error;
  EXPECT_TRUE(sameBytes(levelsOf(hex("FF 00 00, FF FF FF, FF FF FF, FF FF 00")),
                        readPng(folder.file("a.png")).levels));
}

TEST(Render, MeasuresTheWidestRowAndAllRows) {
  Bytes stream = band(300, 96, 0);
  append(stream, band(301, 5, 0));
  append(stream, band(7, 65535, 0));
  RasterExtent extent;
  std::string error;
  ASSERT_TRUE(measureRaster(stream, extent, error)) << error;
  EXPECT_EQ(extent.rows, 96U + 5U + 65535U);
  EXPECT_EQ(extent.bytesPerRow, 301U);
}

TEST(Render, JobWithoutRowsIsAnError) {
  const TempFolder folder;
  std::string error;
  EXPECT_FALSE(renderStream({}, folder.file("a.png"), error));
  EXPECT_EQ(error, "no raster rows, nothing to draw");
  EXPECT_FALSE(renderStream(hex("1B 40 1B 76"), folder.file("a.png"), error));
  EXPECT_EQ(error, "no raster rows, nothing to draw");
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(Render, DamageAfterGoodRowsLeavesNoPicture) {
  const TempFolder folder;
  Bytes stream = band(2, 2, 0xFF);
  append(stream, hex("58"));
  std::string error;
  EXPECT_FALSE(renderStream(stream, folder.file("a.png"), error));
  EXPECT_EQ(error, "offset 12: unknown bytes 58");
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(Render, PicturesOutOfProportionAreRefused) {
  const TempFolder folder;
  // One wide row makes every row of 8 kB stream 64 kB of picture.
  Bytes stream = band(65535, 1, 0);
  append(stream, band(1, 16384, 0));
  std::string error;
  EXPECT_FALSE(renderStream(stream, folder.file("a.png"), error));
  EXPECT_EQ(error,
            "a picture of 524280 x 16385 dots is larger than 1073741824 bytes,"
            " the most that is drawn");
  EXPECT_THAT(folder.names(), IsEmpty());
}

TEST(Render, ErrorsNameTheFileToBlame) {
  const TempFolder folder;
  std::string error;
  RasterExtent extent;
  writeFile(folder.file("bad"), hex("58"));
  EXPECT_FALSE(renderFile(folder.file("bad"), folder.file("a.png"), extent, error));
  EXPECT_EQ(error, folder.file("bad") + ": offset 0: unknown bytes 58");
  writeFile(folder.file("empty"), Bytes{});
  EXPECT_FALSE(renderFile(folder.file("empty"), folder.file("a.png"), extent, error));
  EXPECT_EQ(error, folder.file("empty") + ": no raster rows, nothing to draw");
  writeFile(folder.file("good"), band(1, 1, 0xFF));
  EXPECT_FALSE(renderFile(folder.file("good"), folder.file("none/a.png"), extent, error));
  EXPECT_THAT(error, HasSubstr("none/a.png: No such file"));
  EXPECT_TRUE(renderFile(folder.file("good"), folder.file("a.png"), extent, error)) << error;
  EXPECT_EQ(extent.bands, 1U);
  EXPECT_EQ(extent.rows, 1U);
  EXPECT_EQ(extent.bytesPerRow, 1U);
}

}  // namespace
