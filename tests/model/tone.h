// SPDX-License-Identifier: Apache-2.0
// Brightness, contrast, negative, turning, mirroring and blank-row counting on plain pictures.
#ifndef TESTS_MODEL_TONE_H_
#define TESTS_MODEL_TONE_H_

#include <array>
#include <cstdint>
#include <vector>

#include "tests/model/grey.h"

namespace model {

using ToneTable = std::array<uint8_t, 256>;

// The table of the brightness and contrast step. `brightness` moves every level, `contrast`
// (in per cent, 0 = unchanged) stretches the levels around 128.
ToneTable lightTable(int brightness, int contrast);

// Every pixel replaced by its table entry.
Grey applyTable(const Grey& picture, const ToneTable& table);

// Level v becomes 255 - v.
Grey negative(const Grey& picture);

// The picture turned by half a turn.
Grey rotate180(const Grey& picture);

// The picture flipped left to right.
Grey mirror(const Grey& picture);

// Number of bytes of a row that the blank-row counters look at: `rowBytes` less `skipRight`,
// or all of them when the skip is larger than the row.
uint64_t bytesTestedPerRow(uint64_t rowBytes, uint64_t skipRight);

// Index of the first row with ink among rows 1 to height - 1, minus one; `height` when none of
// them has ink. Row 0 is never looked at, and the row past the last one counts as blank. Rows
// start `stride` bytes apart.
uint64_t countBlankFromFront(const std::vector<uint8_t>& pixels, uint64_t rowBytes, uint64_t height,
                             uint64_t skipRight, uint64_t stride);

// Number of rows from the top through the last row with ink; 0 when no row has ink.
uint64_t countBlankFromBack(const std::vector<uint8_t>& pixels, uint64_t rowBytes, uint64_t height,
                            uint64_t skipRight, uint64_t stride);

}  // namespace model

#endif  // TESTS_MODEL_TONE_H_
