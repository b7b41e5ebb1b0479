// SPDX-License-Identifier: Apache-2.0
// A picture in square cells.
#ifndef DOCUMENTS_PREPARE_CELL_GRID_H_
#define DOCUMENTS_PREPARE_CELL_GRID_H_

#include <cstddef>
#include <cstdint>
#include <vector>

// One value for each square cell of the picture, row after row. The cells of the last
// column and row may be cut by the picture's edge.
struct CellGrid {
  uint32_t cell = 1;  // pixels
  uint32_t columns = 0;
  uint32_t rows = 0;
  std::vector<float> values;

  float& at(uint32_t x, uint32_t y) { return values[size_t{y} * columns + x]; }
  const float& at(uint32_t x, uint32_t y) const { return values[size_t{y} * columns + x]; }
};

#endif  // DOCUMENTS_PREPARE_CELL_GRID_H_
