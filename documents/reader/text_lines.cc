// SPDX-License-Identifier: Apache-2.0
#include "documents/reader/text_lines.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <utility>

namespace documents {
namespace {

constexpr size_t kTabColumns = 8;
constexpr size_t kMostMarks = 8;  // on one letter; what comes on top is left out

// What Windows-1252 has where ISO 8859-1 has control characters; 0 for nothing.
constexpr std::array<uint16_t, 32> kWindows1252 = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

// Bytes of the letter that begins with this one.
size_t sizeOf(char first) {
  return static_cast<unsigned char>(g_utf8_skip[static_cast<unsigned char>(first)]);
}

void append(std::string& text, gunichar letter) {
  std::array<char, 6> bytes{};
  const int size = g_unichar_to_utf8(letter, bytes.data());
  text.append(bytes.data(), static_cast<size_t>(size));
}

}  // namespace

std::string asUtf8(std::span<const uint8_t> text, bool& isUtf8) {
  constexpr std::string_view kMark = "\xEF\xBB\xBF";
  std::string bytes(reinterpret_cast<const char*>(text.data()), text.size());
  if (bytes.starts_with(kMark)) bytes.erase(0, kMark.size());
  std::replace(bytes.begin(), bytes.end(), '\0', ' ');
  isUtf8 = g_utf8_validate(bytes.data(), static_cast<gssize>(bytes.size()), nullptr) != 0;
  if (isUtf8) return bytes;
  std::string read;
  read.reserve(bytes.size() + bytes.size() / 8);
  for (const char byte : bytes) {
    gunichar letter = static_cast<unsigned char>(byte);
    if (letter >= 0x80 && letter < 0x80 + kWindows1252.size())
      letter = kWindows1252.at(letter - 0x80);
    if (letter != 0) append(read, letter);
  }
  return read;
}

void TextLines::readLine() {
  cells_.clear();
  cell_ = 0;
  size_t column = 0;
  size_t marks = 0;
  while (at_ < text_.size()) {
    const char* const start = text_.data() + at_;
    const gunichar letter = g_utf8_get_char(start);
    const auto size = sizeOf(*start);
    at_ += size;
    if (letter == '\r' && at_ < text_.size() && text_[at_] == '\n') continue;
    if (letter == '\f') isPageEnd_ = true;
    if (letter == '\n' || letter == '\f' || letter == '\r' || letter == 0x2028 || letter == 0x2029)
      return;
    if (letter == '\t') {
      do {
        cells_.push_back({" ", 1, true});
      } while (++column % kTabColumns != 0);
    } else if (g_unichar_iszerowidth(letter) != 0 ||
               g_unichar_type(letter) == G_UNICODE_SPACING_MARK) {
      if (!cells_.empty() && ++marks <= kMostMarks) cells_.back().letter.append(start, size);
    } else if (g_unichar_iscntrl(letter) == 0) {
      const size_t columns = g_unichar_iswide(letter) != 0 ? 2 : 1;
      cells_.push_back({std::string(start, size), columns, letter == ' '});
      column += columns;
      marks = 0;
    }
  }
}

TextLine TextLines::takeLine() {
  size_t end = cell_;  // the cells that fit
  size_t width = 0;
  while (end < cells_.size() && width + cells_[end].columns <= columns_)
    width += cells_[end++].columns;
  end = std::max(end, std::min(cell_ + 1, cells_.size()));  // one that never fits
  size_t next = end;
  if (end < cells_.size()) {
    // Between words: behind the last space, or beside a letter that is a word by itself.
    const auto mayBreak = [this](size_t at) {
      return cells_[at].isSpace || cells_[at - 1].isSpace || cells_[at].columns == 2 ||
             cells_[at - 1].columns == 2;
    };
    size_t at = end;
    while (at > cell_ && !mayBreak(at)) --at;
    const bool isBlank = std::all_of(cells_.begin() + static_cast<ptrdiff_t>(cell_),
                                     cells_.begin() + static_cast<ptrdiff_t>(at),
                                     [](const Cell& cell) { return cell.isSpace; });
    if (at > cell_ && !isBlank) end = next = at;
    while (next < cells_.size() && cells_[next].isSpace) ++next;
  }
  while (end > cell_ && cells_[end - 1].isSpace) --end;
  TextLine line;
  size_t column = 0;
  bool wasWide = false;
  for (size_t i = cell_; i < end; ++i) {
    const Cell& cell = cells_[i];
    const bool isWide = cell.columns == 2;
    if (line.empty() || isWide || wasWide) line.push_back({column, 0, ""});
    line.back().text += cell.letter;
    line.back().columns += cell.columns;
    column += cell.columns;
    wasWide = isWide;
  }
  cell_ = next;
  return line;
}

bool TextLines::nextPage(size_t most, std::vector<TextLine>& lines) {
  lines.clear();
  isPageEnd_ = isPageEnd_ && isInLine_;
  while (lines.size() < most && (isInLine_ || at_ < text_.size())) {
    if (!isInLine_) readLine();
    // A form feed at the start of a line ends the page without a blank line before it.
    if (!isPageEnd_ || !cells_.empty()) lines.push_back(takeLine());
    isInLine_ = cell_ < cells_.size();
    if (isPageEnd_ && !isInLine_) return true;
  }
  return !lines.empty();
}

}  // namespace documents
