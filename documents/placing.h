// SPDX-License-Identifier: Apache-2.0
// Size and place of a picture on the page: arithmetic alone. docs/pages.md has the rules
// in words.
#ifndef DOCUMENTS_PLACING_H_
#define DOCUMENTS_PLACING_H_

#include <cstdint>
#include <string>
#include <vector>

#include "documents/note.h"
#include "documents/page_request.h"

namespace documents {

// A stated resolution outside this range does not count.
inline constexpr double kLeastDpi = 60;
inline constexpr double kMostDpi = 2400;

inline constexpr double kMillimetresPerInch = 25.4;

// So many tenths of a millimetre a picture's true size may lie beyond the page and still count
// as one that fits.
inline constexpr uint32_t kToleratedTenths = 6;

// A picture, or a page of a document, as its file tells: the right way up.
struct PictureFacts {
  uint32_t width = 0;  // pixels, from 1
  uint32_t height = 0;
  Density dpi;          // 0 where the file states none
  uint32_t frames = 1;  // of which the first is meant
};

// Where the picture goes. The picture is turned first, then scaled to `width` x `height`,
// and laid on the page with its top left corner at `x`, `y`. The mirror of the whole page
// comes last and is not in here.
struct Placing {
  uint32_t pageWidth = 0;  // dots
  uint32_t pageHeight = 0;
  Turn turn = Turn::kNone;
  uint32_t width = 1;  // 1 to kMostDots
  uint32_t height = 1;
  int64_t x = 0;  // below 0 when its beginning lies beyond the page
  int64_t y = 0;
  double scale = 1;       // printed size by true size
  bool isExact = false;   // one dot for each pixel
  bool isTurned = false;  // unasked, to fit
  bool isReduced = false;

  // The part of it on the page; a width or height of 0 for none.
  uint32_t visibleLeft() const { return x < 0 ? static_cast<uint32_t>(-x) : 0; }
  uint32_t visibleTop() const { return y < 0 ? static_cast<uint32_t>(-y) : 0; }
  uint32_t visibleWidth() const;
  uint32_t visibleHeight() const;
};

// Of a scaled picture's side. What would be larger is reduced to it.
inline constexpr double kMostDots = 4'000'000;

// REQUIRES: facts, paper and wish within the ranges stated with them. `notes`, unless
// null, gets what should be told.
Placing placePicture(const PictureFacts& facts, const Paper& paper, const PageWish& wish,
                     std::vector<Note>* notes = nullptr);

}  // namespace documents

#endif  // DOCUMENTS_PLACING_H_
