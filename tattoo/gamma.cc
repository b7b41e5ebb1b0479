// SPDX-License-Identifier: Apache-2.0
#include "tattoo/gamma.h"

#include "tattoo/fast_math.h"

std::array<uint8_t, 256> piecewiseGammaTable(int32_t pivot, float gammaLow, float gammaHigh) {
  std::array<uint8_t, 256> table = {};
  const auto low = static_cast<float>(pivot);
  const auto high = static_cast<float>(255 - int64_t{pivot});
  for (int32_t k = 0; k < 256; ++k) {
    float value = 255.0F;
    if (k < pivot) {
      value = my_pow(static_cast<float>(k) / low, gammaLow) * low;
    } else if (pivot != 255) {  // there the upper piece is the one point 0 / 0
      const auto above = static_cast<float>(int64_t{k} - pivot);
      value = my_pow(above / high, gammaHigh) * high + low;
    }
    table[static_cast<size_t>(k)] = static_cast<uint8_t>(truncateToInt32(value));
  }
  return table;
}

void enh_piecewise_gamma(QZImage& image, int32_t pivot, float gammaLow, float gammaHigh) {
  const std::array<uint8_t, 256> table = piecewiseGammaTable(pivot, gammaLow, gammaHigh);
  const size_t pixels = image.pixelCount();
  for (size_t i = 0; i < pixels; ++i) image.data[i] = table[image.data[i]];
}
