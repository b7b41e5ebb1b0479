// SPDX-License-Identifier: Apache-2.0
// The Gaussian of the stencils' unsharp mask in whole numbers, with bounds on what
// that may be off by.
#ifndef TATTOO_BLUR_TAPS_H_
#define TATTOO_BLUR_TAPS_H_

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "tattoo/fast_math.h"
#include "tattoo/gaussian.h"
#include "tattoo/stencil_rows.h"
#include "tattoo/unsharp.h"

namespace drav_stencil {

constexpr size_t kTaps = kStencilUnsharpTaps;
constexpr size_t kHalf = kTaps / 2;

// Levels are multiplied by kScale, and the taps by 2^kPointBits / kScale: of all
// numbers with which two levels together fit 16 bits, 29 is the one (with 58, its
// double) for which the taps come closest to whole numbers.
constexpr int32_t kScale = 29;
constexpr int kPointBits = 22;
constexpr int kFineBits = 40;  // behind the point of the 64-bit sum
constexpr int64_t kFineUnit = int64_t{kScale} << kFineBits;

// What the plain sum may be off by for its two roundings to single, 2^-17 each.
constexpr int64_t kPlainError = int64_t{1} << (kPointBits - 16);

// The Gaussian of the unsharp mask: exact, and in whole numbers.
struct BlurTaps {
  BlurTaps() {
    generateGaussianKernel1D(kStencilUnsharpTaps, kUnsharpSigma, exact.data());
    double above = 0.0;
    double below = 0.0;
    for (size_t k = 0; k <= kHalf; ++k) {
      const double scaled = exact[k] * (1 << kPointBits) / kScale;
      coarse[k] = static_cast<int16_t>(std::lround(scaled));
      fine[k] = std::llround(exact[k] * static_cast<double>(int64_t{1} << kFineBits));
      const double error = (coarse[k] - scaled) * kScale * (k < kHalf ? 2 * 255 : 255);
      (error > 0 ? above : below) += error;
    }
    const auto high = static_cast<int64_t>(std::ceil(above)) + kPlainError;
    const auto low = static_cast<int64_t>(std::floor(below)) - kPlainError;
    bias = static_cast<int32_t>((int64_t{1} << (kPointBits - 1)) - high);
    lastSure = static_cast<int32_t>((int64_t{1} << kPointBits) - 1 - (high - low));
  }
  std::array<double, kTaps> exact = {};
  std::array<int16_t, kHalf + 1> coarse = {};  // symmetric: the first half and the centre
  std::array<int64_t, kHalf + 1> fine = {};

  // (coarse sum + bias) >> kPointBits is the byte, if the kPointBits low bits are at
  // most lastSure. With more, an error within the bounds could change the byte.
  int32_t bias = 0;
  int32_t lastSure = 0;
};

// The sum in the order of the taps, as the plain blur forms it. `in`: one row of
// scaled levels a tap.
inline int16_t plainLevel(const int16_t* const* in, size_t x, const BlurTaps& taps) {
  double sum = 0.0;
  for (size_t t = 0; t < kTaps; ++t) {
    const int level = in[t][x] / kScale;
    sum = level * taps.exact[t] + sum;
  }
  return static_cast<int16_t>(my_round(static_cast<float>(sum)) & 0xFF);
}

// The same by the 64-bit sum, whose distance from the plain one is far below
// kMargin: 2^-16 for its roundings and 11 * 255 * 2^-41 for the taps.
inline int16_t fineLevel(const int16_t* const* in, size_t x, const BlurTaps& taps) {
  constexpr int64_t kMargin = kFineUnit >> 15;
  int64_t sum = kFineUnit / 2 + taps.fine[kHalf] * in[kHalf][x];
  for (size_t k = 0; k < kHalf; ++k) {
    sum += taps.fine[k] * (int32_t{in[k][x]} + in[kTaps - 1 - k][x]);
  }
  const int64_t rest = sum % kFineUnit;
  if (rest < kMargin || rest > kFineUnit - kMargin) return plainLevel(in, x, taps);
  return static_cast<int16_t>(sum / kFineUnit);
}

}  // namespace drav_stencil

#endif  // TATTOO_BLUR_TAPS_H_
