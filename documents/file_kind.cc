// SPDX-License-Identifier: Apache-2.0
#include "documents/file_kind.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace documents {
namespace {

using namespace std::string_view_literals;

constexpr size_t kPdfMarkBytes = 1024;  // where readers look for "%PDF-"

std::string_view asText(std::span<const uint8_t> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

bool isSpace(char letter) { return " \t\r\n"sv.find(letter) != std::string_view::npos; }

bool isPortable(std::string_view text) {
  return text.size() >= 3 && text[0] == 'P' && text[1] >= '1' && text[1] <= '6' &&
         (isSpace(text[2]) || text[2] == '#');
}

// HEIC and AVIF are kinds of the ISO media format: a box named ftyp with their brand, first
// or among the compatible ones.
bool isHeif(std::string_view text) {
  if (text.size() < 16 || text.substr(4, 4) != "ftyp"sv) return false;
  const auto byte = [text](size_t at) { return static_cast<size_t>(uint8_t(text[at])); };
  const size_t box = byte(0) << 24U | byte(1) << 16U | byte(2) << 8U | byte(3);
  constexpr std::array kBrands = {"heic"sv, "heix"sv, "heim"sv, "heis"sv, "mif1"sv,
                                  "msf1"sv, "hevc"sv, "avif"sv, "avis"sv};
  for (size_t at = 8; at + 4 <= std::min(box, text.size()); at += 4)
    if (std::find(kBrands.begin(), kBrands.end(), text.substr(at, 4)) != kBrands.end()) return true;
  return false;
}

// Windows bitmaps: the size of their second header tells them from text that begins alike.
bool isBmp(std::string_view text) {
  if (text.size() < 18 || !text.starts_with("BM"sv)) return false;
  constexpr std::array kHeaderSizes = {12, 40, 52, 56, 64, 108, 124};
  const bool isSmall = text.substr(15, 3) == "\0\0\0"sv;
  return isSmall && std::find(kHeaderSizes.begin(), kHeaderSizes.end(),
                              static_cast<int>(uint8_t(text[14]))) != kHeaderSizes.end();
}

// Skips what may stand before the first element of an XML file; the rest begins with it.
std::string_view firstElement(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF"sv)) text.remove_prefix(3);
  for (;;) {
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    std::string_view end;
    if (text.starts_with("<!--"sv))
      end = "-->"sv;
    else if (text.starts_with("<?"sv))
      end = "?>"sv;
    else if (text.starts_with("<!"sv))
      end = ">"sv;
    else
      return text;
    const size_t at = text.find(end);
    // The internal part of a document type holds declarations with an end of their own.
    const size_t inner = text.starts_with("<!D"sv) ? text.substr(0, at).find('[') : text.npos;
    const size_t stop = inner == text.npos ? at : text.find("]"sv, inner);
    if (stop == text.npos) return {};
    text.remove_prefix(std::min(stop + (inner == text.npos ? end.size() : 0), text.size()));
    if (inner != text.npos) text.remove_prefix(std::min(text.find('>'), text.size() - 1) + 1);
  }
}

bool isSvg(std::string_view text) {
  const std::string_view element = firstElement(text);
  for (const std::string_view name : {"<svg"sv, "<svg:svg"sv})
    if (element.starts_with(name) && element.size() > name.size() &&
        (isSpace(element[name.size()]) || element[name.size()] == '>'))
      return true;
  return false;
}

// Bytes that a UTF-8 sequence with this first byte takes; 0 for none.
size_t sequenceLength(uint8_t first) {
  if (first < 0x80) return 1;
  if (first >= 0xC2 && first < 0xE0) return 2;
  if (first >= 0xE0 && first < 0xF0) return 3;
  return first >= 0xF0 && first < 0xF5 ? 4 : 0;
}

bool isTextByte(uint8_t byte) {
  return byte >= 0x20 ? byte != 0x7F
                      : "\t\n\f\r\b\x1B"sv.find(static_cast<char>(byte)) != std::string_view::npos;
}

// Text of the encodings with one byte a letter, which the older programs of tills write:
// few letters but ASCII's, and no control characters.
bool isSingleByteText(std::span<const uint8_t> bytes) {
  const auto others =
      std::count_if(bytes.begin(), bytes.end(), [](uint8_t byte) { return byte >= 0x80; });
  return 4 * static_cast<size_t>(others) <= bytes.size() &&
         std::all_of(bytes.begin(), bytes.end(), isTextByte);
}

// A sequence that the end of `bytes` cuts is taken as good.
bool isUtf8Text(std::span<const uint8_t> bytes) {
  for (size_t at = 0; at < bytes.size();) {
    const size_t length = sequenceLength(bytes[at]);
    if (length == 0 || (length == 1 && !isTextByte(bytes[at]))) return false;
    for (size_t i = at + 1; i < std::min(at + length, bytes.size()); ++i)
      if ((bytes[i] & 0xC0U) != 0x80) return false;
    at += length;
  }
  return true;
}

struct Mark {
  std::string_view start;
  FileKind kind;
};

constexpr std::array kMarks = {
    Mark{"\x89PNG\r\n\x1A\n"sv, FileKind::kPng},
    Mark{"\xFF\xD8\xFF"sv, FileKind::kJpeg},
    Mark{"GIF87a"sv, FileKind::kGif},
    Mark{"GIF89a"sv, FileKind::kGif},
    Mark{"II*\0"sv, FileKind::kTiff},
    Mark{"MM\0*"sv, FileKind::kTiff},
    Mark{"II+\0"sv, FileKind::kTiff},
    Mark{"MM\0+"sv, FileKind::kTiff},
    Mark{"RaSt"sv, FileKind::kRaster},
    Mark{"tSaR"sv, FileKind::kRaster},
    Mark{"RaS2"sv, FileKind::kRaster},
    Mark{"2SaR"sv, FileKind::kRaster},
    Mark{"RaS3"sv, FileKind::kRaster},
    Mark{"3SaR"sv, FileKind::kRaster},
    Mark{"%!"sv, FileKind::kPostScript},
    Mark{"\x04%!"sv, FileKind::kPostScript},            // as some drivers of other systems begin
    Mark{"\xC5\xD0\xD3\xC6"sv, FileKind::kPostScript},  // EPS with a preview
    Mark{"\xFF\x0A"sv, FileKind::kJpegXl},
    Mark{"\0\0\0\x0CJXL \r\n\x87\n"sv, FileKind::kJpegXl},
    Mark{"\x1F\x8B"sv, FileKind::kGzip},
    Mark{"PK\x03\x04"sv, FileKind::kZip},
};

}  // namespace

FileKind fileKind(std::span<const uint8_t> start) {
  const std::string_view text = asText(start);
  if (text.empty()) return FileKind::kEmpty;
  for (const Mark& mark : kMarks)
    if (text.starts_with(mark.start)) return mark.kind;
  if (text.starts_with("RIFF"sv) && text.size() >= 12 && text.substr(8, 4) == "WEBP"sv)
    return FileKind::kWebp;
  if (isHeif(text)) return FileKind::kHeif;
  if (isBmp(text)) return FileKind::kBmp;
  if (isPortable(text)) return FileKind::kPortable;
  if (text.substr(0, kPdfMarkBytes).find("%PDF-"sv) != text.npos) return FileKind::kPdf;
  if (isSvg(text)) return FileKind::kSvg;
  return isUtf8Text(start) || isSingleByteText(start) ? FileKind::kText : FileKind::kUnknown;
}

const char* kindName(FileKind kind) {
  switch (kind) {
    case FileKind::kPng:
      return "PNG";
    case FileKind::kJpeg:
      return "JPEG";
    case FileKind::kWebp:
      return "WebP";
    case FileKind::kTiff:
      return "TIFF";
    case FileKind::kGif:
      return "GIF";
    case FileKind::kHeif:
      return "HEIC or AVIF";
    case FileKind::kPortable:
      return "a portable map";
    case FileKind::kSvg:
      return "SVG";
    case FileKind::kBmp:
      return "BMP";
    case FileKind::kPdf:
      return "PDF";
    case FileKind::kPostScript:
      return "PostScript";
    case FileKind::kRaster:
      return "raster";
    case FileKind::kText:
      return "text";
    case FileKind::kJpegXl:
      return "JPEG XL";
    case FileKind::kGzip:
      return "gzip";
    case FileKind::kZip:
      return "ZIP";
    case FileKind::kEmpty:
      return "empty";
    case FileKind::kUnknown:
      break;
  }
  return "unknown";
}

bool isPicture(FileKind kind) { return kind >= FileKind::kPng && kind <= FileKind::kBmp; }

}  // namespace documents
