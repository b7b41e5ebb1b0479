// SPDX-License-Identifier: Apache-2.0
// Global threshold by moment preservation: W.-H. Tsai, "Moment-preserving
// thresholding: a new approach", CVGIP 29, 1985.
#ifndef TATTOO_THRESHOLD_H_
#define TATTOO_THRESHOLD_H_

#include <cstdint>

#include "tattoo/qz_image.h"

// Threshold of a one-channel image: the level at which the running share of
// pixels passes the share that the moment equations give to the dark class.
// 0 to 255; 128 when the equations have no real solution, which includes every
// image of one grey level; -1 when no level passes.
int32_t thresh_global_moments(const QZImage& image);

#endif  // TATTOO_THRESHOLD_H_
