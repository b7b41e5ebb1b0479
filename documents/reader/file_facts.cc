// SPDX-License-Identifier: Apache-2.0
#include "documents/reader/file_facts.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace documents {

namespace {

using Bytes = std::span<const uint8_t>;

// Big-endian. REQUIRES: four bytes.
size_t wordAt(Bytes bytes, size_t at) {
  return size_t{bytes[at]} << 24U | size_t{bytes[at + 1]} << 16U | size_t{bytes[at + 2]} << 8U |
         bytes[at + 3];
}

// The content of a PNG's first chunk of this name before its pixels; nothing without one.
std::optional<Bytes> pngChunk(Bytes file, std::string_view wanted) {
  for (size_t at = 8; at + 12 <= file.size();) {
    const size_t size = wordAt(file, at);
    const std::string_view name(reinterpret_cast<const char*>(file.data()) + at + 4, 4);
    if (size > file.size() - at - 12) return std::nullopt;
    if (name == wanted) return file.subspan(at + 8, size);
    if (name == "IDAT") return std::nullopt;
    at += size + 12;
  }
  return std::nullopt;
}

}  // namespace

bool pngStatesSize(std::span<const uint8_t> file) {
  constexpr size_t kUnitAt = 8;  // behind two numbers; 1 is the metre
  const auto size = pngChunk(file, "pHYs");
  return size && size->size() == kUnitAt + 1 && (*size)[kUnitAt] == 1;
}

double pngGamma(std::span<const uint8_t> file) {
  constexpr double kHundredThousandths = 1e-5;
  const auto gamma = pngChunk(file, "gAMA");
  if (!gamma || gamma->size() != 4 || pngChunk(file, "iCCP") || pngChunk(file, "sRGB")) return 0;
  return static_cast<double>(wordAt(*gamma, 0)) * kHundredThousandths;
}

bool svgIsInPixels(std::span<const uint8_t> file) {
  const std::string_view text(reinterpret_cast<const char*>(file.data()), file.size());
  const size_t start = std::min(text.find("<svg"), text.find(":svg"));
  if (start == text.npos) return true;
  const std::string_view tag = text.substr(start, text.find('>', start) - start);
  for (const char* name : {"width", "height"}) {
    size_t at = tag.find(name);
    while (at != tag.npos && std::string_view(" \t\r\n").find(tag[at - 1]) == tag.npos)
      at = tag.find(name, at + 1);  // a part of another name
    if (at == tag.npos) continue;
    const size_t quote = tag.find_first_of("\"'", at);
    if (quote == tag.npos) continue;
    const std::string_view value =
        tag.substr(quote + 1, tag.find(tag[quote], quote + 1) - quote - 1);
    for (const char* unit : {"mm", "cm", "in", "pt", "pc", "Q"})
      if (value.find(unit) != value.npos) return false;
  }
  return true;
}

bool hasAllPixels(std::span<const uint8_t> file, const PictureFacts& facts, int bands,
                  bool isWide) {
  const std::string_view text(reinterpret_cast<const char*>(file.data()), file.size());
  constexpr std::string_view kRaw = "456";
  if (text.size() < 3 || text[0] != 'P' || kRaw.find(text[1]) == kRaw.npos) return true;
  const bool isBitmap = text[1] == '4';
  constexpr std::string_view kWhiteSpace = " \t\r\n\v\f";
  size_t at = 2;
  for (int number = isBitmap ? 2 : 3; number > 0; --number) {
    at = text.find_first_not_of(kWhiteSpace, at);
    while (at != text.npos && text[at] == '#')
      at = text.find_first_not_of(kWhiteSpace, text.find_first_of("\r\n", at));
    at = text.find_first_of(kWhiteSpace, at);
    if (at == text.npos) return false;
  }
  const auto width = static_cast<uint64_t>(facts.width);
  const uint64_t levels = width * static_cast<uint64_t>(bands);
  const uint64_t row = isBitmap ? (width + 7) / 8 : levels * (isWide ? 2 : 1);
  return text.size() - at - 1 >= row * facts.height;
}

}  // namespace documents
