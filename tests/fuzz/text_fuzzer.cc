// SPDX-License-Identifier: Apache-2.0
// Plain text in lines and pages. The first two bytes are the columns and the lines of a page.
// What must hold: no line is wider than the columns, no page has more lines than it may have,
// and every letter comes once, in its order; only spaces at ends of lines are dropped. A short
// text is drawn as well, as many rows as were announced.
#include <glib.h>

#include <cstdint>
#include <string>
#include <vector>

#include "documents/reader/text_lines.h"
#include "documents/reader/text_page.h"
#include "tests/fuzz/byte_feed.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
// What the library of fonts keeps goes with the reader's process.
extern "C" int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off() { return 1; }

namespace {

using documents::TextLine;

constexpr size_t kMostDrawn = 200;  // bytes

bool isShown(gunichar letter) {
  return g_unichar_iscntrl(letter) == 0 && letter != ' ' && letter != 0x2028 && letter != 0x2029 &&
         !g_unichar_iszerowidth(letter) && g_unichar_type(letter) != G_UNICODE_SPACING_MARK;
}

// The letters that take a place, without marks, spaces and control characters.
std::string shown(const std::string& text) {
  std::string letters;
  for (size_t at = 0; at < text.size();) {
    const auto size = static_cast<size_t>(g_utf8_skip[static_cast<unsigned char>(text[at])]);
    if (isShown(g_utf8_get_char(text.data() + at))) letters.append(text, at, size);
    at += size;
  }
  return letters;
}

// Its letters; what the line breaks of the rules stops.
std::string checkLine(const TextLine& line, size_t columns) {
  std::string letters;
  size_t end = 0;
  for (const documents::TextPiece& piece : line) {
    require(piece.column == end && piece.columns > 0, "pieces stand one behind the other");
    end += piece.columns;
    letters += piece.text;
  }
  require(end <= columns || (columns == 1 && end == 2), "a line has room");
  require(letters.empty() || letters.back() != ' ', "a line ends with a letter");
  return letters;
}

void draw(const std::vector<TextLine>& lines) {
  documents::Paper paper;
  paper.width = 120;
  paper.height = 2000;
  paper.roll = true;
  static documents::TextPage page(paper);
  uint32_t rows = 0;
  page.draw(lines, [&](std::span<const uint8_t> row) {
    ++rows;
    require(row.size() == paper.width, "a row has the paper's width");
  });
  require(rows == page.height(lines.size()), "as many rows as announced");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const size_t columns = size_t{data[0]} % 80 + 1;
  const size_t most = size_t{data[1]} % 20 + 1;
  bool isUtf8 = false;
  const std::string text = documents::asUtf8({data + 2, size - 2}, isUtf8);
  require(g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) != 0, "UTF-8");
  documents::TextLines source(text, columns);
  std::string letters;
  std::vector<TextLine> lines;
  for (size_t pages = 0; source.nextPage(most, lines); ++pages) {
    require(pages <= text.size(), "a page takes some of the text");
    require(lines.size() <= most, "a page has no more lines than it may");
    for (const TextLine& line : lines) letters += checkLine(line, columns);
    if (size <= kMostDrawn) draw(lines);
  }
  require(shown(letters) == shown(text), "every letter comes once");
  return 0;
}
