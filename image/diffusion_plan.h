// SPDX-License-Identifier: Apache-2.0
// What the diffusion wavefront needs to know of a kernel, worked out and proved when
// it is compiled.
#ifndef IMAGE_DIFFUSION_PLAN_H_
#define IMAGE_DIFFUSION_PLAN_H_

#include <algorithm>
#include <array>
#include <cstddef>

#include "image/diffusion_kernels.h"

namespace drav_vector {

// The distinct weights of a kernel: each needs one share a pixel.
template <const auto& kKernel>
constexpr size_t countWeights() {
  size_t count = 0;
  for (size_t i = 0; i < kKernel.kTapCount; ++i) {
    bool seen = false;
    for (size_t j = 0; j < i; ++j) seen |= kKernel.taps[j].weight == kKernel.taps[i].weight;
    if (!seen) ++count;
  }
  return count;
}

template <const auto& kKernel>
struct KernelPlan {
  static constexpr size_t kWeightCount = countWeights<kKernel>();

  struct GatherTap {
    int dx;
    int dy;
    size_t weight;  // index into `weights`
  };

  static constexpr auto makeWeights() {
    std::array<int, kWeightCount> weights = {};
    size_t count = 0;
    for (const DiffusionTap& tap : kKernel.taps) {
      if (std::find(weights.begin(), weights.begin() + count, tap.weight) ==
          weights.begin() + count) {
        weights[count++] = tap.weight;
      }
    }
    return weights;
  }
  static constexpr std::array<int, kWeightCount> kWeights = makeWeights();

  // The taps as a pixel receives them: the scan reaches the highest source row
  // first, and in each row the leftmost source, which is the largest dx.
  static constexpr auto makeTaps() {
    std::array<GatherTap, kKernel.kTapCount> taps = {};
    for (size_t i = 0; i < taps.size(); ++i) {
      const DiffusionTap& tap = kKernel.taps[i];
      size_t weight = 0;
      while (kWeights[weight] != tap.weight) ++weight;
      taps[i] = {tap.dx, tap.dy, weight};
    }
    std::sort(taps.begin(), taps.end(), [](const GatherTap& a, const GatherTap& b) {
      return a.dy != b.dy ? a.dy > b.dy : a.dx > b.dx;
    });
    return taps;
  }
  static constexpr std::array<GatherTap, kKernel.kTapCount> kTaps = makeTaps();

  // 2^16 * weight / divisor, rounded up.
  static constexpr unsigned multiplier(size_t weight) {
    const auto numerator = static_cast<unsigned>(kWeights[weight]) << 16;
    const auto divisor = static_cast<unsigned>(kKernel.divisor);
    return (numerator + divisor - 1) / divisor;
  }

  // The multiply-high is the truncated division for every error: 0 to 128 when
  // the pixel is black, 0 to 126 below zero when it is white.
  static constexpr bool isExact() {
    for (size_t w = 0; w < kWeightCount; ++w) {
      if (multiplier(w) > 0xFFFF) return false;
      for (unsigned error = 0; error <= 255; ++error) {
        const unsigned share =
            error * static_cast<unsigned>(kWeights[w]) / static_cast<unsigned>(kKernel.divisor);
        if (((error * multiplier(w)) >> 16) != share || (error <= 128 && share > 127)) {
          return false;
        }
      }
    }
    return true;
  }
  static_assert(isExact());

  static constexpr size_t kDepth = kKernel.depth();
  // Three steps or more lie between computing a share and using it below: far
  // enough for the stores to have reached the cache.
  static constexpr size_t kLag = kKernel.reach() + 3;
};

}  // namespace drav_vector

#endif  // IMAGE_DIFFUSION_PLAN_H_
