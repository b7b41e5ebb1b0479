// SPDX-License-Identifier: Apache-2.0
// Error diffusion of the tattoo stencils. Two things set it apart from the
// classic filters: the kernel has negative taps and sums to 0.94, so part of
// every error is dropped, and a white pixel beside black ones is charged as less
// than full white, for the spread of the printed dots into it.
#ifndef TATTOO_ERROR_DIFFUSION_H_
#define TATTOO_ERROR_DIFFUSION_H_

#include <cstdint>

#include "tattoo/qz_image.h"

// Halftones a one-channel image to bytes of 0 and 255. A pixel turns white when
// its level plus the error carried to it is strictly above `threshold` (-1 to
// 255). Rows run downward, pixels left to right on every row.
// Throws std::bad_alloc.
QZImage edf_cus(const QZImage& source, int threshold);

#endif  // TATTOO_ERROR_DIFFUSION_H_
