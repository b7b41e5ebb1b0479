// SPDX-License-Identifier: Apache-2.0
// How light the paper is at every place of a picture, also below the ink.
#ifndef DOCUMENTS_PREPARE_PAPER_SURFACE_H_
#define DOCUMENTS_PREPARE_PAPER_SURFACE_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "documents/prepare/cell_grid.h"

// The lightness levels of a picture, row after row without padding.
struct LightnessView {
  std::span<const uint8_t> pixels;
  uint32_t width = 0;
  uint32_t height = 0;

  const uint8_t* row(uint32_t y) const { return &pixels[size_t{y} * width]; }
};

struct PaperSurface {
  CellGrid level;               // the paper's lightness, above 0
  CellGrid step;                // by what share of it the level changes around a cell, 0 up
  std::vector<uint8_t> isBare;  // 1 where the cell shows paper alone, as level.values
};

// REQUIRES: the picture has an area; pixelsPerMm is above 0. Throws std::bad_alloc.
PaperSurface findPaper(const LightnessView& picture, double pixelsPerMm);

// The values along a row of the picture's pixels, between the cells' middles linear and
// beyond them constant. `row` holds as many pixels as the picture is wide.
void interpolateRow(const CellGrid& grid, uint32_t y, std::span<float> row);

#endif  // DOCUMENTS_PREPARE_PAPER_SURFACE_H_
