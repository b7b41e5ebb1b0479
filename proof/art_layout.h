// SPDX-License-Identifier: Apache-2.0
// Where art lies on its page or on several sheets: arithmetic alone. All lengths are dots
// of the head unless they say otherwise.
#ifndef PROOF_ART_LAYOUT_H_
#define PROOF_ART_LAYOUT_H_

#include <cstdint>
#include <string>

#include "documents/page_request.h"
#include "proof/art_wish.h"

struct Area {
  uint32_t left = 0;
  uint32_t top = 0;
  uint32_t width = 0;
  uint32_t height = 0;
};

// Rounded, halves up; at least 0.
uint32_t dotsOfMillimetres(double millimetres, uint32_t dotsPerInch);

// The part of a paper that the head reaches.
Area reachOf(const documents::Paper& paper);

// What to ask documents/ for: a page with the picture at its size in the top left corner, and
// nothing of it cut but what passes documents::kMostWidth and kMostHeight.
struct ArtRequest {
  documents::Paper box;
  documents::PageWish wish;
};
ArtRequest artRequest(const ArtWish& wish, const documents::Paper& paper);

// What the crop leaves of a picture of `width` x `height`; without an area when nothing.
Area cropArea(const ArtWish& wish, const documents::Paper& paper, uint32_t width, uint32_t height);

// Where art lies on one page. It may begin before the page, and end behind it.
struct ArtPlace {
  int64_t x = 0;
  int64_t y = 0;
  uint32_t pageHeight = 0;
};
ArtPlace placeArt(const ArtWish& wish, const documents::Paper& paper, uint32_t width,
                  uint32_t height);

// Art on several sheets. Each shows a window on it, with a band around the window for the
// marks, and a caption below.
struct SheetPlan {
  uint32_t columns = 1;
  uint32_t rows = 1;
  Area window;         // on the sheet; of the sheets at the right and bottom a part is used
  uint32_t stepX = 0;  // from one window to the next, on the art
  uint32_t stepY = 0;
  uint32_t overlapX = 0;
  uint32_t overlapY = 0;

  uint32_t sheets() const { return columns * rows; }
};

inline constexpr double kMarkBandMm = 5;  // on each side of a window
inline constexpr double kCaptionMm = 8;
inline constexpr uint32_t kMostSheets = 100;

// Sheets for art of this size. One sheet without bands when it fits the paper. False with one
// line in `error` when the paper is too small for the overlap, or too many sheets are needed.
[[nodiscard]] bool planSheets(const ArtWish& wish, const documents::Paper& paper, uint32_t width,
                              uint32_t height, SheetPlan& plan, std::string& error);

// The part of the art in the window of a sheet, counted from 0 row by row.
Area artOnSheet(const SheetPlan& plan, uint32_t sheet, uint32_t width, uint32_t height);

#endif  // PROOF_ART_LAYOUT_H_
