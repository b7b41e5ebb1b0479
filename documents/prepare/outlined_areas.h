// SPDX-License-Identifier: Apache-2.0
// Areas that the outlines of a drawing close off, and which of them are shaded.
#ifndef DOCUMENTS_PREPARE_OUTLINED_AREAS_H_
#define DOCUMENTS_PREPARE_OUTLINED_AREAS_H_

#include <cstdint>
#include <vector>

#include "documents/prepare/cell_grid.h"

// Bare paper inside an outline is as light as the paper just outside of it, whatever light
// lies on both: a shadow's edge crosses the outline. A shaded area is darker along all of
// its outline.
//
// Takes the lightness of each cell's paper, and of the darkest that the cell shows. Gives
// 1 for each cell that belongs to a shaded area, or to its outline, and 0 elsewhere. An
// area that reaches the picture's edge, or takes more than a quarter of the picture, is
// never shaded: it is the sheet. Throws std::bad_alloc.
std::vector<uint8_t> shadedAreas(const CellGrid& paper, const CellGrid& darkest);

#endif  // DOCUMENTS_PREPARE_OUTLINED_AREAS_H_
