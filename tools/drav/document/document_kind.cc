// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/document/document_kind.h"

#include <algorithm>
#include <array>
#include <string_view>

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

// A sequence that the end of `bytes` cuts is taken as good.
bool isText(std::span<const uint8_t> bytes) {
  for (size_t at = 0; at < bytes.size();) {
    const size_t length = sequenceLength(bytes[at]);
    if (length == 0 || (length == 1 && !isTextByte(bytes[at]))) return false;
    for (size_t i = at + 1; i < std::min(at + length, bytes.size()); ++i)
      if ((bytes[i] & 0xC0U) != 0x80) return false;
    at += length;
  }
  return !bytes.empty();
}

}  // namespace

DocumentKind documentKind(std::span<const uint8_t> start) {
  const std::string_view text = asText(start);
  for (const std::string_view word : {"RaSt"sv, "tSaR"sv, "RaS2"sv, "2SaR"sv, "RaS3"sv, "3SaR"sv})
    if (text.starts_with(word)) return DocumentKind::kRaster;
  if (text.starts_with("\x89PNG\r\n\x1A\n"sv)) return DocumentKind::kPng;
  if (text.starts_with("\xFF\xD8\xFF"sv)) return DocumentKind::kJpeg;
  if (text.substr(0, kPdfMarkBytes).find("%PDF-"sv) != std::string_view::npos)
    return DocumentKind::kPdf;
  if (isPortable(text)) return DocumentKind::kPortable;
  return isText(start) ? DocumentKind::kText : DocumentKind::kUnknown;
}

const char* mediaType(DocumentKind kind, std::span<const uint8_t> start) {
  constexpr std::array kPortable = {"image/x-portable-bitmap", "image/x-portable-graymap",
                                    "image/x-portable-pixmap"};
  switch (kind) {
    case DocumentKind::kPdf:
      return "application/pdf";
    case DocumentKind::kPng:
      return "image/png";
    case DocumentKind::kJpeg:
      return "image/jpeg";
    case DocumentKind::kPortable:
      return kPortable.at(static_cast<size_t>(start[1] - '1') % kPortable.size());
    case DocumentKind::kText:
      return "text/plain";
    default:
      return nullptr;
  }
}
