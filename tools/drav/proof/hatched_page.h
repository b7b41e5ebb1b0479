// SPDX-License-Identifier: Apache-2.0
// A page with a margin that shows where ink is lost.
#ifndef TOOLS_DRAV_PROOF_HATCHED_PAGE_H_
#define TOOLS_DRAV_PROOF_HATCHED_PAGE_H_

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "common/lost_ink.h"
#include "tools/drav/engine/page_engine.h"

// In dots; those at the sides are whole bytes.
struct Margins {
  uint32_t left = 0;
  uint32_t top = 0;
  uint32_t right = 0;
  uint32_t bottom = 0;

  std::string text() const;  // the four numbers in this order
};

struct HatchedPage {
  Margins margins;
  uint32_t bytesPerRow = 0;
  uint32_t rows = 0;
  std::vector<uint8_t> dots;

  uint32_t width() const { return bytesPerRow * 8; }
};

// Gives the page a margin of 3 mm at each side that loses ink, with slanted lines where that
// ink is; nothing is changed on a page that loses none. The sides are the paper's.
HatchedPage hatchLostInk(const DotPage& page, std::span<const LostInk> lost);

#endif  // TOOLS_DRAV_PROOF_HATCHED_PAGE_H_
