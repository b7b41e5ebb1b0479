// SPDX-License-Identifier: Apache-2.0
// Plain text as lines of at most so many columns, page by page.
#ifndef DOCUMENTS_READER_TEXT_LINES_H_
#define DOCUMENTS_READER_TEXT_LINES_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace documents {

// A piece of a line that begins at a column. Letters that take two columns stand in pieces
// of their own, so that what follows them is not moved by the font that has them.
struct TextPiece {
  size_t column = 0;
  size_t columns = 0;
  std::string text;  // UTF-8
};
using TextLine = std::vector<TextPiece>;  // empty for a blank line

// UTF-8 of `text`: as it is, or read as Windows-1252, of which ISO 8859-1 is a part, where
// it is no UTF-8. `isUtf8` tells which. A mark at its start is left out.
std::string asUtf8(std::span<const uint8_t> text, bool& isUtf8);

class TextLines {
 public:
  // REQUIRES: valid UTF-8, and at least one column.
  TextLines(std::string text, size_t columns) : text_(std::move(text)), columns_(columns) {}

  // Lines of the next page: up to a form feed, or `most` of them. False when there is no
  // more. Lines are broken between words where they are longer than the columns, and
  // within a word that is. Tabs lead to every eighth column. Other control characters are
  // left out.
  bool nextPage(size_t most, std::vector<TextLine>& lines);

 private:
  struct Cell {
    std::string letter;  // with the marks on it
    size_t columns = 1;
    bool isSpace = false;
  };

  void readLine();      // the next one of the text into cells_
  TextLine takeLine();  // as much of cells_ as fits

  std::string text_;
  size_t columns_;
  size_t at_ = 0;            // in text_
  std::vector<Cell> cells_;  // of the line that is being broken
  size_t cell_ = 0;          // the first that was not taken
  bool isInLine_ = false;    // part of the line is left
  bool isPageEnd_ = false;   // a form feed ended the line
};

}  // namespace documents

#endif  // DOCUMENTS_READER_TEXT_LINES_H_
