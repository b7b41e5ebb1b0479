// SPDX-License-Identifier: Apache-2.0
// What a picture's file says and libvips does not tell. All of them look at the file alone,
// of any content, and read nothing behind its end.
#ifndef DOCUMENTS_READER_FILE_FACTS_H_
#define DOCUMENTS_READER_FILE_FACTS_H_

#include <cstdint>
#include <span>

#include "documents/placing.h"

namespace documents {

// Whether a PNG says how large it is: libvips gives 72 dpi to one that does not.
bool pngStatesSize(std::span<const uint8_t> file);

// The exponent with which a PNG was encoded, where it states one and neither profile nor sRGB;
// 0 for none.
double pngGamma(std::span<const uint8_t> file);

// Whether the size of an SVG is given in pixels, or not at all: the loader draws pixels and
// millimetres at different scales.
bool svgIsInPixels(std::span<const uint8_t> file);

// Whether a raw portable map has all the pixels that it claims: libvips reads on behind the
// end of a bitmap. A header is two or three numbers behind the magic number, comments and
// white space among them, and one white space behind the last.
bool hasAllPixels(std::span<const uint8_t> file, const PictureFacts& facts, int bands, bool isWide);

}  // namespace documents

#endif  // DOCUMENTS_READER_FILE_FACTS_H_
