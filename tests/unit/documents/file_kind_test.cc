// SPDX-License-Identifier: Apache-2.0
#include "documents/file_kind.h"

#include <gmock/gmock.h>

#include <string>

namespace documents {
namespace {

using namespace std::string_literals;

FileKind kindOf(const std::string& text) {
  return fileKind({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

TEST(FileKind, IsToldByTheFirstBytes) {
  EXPECT_EQ(kindOf(""), FileKind::kEmpty);
  EXPECT_EQ(kindOf("\x89PNG\r\n\x1A\n..."), FileKind::kPng);
  EXPECT_EQ(kindOf("\xFF\xD8\xFF\xE0"), FileKind::kJpeg);
  EXPECT_EQ(kindOf("RIFF1234WEBPVP8L"), FileKind::kWebp);
  EXPECT_EQ(kindOf("RIFF1234WAVEfmt "), FileKind::kText);
  EXPECT_EQ(kindOf("II*\0"s), FileKind::kTiff);
  EXPECT_EQ(kindOf("MM\0*"s), FileKind::kTiff);
  EXPECT_EQ(kindOf("MM\0+"s), FileKind::kTiff);
  EXPECT_EQ(kindOf("GIF89a"), FileKind::kGif);
  EXPECT_EQ(kindOf("P5 3 3 255\n"), FileKind::kPortable);
  EXPECT_EQ(kindOf("P7\nWIDTH 3"), FileKind::kText);
  EXPECT_EQ(kindOf("\xFF\x0A"), FileKind::kJpegXl);
  EXPECT_EQ(kindOf("\x1F\x8B\x08"), FileKind::kGzip);
  EXPECT_EQ(kindOf("%!PS-Adobe-3.0"), FileKind::kPostScript);
  EXPECT_EQ(kindOf("\x1B%-12345X@PJL\n%PDF-1.4"), FileKind::kPdf);
  EXPECT_EQ(kindOf("3SaR"), FileKind::kRaster);
  EXPECT_EQ(kindOf("Gr\xC3\xBC\xC3\x9F"
                   "e\f\n"),
            FileKind::kText);
  EXPECT_EQ(kindOf("a\0b"s), FileKind::kUnknown);
  EXPECT_EQ(kindOf("\xC0\x80"), FileKind::kUnknown);
}

TEST(FileKind, HeifIsABrandAmongOthers) {
  EXPECT_EQ(kindOf("\0\0\0\x18"
                   "ftypheic\0\0\0\0mif1heic"s),
            FileKind::kHeif);
  EXPECT_EQ(kindOf("\0\0\0\x18"
                   "ftypavif\0\0\0\0mif1miaf"s),
            FileKind::kHeif);
  EXPECT_EQ(kindOf("\0\0\0\x18"
                   "ftypisom\0\0\0\0mp41avif"s),
            FileKind::kHeif);
  EXPECT_EQ(kindOf("\0\0\0\x18"
                   "ftypisom\0\0\0\0mp41avc1"s),
            FileKind::kUnknown);
  EXPECT_EQ(kindOf("\0\0\0\x10"
                   "ftypisom\0\0\0\0heic"s),
            FileKind::kUnknown);  // behind the box
}

TEST(FileKind, BitmapsAndWordsThatBeginAlike) {
  const std::string header = "BM1234\0\0\0\0\x36\0\0\0"s;
  EXPECT_EQ(kindOf(header + "\x28\0\0\0\x01"s), FileKind::kBmp);
  EXPECT_EQ(kindOf(header + "\x29\0\0\0\x01"s), FileKind::kUnknown);
  EXPECT_EQ(kindOf("BMW is a maker of cars"), FileKind::kText);
}

TEST(FileKind, SvgIsXmlWhoseFirstElementIsSvg) {
  EXPECT_EQ(kindOf("<svg width='3'/>"), FileKind::kSvg);
  EXPECT_EQ(kindOf("\xEF\xBB\xBF<?xml version='1.0'?>\n<!-- <p> -->\n<svg>"), FileKind::kSvg);
  EXPECT_EQ(kindOf("<!DOCTYPE svg PUBLIC 'x'>\n<svg:svg xmlns:svg='x'>"), FileKind::kSvg);
  EXPECT_EQ(kindOf("<!DOCTYPE svg [ <!ENTITY a 'b>'> ]><svg>"), FileKind::kSvg);
  EXPECT_EQ(kindOf("<html><svg></svg></html>"), FileKind::kText);
  EXPECT_EQ(kindOf("<svgx>"), FileKind::kText);
  EXPECT_EQ(kindOf("<!-- <svg> "), FileKind::kText);
  EXPECT_EQ(kindOf("<!DOCTYPE svg [ "), FileKind::kText);
  EXPECT_EQ(kindOf("<?"), FileKind::kText);
}

TEST(FileKind, EveryKindHasANameAndPicturesAreAskedFor) {
  for (int kind = 0; kind <= static_cast<int>(FileKind::kZip); ++kind) {
    const std::string name = kindName(static_cast<FileKind>(kind));
    EXPECT_EQ(name == "unknown", kind == 0);
  }
  EXPECT_TRUE(isPicture(FileKind::kPng) && isPicture(FileKind::kBmp));
  EXPECT_FALSE(isPicture(FileKind::kPdf) || isPicture(FileKind::kEmpty) ||
               isPicture(FileKind::kJpegXl));
}

}  // namespace
}  // namespace documents
