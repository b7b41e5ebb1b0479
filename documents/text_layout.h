// SPDX-License-Identifier: Apache-2.0
// Columns and margins of plain text on a paper: arithmetic alone.
#ifndef DOCUMENTS_TEXT_LAYOUT_H_
#define DOCUMENTS_TEXT_LAYOUT_H_

#include <cstddef>

#include "documents/page_request.h"

namespace documents {

// Lengths are dots.
struct TextLayout {
  size_t columns = 1;
  double left = 0;
  double width = 0;  // of all columns
  uint32_t top = 0;
  uint32_t bottom = 0;
};

// On paper up to 100 mm wide a column is 1.5 mm, as the printers' own fonts have it: 32
// columns on 48 mm, 48 on 72 mm. Wider paper has 80 columns, or fewer of 1.5 mm, between
// margins of 10 mm.
TextLayout layOutText(const Paper& paper);

}  // namespace documents

#endif  // DOCUMENTS_TEXT_LAYOUT_H_
