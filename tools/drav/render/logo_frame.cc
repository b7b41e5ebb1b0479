// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/render/logo_frame.h"

#include <algorithm>
#include <array>

#include "tools/drav/render/dot_row.h"

namespace {

constexpr uint32_t kBorder = 2;  // dots
constexpr uint32_t kMargin = 4;  // dots between the border and the label, at least
constexpr uint32_t kGlyphWidth = 5;
constexpr uint32_t kGlyphHeight = 7;
constexpr uint32_t kAdvance = kGlyphWidth + 1;

// Rows from the top, the leftmost dot in bit 4.
struct Glyph {
  char letter;
  std::array<uint8_t, kGlyphHeight> rows;
};
constexpr std::array kGlyphs = {
    Glyph{'L', {0b10000, 0b10000, 0b10000, 0b10000, 0b10000, 0b10000, 0b11111}},
    Glyph{'O', {0b01110, 0b10001, 0b10001, 0b10001, 0b10001, 0b10001, 0b01110}},
    Glyph{'G', {0b01110, 0b10001, 0b10000, 0b10111, 0b10001, 0b10001, 0b01110}},
    Glyph{'0', {0b01110, 0b10001, 0b10011, 0b10101, 0b11001, 0b10001, 0b01110}},
    Glyph{'1', {0b00100, 0b01100, 0b00100, 0b00100, 0b00100, 0b00100, 0b01110}},
    Glyph{'2', {0b01110, 0b10001, 0b00001, 0b00010, 0b00100, 0b01000, 0b11111}},
    Glyph{'3', {0b11111, 0b00010, 0b00100, 0b00010, 0b00001, 0b10001, 0b01110}},
    Glyph{'4', {0b00010, 0b00110, 0b01010, 0b10010, 0b11111, 0b00010, 0b00010}},
    Glyph{'5', {0b11111, 0b10000, 0b11110, 0b00001, 0b00001, 0b10001, 0b01110}},
    Glyph{'6', {0b00110, 0b01000, 0b10000, 0b11110, 0b10001, 0b10001, 0b01110}},
    Glyph{'7', {0b11111, 0b00001, 0b00010, 0b00100, 0b01000, 0b01000, 0b01000}},
    Glyph{'8', {0b01110, 0b10001, 0b10001, 0b01110, 0b10001, 0b10001, 0b01110}},
    Glyph{'9', {0b01110, 0b10001, 0b10001, 0b01111, 0b00001, 0b00010, 0b01100}},
};

uint8_t glyphRow(char letter, uint32_t row) {
  for (const Glyph& glyph : kGlyphs)
    if (glyph.letter == letter) return glyph.rows[row];
  return 0;  // a space
}

uint32_t millimetres(uint32_t length, uint32_t dotsPerInch) {
  return (length * dotsPerInch * 10 + 127) / 254;
}

}  // namespace

LogoFrame::LogoFrame(const JobCommand& logo, const PaperScale& scale)
    : label_("LOGO " + std::to_string(logo.parameters[0])) {
  const uint32_t around = 2 * (kBorder + kMargin);
  const auto letters = static_cast<uint32_t>(label_.size()) * kAdvance - 1;
  width_ = std::max(millimetres(24, scale.dotsAcross), letters + around);
  height_ = std::max(millimetres(10, scale.dotsAlong), kGlyphHeight + around);
  if ((logo.parameters[1] & 1U) != 0) width_ *= 2;
  if ((logo.parameters[1] & 2U) != 0) height_ *= 2;
  dot_ = std::min((width_ - around) / letters, (height_ - around) / kGlyphHeight);
}

void LogoFrame::drawRow(uint32_t y, uint64_t left, std::span<uint8_t> row) const {
  if (y < kBorder || y >= height_ - kBorder) {
    blacken(row, left, width_);
    return;
  }
  blacken(row, left, kBorder);
  blacken(row, left + width_ - kBorder, kBorder);
  const uint32_t top = (height_ - kGlyphHeight * dot_) / 2;
  if (y >= top && y < top + kGlyphHeight * dot_) drawLabelRow((y - top) / dot_, left, row);
}

void LogoFrame::drawLabelRow(uint32_t line, uint64_t left, std::span<uint8_t> row) const {
  const auto letters = static_cast<uint32_t>(label_.size()) * kAdvance - 1;
  uint64_t x = left + (width_ - letters * dot_) / 2;
  for (const char letter : label_) {
    const uint8_t bits = glyphRow(letter, line);
    for (uint32_t column = 0; column < kGlyphWidth; ++column)
      if ((bits >> (kGlyphWidth - 1 - column) & 1U) != 0)
        blacken(row, x + uint64_t{column} * dot_, dot_);
    x += uint64_t{kAdvance} * dot_;
  }
}
