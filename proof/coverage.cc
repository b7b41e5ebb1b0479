// SPDX-License-Identifier: Apache-2.0
#include "proof/coverage.h"

#include <bit>
#include <cstring>

Coverage coverageOf(std::span<const uint8_t> rows) {
  Coverage coverage;
  coverage.dots = uint64_t{rows.size()} * 8;
  size_t at = 0;
  for (; at + sizeof(uint64_t) <= rows.size(); at += sizeof(uint64_t)) {
    uint64_t word = 0;
    std::memcpy(&word, rows.data() + at, sizeof word);
    coverage.black += static_cast<uint64_t>(std::popcount(word));
  }
  for (; at < rows.size(); ++at) coverage.black += static_cast<uint64_t>(std::popcount(rows[at]));
  return coverage;
}
