// SPDX-License-Identifier: Apache-2.0
// The classic halftones as a stream of rows: grey rows are asked for from the
// first to the last, and finished rows are handed out in the same order. No page
// is held; a variant keeps as many rows as it works on at once.
#ifndef IMAGE_HALFTONE_ROWS_H_
#define IMAGE_HALFTONE_ROWS_H_

#include <cstdint>
#include <span>

#include "simd/rows.h"

// Halftones width x height pixels by a method number of PaletteImage::Dither. The
// sink's rows are 0 for black and 1 for white.
// Throws std::bad_alloc for its row buffers, and what the callbacks throw.
using HalftoneRows = void (*)(long method, uint32_t width, uint32_t height, const RowSource& source,
                              const RowSink& sink);

// One implementation. All give the same bytes for every input.
struct HalftoneVariant {
  const char* name;
  HalftoneRows run;
};

// Those that this machine can run: the plain reference first, the one that
// halftoneRows uses last.
std::span<const HalftoneVariant> halftoneVariants();

// The fastest variant.
void halftoneRows(long method, uint32_t width, uint32_t height, const RowSource& source,
                  const RowSink& sink);

#endif  // IMAGE_HALFTONE_ROWS_H_
