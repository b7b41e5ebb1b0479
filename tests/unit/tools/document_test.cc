// SPDX-License-Identifier: Apache-2.0
// What a document is, and what its converters say.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>

#include "tests/support/bytes.h"
#include "tools/drav/document/converter_messages.h"
#include "tools/drav/document/document_kind.h"
#include "tools/drav/document/picture.h"
#include "tools/drav/document/raster_reader.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

Bytes bytesOf(const std::string& text) { return {text.begin(), text.end()}; }
DocumentKind kindOf(const std::string& text) { return documentKind(bytesOf(text)); }

TEST(DocumentKind, IsToldByTheFirstBytes) {
  for (const char* word : {"RaSt", "tSaR", "RaS2", "2SaR", "RaS3", "3SaR"})
    EXPECT_EQ(kindOf(word), DocumentKind::kRaster) << word;
  EXPECT_EQ(kindOf("%PDF-1.4\n"), DocumentKind::kPdf);
  EXPECT_EQ(kindOf("junk of a mailer\n%PDF-1.4\n"), DocumentKind::kPdf);
  EXPECT_EQ(kindOf(std::string(1100, ' ') + "%PDF-1.4"), DocumentKind::kText);
  EXPECT_EQ(kindOf("\x89PNG\r\n\x1A\n"), DocumentKind::kPng);
  EXPECT_EQ(kindOf("\xFF\xD8\xFF\xE0"), DocumentKind::kJpeg);
  for (const char* start : {"P1 3", "P2\n", "P3#", "P4\t", "P5\r", "P6 "})
    EXPECT_EQ(kindOf(start), DocumentKind::kPortable) << start;
  EXPECT_EQ(kindOf("P7 3"), DocumentKind::kText);
  EXPECT_EQ(kindOf("P53"), DocumentKind::kText);
}

TEST(DocumentKind, TextIsUtf8WithoutControlCharacters) {
  EXPECT_EQ(kindOf("Tea 2,50 \xE2\x82\xAC\r\n\f"), DocumentKind::kText);
  EXPECT_EQ(kindOf("\xEF\xBB\xBFmarked"), DocumentKind::kText);
  EXPECT_EQ(kindOf("cut \xE2\x82"), DocumentKind::kText);
  EXPECT_EQ(kindOf("latin \xE9t\xE9"), DocumentKind::kUnknown);
  EXPECT_EQ(kindOf("over \xC0\x80"), DocumentKind::kUnknown);
  EXPECT_EQ(kindOf(std::string("a\0b", 3)), DocumentKind::kUnknown);
  EXPECT_EQ(kindOf("a\x01"), DocumentKind::kUnknown);
  EXPECT_EQ(kindOf(""), DocumentKind::kUnknown);
}

TEST(DocumentKind, MediaTypesAreTheSchedulers) {
  EXPECT_STREQ(mediaType(DocumentKind::kPortable, bytesOf("P4 ")), "image/x-portable-bitmap");
  EXPECT_STREQ(mediaType(DocumentKind::kPortable, bytesOf("P2 ")), "image/x-portable-graymap");
  EXPECT_STREQ(mediaType(DocumentKind::kPortable, bytesOf("P6 ")), "image/x-portable-pixmap");
  EXPECT_STREQ(mediaType(DocumentKind::kText, bytesOf("x")), "text/plain");
  EXPECT_EQ(mediaType(DocumentKind::kRaster, bytesOf("3SaR")), nullptr);
}

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

TEST(Picture, PortablePicturesOfEveryKind) {
  const auto decode = [](const std::string& text) {
    GreyPicture picture;
    size_t used = 0;
    std::string error;
    EXPECT_TRUE(decodePortable(bytesOf(text), picture, used, error)) << error;
    EXPECT_EQ(picture.levels.size(), size_t{picture.width} * picture.height);
    EXPECT_EQ(used, text.size());
    return picture.levels;
  };
  EXPECT_THAT(decode("P1 3 2 1 0 1\n010"), ElementsAre(0, 255, 0, 255, 0, 255));
  EXPECT_THAT(decode("P4 3 2\n\xA0\x40"), ElementsAre(0, 255, 0, 255, 0, 255));
  EXPECT_THAT(decode("P2 #two\n2 1 #most\n4 1 4"), ElementsAre(63, 255));
  EXPECT_THAT(decode("P5 2 1 255 \x10\xF0"), ElementsAre(16, 240));
  EXPECT_THAT(decode(std::string("P5 2 1 65535 \x80\0\xFF\xFF", 17)), ElementsAre(127, 255));
  EXPECT_THAT(decode("P3 1 1 255 255 0 0"), ElementsAre(76));
  EXPECT_THAT(decode(std::string("P6 1 1 255 \0\xFF\0", 14)), ElementsAre(150));
}

TEST(Picture, DamagedPortablePicturesAreRefused) {
  for (const char* text : {"P5", "P5 ", "P5 2", "P5 2 2 ", "P5 2 2 0 ....", "P5 2 2 255 ...",
                           "P2 2 1 255 1", "P1 2 1 12", "P5 -2 2 255 ....", "P8 1 1 255 ."}) {
    GreyPicture picture;
    size_t used = 0;
    std::string error;
    EXPECT_FALSE(decodePortable(bytesOf(text), picture, used, error)) << text;
    EXPECT_FALSE(error.empty());
  }
}

TEST(Picture, LimitsAreHeldBeforeAnythingIsDecoded) {
  const auto measure = [](const std::string& text) {
    PictureSize size;
    std::string error;
    const bool good = measurePicture(DocumentKind::kPortable, bytesOf(text), size, error);
    EXPECT_EQ(good, error.empty());
    return error;
  };
  EXPECT_EQ(measure("P5 32767 4577 255 "), "");
  EXPECT_EQ(measure("P5 32768 1 255 "), "is 32768 x 1 pixels; no side may have more than 32767");
  EXPECT_EQ(measure("P5 32767 4578 255 "),
            "is 32767 x 4578 pixels; a picture may have 150 million");
  EXPECT_EQ(measure("P5 0 1 255 "), "is a picture of 0 x 1 pixels");
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
