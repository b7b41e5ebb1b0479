// SPDX-License-Identifier: Apache-2.0
#include "tattoo/unsharp.h"

#include <algorithm>

#include "tattoo/fast_math.h"
#include "tattoo/gaussian.h"

QZImage add_Weighted(const QZImage& a, const QZImage& b, float amount) {
  const float weightA = 1.0F + amount;
  const float weightB = -amount;
  const float bias = 0.0F;
  QZImage result(a);
  const auto available = static_cast<size_t>(std::max(b.byteCount(), int64_t{0}));
  const size_t pixels = std::min(a.pixelCount(), available);
  for (size_t i = 0; i < pixels; ++i) {
    const float sum =
        (static_cast<float>(a.data[i]) * weightA + static_cast<float>(b.data[i]) * weightB) + bias;
    result.data[i] = static_cast<uint8_t>(myClamp(my_round(sum), 0, 255));
  }
  return result;
}

QZImage enh_unsharp_mask(const QZImage& source, float amountPercent, int size) {
  const float amount = amountPercent / 100.0F;
  const QZImage blurred = enh_gaussian_filter_fast(source, size, kUnsharpSigma);
  return add_Weighted(source, blurred, amount);
}
