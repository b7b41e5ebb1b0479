// SPDX-License-Identifier: Apache-2.0
// Between this library and drav-picture-reader and drav-text-reader.
//
//   drav-picture-reader REQUEST <picture
//
// The program writes one line of facts, then the rows of the picture's visible part: as
// many dots a row and as many rows as placePicture() tells of these facts, 0 black to 255
// white, a byte a dot or with PageWish::colour three. Both sides compute the placing, so nothing
// that a decoder says can move more bytes than the page has. Exit status 0, or 1 with a line
// "refused: ..." on standard error.
#ifndef DOCUMENTS_READER_PROTOCOL_H_
#define DOCUMENTS_READER_PROTOCOL_H_

#include <string>
#include <string_view>

#include "documents/page_request.h"
#include "documents/placing.h"

namespace documents {

inline constexpr std::string_view kReaderName = "drav-picture-reader";
inline constexpr std::string_view kTextReaderName = "drav-text-reader";
inline constexpr std::string_view kRefused = "refused: ";
inline constexpr uint64_t kMostPixels = 300'000'000;
inline constexpr uint32_t kReaderSeconds = 60;
inline constexpr uint64_t kReaderBytes = uint64_t{1} << 30U;
inline constexpr size_t kMostFactsLine = 100;  // its end of line included

// Without the wish to mirror, which is not the reader's work.
std::string requestText(const Paper& paper, const PageWish& wish);
// False for what requestText() does not write.
bool readRequest(const std::string& text, Paper& paper, PageWish& wish);

// Resolutions are rounded to millionths, so that both sides have the same.
std::string factsLine(const PictureFacts& facts);
// False for a line, with its end, that is none or passes a limit.
bool readFacts(const std::string& line, PictureFacts& facts);

// drav-text-reader is called alike. For each page it writes a line with the number of its
// rows, and the rows, as wide as the paper.
struct TextFacts {
  uint32_t height = 0;
  bool isUtf8 = true;  // or it was read as Windows-1252
};
inline constexpr uint64_t kMostTextBytes = uint64_t{4} << 20U;

std::string textFactsLine(const TextFacts& facts);
// False for a line, with its end, that is none.
bool readTextFacts(const std::string& line, TextFacts& facts);

}  // namespace documents

#endif  // DOCUMENTS_READER_PROTOCOL_H_
