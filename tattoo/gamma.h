// SPDX-License-Identifier: Apache-2.0
// Tone curve of two power curves joined at a pivot.
#ifndef TATTOO_GAMMA_H_
#define TATTOO_GAMMA_H_

#include <array>
#include <cstdint>

#include "tattoo/qz_image.h"

// The curve: levels below `pivot` follow (k / pivot)^gammaLow * pivot, levels
// from it on ((k - pivot) / (255 - pivot))^gammaHigh * (255 - pivot) + pivot.
// Entries are truncated, not rounded. A pivot of -1 is valid: every level then takes
// the upper piece. With a pivot of 255, entry 255 is 255.
std::array<uint8_t, 256> piecewiseGammaTable(int32_t pivot, float gammaLow, float gammaHigh);

// Applies the curve in place to a one-channel image.
void enh_piecewise_gamma(QZImage& image, int32_t pivot, float gammaLow, float gammaHigh);

#endif  // TATTOO_GAMMA_H_
