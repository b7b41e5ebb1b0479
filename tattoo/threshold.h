// SPDX-License-Identifier: Apache-2.0
// Global threshold by moment preservation: W.-H. Tsai, "Moment-preserving
// thresholding: a new approach", CVGIP 29, 1985.
#ifndef TATTOO_THRESHOLD_H_
#define TATTOO_THRESHOLD_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "tattoo/qz_image.h"

// Threshold of a one-channel image: the level at which the running share of
// pixels passes the share that the moment equations give to the dark class.
// 0 to 255; 128 when the equations have no real solution, which includes every
// image of one grey level; -1 when no level passes.
int32_t thresh_global_moments(const QZImage& image);

// Pixels of each level.
using LevelHistogram = std::array<int32_t, 256>;

// The same from the levels of `count` pixels.
int32_t momentThreshold(const LevelHistogram& histogram, int32_t count);

// Adds the levels of `size` pixels.
void countLevels(const uint8_t* pixels, size_t size, LevelHistogram& histogram);

#endif  // TATTOO_THRESHOLD_H_
