// SPDX-License-Identifier: Apache-2.0
// Packs 8-bit rows into the 1-bit rows that the printer takes.
#ifndef PRINTER_MONO_PACK_H_
#define PRINTER_MONO_PACK_H_

#include <cstddef>
#include <cstdint>
#include <span>

// Sets one bit per non-zero byte of `row`, leftmost pixel in the top bit, and
// returns the bytes written. Unused low bits of the last byte are 0.
// REQUIRES: `out` holds (row.size() + 7) / 8 bytes. `out` may start at or
// before `row` in the same buffer.
size_t packMonoRow(std::span<const uint8_t> row, uint8_t* out);

// Pixels of a row that are packed; a skip of a whole row or more is ignored.
size_t packedRowPixels(size_t rowBytes, unsigned long skipRightPixels);
void reportPacking(int32_t bytesPerLine, int32_t height, unsigned long skipRightPixels);

#endif  // PRINTER_MONO_PACK_H_
