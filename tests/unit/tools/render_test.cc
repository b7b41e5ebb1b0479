// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/render/render.h"

#include <gmock/gmock.h>

#include "tests/support/files.h"
#include "tests/unit/tools/job_bytes.h"
#include "tests/unit/tools/memory_sink.h"
#include "tests/unit/tools/png_reading.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// Draws the raster of a stream that must not fail.
Bytes drawn(const Bytes& stream, uint32_t width) {
  MemorySink sink;
  RenderExtent extent;
  std::string error;
  EXPECT_TRUE(renderStream(stream, {}, sink, extent, error)) << error;
  EXPECT_TRUE(sink.finished());
  EXPECT_EQ(sink.width(), width);
  EXPECT_EQ(extent.bytesPerRow * 8, width);
  EXPECT_EQ(extent.rows, sink.height());
  return sink.bytes();
}

// The error of a stream that cannot be drawn.
std::string failure(const Bytes& stream) {
  MemorySink sink;
  RenderExtent extent;
  std::string error;
  EXPECT_FALSE(renderStream(stream, {}, sink, extent, error));
  EXPECT_EQ(sink.height(), 0U) << "a picture was begun";
  return error;
}

TEST(Render, DrawsTheBandsOfAllPagesAndJobsUnderEachOther) {
  const Bytes stream =
      joined({jobStart(), hex("1D 76 30 00 02 00 02 00 80 01 40 02, 1D 76 30 00 02 00 01 00 FF 0F"),
              hex("1B 4A A0, 1D 76 30 00 02 00 01 00 11 22, 1B 4A A0, 1B 76"), jobStart(),
              hex("1D 76 30 00 02 00 01 00 AA 55, 1B 76")});
  EXPECT_TRUE(sameBytes(hex("80 01 40 02 FF 0F 11 22 AA 55"), drawn(stream, 16)));
}

TEST(Render, NarrowPagesAreWhiteOnTheRight) {
  const Bytes stream = joined({band(1, 1, 0xFF), band(3, 2, 0xFF), band(2, 1, 0xFF)});
  EXPECT_TRUE(sameBytes(hex("FF 00 00, FF FF FF, FF FF FF, FF FF 00"), drawn(stream, 24)));
}

TEST(Render, MeasuresTheWidestRowAndAllRows) {
  RenderExtent extent;
  std::string error;
  ASSERT_TRUE(
      measureRaster(joined({band(300, 96, 0), band(301, 5, 0), band(7, 65535, 0)}), extent, error))
      << error;
  EXPECT_EQ(extent.bands, 3U);
  EXPECT_EQ(extent.rows, 96U + 5U + 65535U);
  EXPECT_EQ(extent.bytesPerRow, 301U);
}

TEST(Render, JobWithoutRowsIsAnError) {
  EXPECT_EQ(failure({}), "no raster rows, nothing to draw");
  EXPECT_EQ(failure(hex("1B 40 1B 76")), "no raster rows, nothing to draw");
}

TEST(Render, DamageAfterGoodRowsDrawsNothing) {
  EXPECT_EQ(failure(joined({band(2, 2, 0xFF), hex("58")})), "offset 12: unknown bytes 58");
}

TEST(Render, PicturesOutOfProportionAreRefused) {
  // One wide row makes every row of 8 kB stream 64 kB of picture.
  EXPECT_EQ(failure(joined({band(65535, 1, 0), band(1, 16384, 0)})),
            "a picture of 524280 x 16385 dots is larger than 1073741824 bytes,"
            " the most that is drawn");
  EXPECT_EQ(drawn(joined({band(65535, 1, 0), band(1, 5, 0)}), 524280).size(), 65535U * 6);
}

TEST(Render, FailureOfTheSinkIsTheError) {
  MemorySink sink;
  sink.failAt(3);
  RenderExtent extent;
  std::string error;
  EXPECT_FALSE(renderStream(band(2, 5, 0xFF), {}, sink, extent, error));
  EXPECT_EQ(error, "no room");
  EXPECT_FALSE(sink.finished());
}

TEST(Render, WritesPngFilesWithTheirResolution) {
  const TempFolder folder;
  writeFile(folder.file("job"), hex("1D 76 30 00 02 00 02 00 80 01 40 02"));
  RenderOptions options;
  options.printer.scale.dotsAcross = 203;
  options.printer.scale.dotsAlong = 600;
  RenderExtent extent;
  std::string error;
  ASSERT_TRUE(renderFile(folder.file("job"), folder.file("a.png"), options, extent, error))
      << error;
  const Picture picture = readPng(folder.file("a.png"));
  EXPECT_EQ(picture.width, 16U);
  EXPECT_EQ(picture.height, 2U);
  EXPECT_TRUE(sameBytes(levelsOf(hex("80 01 40 02")), picture.levels));
  // 203 / 0.0254 and 600 / 0.0254 dots a metre.
  Bytes file = readFile(folder.file("a.png"));
  ASSERT_GT(file.size(), 54U);
  EXPECT_TRUE(sameBytes(hex("00000009 70485973 00001F38 00005C46 01"),
                        Bytes(file.begin() + 33, file.begin() + 50)));
}

TEST(Render, ErrorsNameTheFileToBlame) {
  const TempFolder folder;
  std::string error;
  RenderExtent extent;
  const auto render = [&](const char* job, const char* out) {
    RenderOptions options;
    return renderFile(folder.file(job), folder.file(out), options, extent, error);
  };
  writeFile(folder.file("bad"), hex("58"));
  EXPECT_FALSE(render("bad", "a.png"));
  EXPECT_EQ(error, folder.file("bad") + ": offset 0: unknown bytes 58");
  writeFile(folder.file("empty"), Bytes{});
  EXPECT_FALSE(render("empty", "a.png"));
  EXPECT_EQ(error, folder.file("empty") + ": no raster rows, nothing to draw");
  writeFile(folder.file("good"), band(1, 1, 0xFF));
  EXPECT_FALSE(render("good", "none/a.png"));
  EXPECT_THAT(error, HasSubstr("none/a.png: No such file"));
  EXPECT_THAT(folder.names(), ElementsAre("bad", "empty", "good"));
  EXPECT_TRUE(render("good", "a.png")) << error;
  EXPECT_EQ(extent.bands, 1U);
  EXPECT_EQ(extent.rows, 1U);
  EXPECT_EQ(extent.bytesPerRow, 1U);
}

}  // namespace
