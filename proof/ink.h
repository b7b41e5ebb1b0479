// SPDX-License-Identifier: Apache-2.0
// How much of a page is black, and where most of it is.
#ifndef PROOF_INK_H_
#define PROOF_INK_H_

#include <cstdint>

#include "proof/dot_page.h"

struct Ink {
  uint64_t black = 0;  // dots of the page that are set
  // The band with the largest share of set dots, the first of several: what the printer
  // gets in one piece and heats most for.
  uint32_t bandRow = 0;  // its first row
  uint32_t bandRows = 0;
  uint64_t bandBlack = 0;
};

Ink inkOf(const DotPage& page);

// The same of the page as InvertPage prints it: the first `columns` dots of each row
// change, unless the page has none. REQUIRES: no dot lies behind them.
Ink invertedInkOf(const DotPage& page, uint32_t columns);

#endif  // PROOF_INK_H_
