// SPDX-License-Identifier: Apache-2.0
// Sharpening by unsharp mask: the image plus a multiple of its difference from
// a blurred copy.
#ifndef TATTOO_UNSHARP_H_
#define TATTOO_UNSHARP_H_

#include "tattoo/qz_image.h"

// Standard deviation of the unsharp mask's Gaussian in pixels, whatever its size.
inline constexpr double kUnsharpSigma = 3.0;

// a * (1 + amount) - b * amount per pixel, in single precision, rounded and
// clamped to 0 to 255. `b` is read in a's layout and should be as large; pixels
// that it lacks stay those of `a`. Throws std::bad_alloc.
QZImage add_Weighted(const QZImage& a, const QZImage& b, float amount);

// Unsharp mask of `amountPercent` per cent with a separable Gaussian of `size`
// taps. Sigma is 3.0 pixels whatever the size. Throws std::bad_alloc.
QZImage enh_unsharp_mask(const QZImage& source, float amountPercent, int size);

#endif  // TATTOO_UNSHARP_H_
