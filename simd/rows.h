// SPDX-License-Identifier: Apache-2.0
// Pages as streams of rows: grey rows are asked for and finished rows are handed
// out, each from the first to the last.
#ifndef SIMD_ROWS_H_
#define SIMD_ROWS_H_

#include <cstdint>
#include <functional>

// Fills `row`, as many bytes as the page is wide, with the grey levels of row y.
using RowSource = std::function<void(uint32_t y, uint8_t* row)>;
// Takes row y, as many bytes as the page is wide.
using RowSink = std::function<void(uint32_t y, const uint8_t* row)>;

#endif  // SIMD_ROWS_H_
