// SPDX-License-Identifier: Apache-2.0
// A few words set in dots, to be put above a picture.
#ifndef TOOLS_DRAV_DRAW_TEXT_STRIP_H_
#define TOOLS_DRAV_DRAW_TEXT_STRIP_H_

#include <cstdint>
#include <string>
#include <vector>

struct TextStrip {
  uint32_t rows = 0;
  uint32_t bytesPerRow = 0;
  std::vector<uint8_t> dots;  // a set bit is a dot
};

// White letters on black, `width` dots wide: each text on a line of its own, set as
// large as `textHeight` dots and the width let it be. Throws std::bad_alloc.
TextStrip makeTextStrip(const std::vector<std::string>& lines, uint32_t width, double textHeight);

#endif  // TOOLS_DRAV_DRAW_TEXT_STRIP_H_
