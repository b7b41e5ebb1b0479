// SPDX-License-Identifier: Apache-2.0
// How much of a raster is black.
#ifndef PROOF_COVERAGE_H_
#define PROOF_COVERAGE_H_

#include <cstdint>
#include <span>

struct Coverage {
  uint64_t black = 0;  // dots that are burnt
  uint64_t dots = 0;   // all dots, padding at the end of a row included

  // Of all dots; 0 when there are none.
  double percent() const {
    return dots == 0 ? 0 : 100.0 * static_cast<double>(black) / static_cast<double>(dots);
  }
  void add(const Coverage& other) {
    black += other.black;
    dots += other.dots;
  }
};

// Of packed rows: a set bit is a black dot.
Coverage coverageOf(std::span<const uint8_t> rows);

#endif  // PROOF_COVERAGE_H_
