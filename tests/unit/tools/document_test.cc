// SPDX-License-Identifier: Apache-2.0
// What converters say, and what a raster stream holds.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>

#include "tests/support/bytes.h"
#include "tools/drav/document/converter_messages.h"
#include "tools/drav/document/raster_reader.h"

namespace {

using testing::IsEmpty;

TEST(ConverterMessages, PasswordsAndDamageAreNamed) {
  EXPECT_EQ(converterFailure("x", "ERROR: loadFilename failed: a.pdf: invalid password\n", "a.pdf"),
            "is an encrypted PDF and needs a password");
  EXPECT_EQ(converterFailure("x", "Command Line Error: Incorrect password\n", ""),
            "is an encrypted PDF and needs a password");
  const std::string log =
      "INFO: pdftopdf (PID 1) started.\nWARNING: /d/a.pdf: file is damaged\n"
      "WARNING: /d/a.pdf: can't find startxref\nERROR: pdftopdf (PID 1) stopped with status 1\n";
  EXPECT_EQ(converterFailure("x", log, "/d/a.pdf"), "is a damaged PDF: can't find startxref");
  EXPECT_EQ(reportedDamage(log, "/d/a.pdf"), "is a damaged PDF: can't find startxref");
  EXPECT_THAT(reportedDamage("INFO: all is well\n", ""), IsEmpty());
}

TEST(ConverterMessages, OtherwiseTheFirstReasonOrTheEndCounts) {
  EXPECT_EQ(converterFailure("x", "ERROR: imagetoraster (PID 7) crashed on signal 8\n", ""),
            "cannot be converted: imagetoraster crashed on signal 8");
  EXPECT_EQ(converterFailure("cupsfilter ended with status 1", "DEBUG: nothing\n", ""),
            "cannot be converted: cupsfilter ended with status 1");
  EXPECT_LT(converterFailure("x", "ERROR: " + std::string(9000, 'y'), "").size(), 300U);
}

TEST(ConverterMessages, AMissingConverterIsKnown) {
  EXPECT_TRUE(isMissingConverter("a\ncupsfilter: No filter to convert from image/png to b.\n"));
  EXPECT_FALSE(isMissingConverter("ERROR: other\n"));
}

// A reader of bytes in memory that gives them in small pieces.
ByteReader piecesOf(const Bytes& bytes, size_t piece, size_t& at) {
  return [&bytes, piece, &at](uint8_t* buffer, size_t size) {
    const size_t count = std::min({size, piece, bytes.size() - at});
    std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), count, buffer);
    at += count;
    return static_cast<ssize_t>(count);
  };
}

Bytes oneRaster(uint32_t width, uint32_t height, size_t pixels) {
  cups_page_header2_t header = {};
  header.cupsWidth = width;
  header.cupsHeight = height;
  header.cupsBitsPerColor = 8;
  header.cupsBitsPerPixel = 8;
  header.cupsBytesPerLine = width;
  header.cupsColorSpace = CUPS_CSPACE_K;
  header.cupsNumColors = 1;
  const uint32_t mark = CUPS_RASTER_SYNC;
  Bytes bytes(sizeof mark + sizeof header + pixels, 0x7E);
  std::memcpy(bytes.data(), &mark, sizeof mark);
  std::memcpy(bytes.data() + sizeof mark, &header, sizeof header);
  return bytes;
}

TEST(RasterReader, TakesItsBytesInPiecesOfAnySize) {
  const Bytes raster = oneRaster(30, 20, 600);
  for (const size_t piece : {1U, 7U, 600U, 10'000U}) {
    size_t at = 0;
    RasterReader reader(piecesOf(raster, piece, at));
    GreyPage page;
    std::string error;
    ASSERT_EQ(reader.next(page, error), PageSource::Step::page) << error;
    EXPECT_EQ(page.pixels, Bytes(600, 0x7E));
    EXPECT_EQ(reader.next(page, error), PageSource::Step::end);
    EXPECT_EQ(reader.next(page, error), PageSource::Step::end);
  }
}

TEST(RasterReader, APromiseOfManyPixelsTakesNoMemory) {
  const Bytes raster = oneRaster(11'000, 12'000, 5'000);
  size_t at = 0;
  RasterReader reader(piecesOf(raster, 1'000, at));
  GreyPage page;
  std::string error;
  EXPECT_EQ(reader.next(page, error), PageSource::Step::failed);
  EXPECT_EQ(error, "page 1 is cut short");
  EXPECT_LT(page.pixels.capacity(), size_t{4} << 20U);
}

TEST(RasterReader, FailuresOfTheSourceAreTold) {
  for (const size_t good : {0U, 4U, 900U, 2'000U}) {
    const Bytes raster = oneRaster(30, 20, 600);
    size_t at = 0;
    const ByteReader pieces = piecesOf(raster, 100, at);
    RasterReader reader([&](uint8_t* buffer, size_t size) -> ssize_t {
      return at >= good ? -1 : pieces(buffer, std::min(size, good - at));
    });
    GreyPage page;
    std::string error;
    EXPECT_EQ(reader.next(page, error), PageSource::Step::failed) << good;
    EXPECT_FALSE(error.empty());
  }
}

}  // namespace
