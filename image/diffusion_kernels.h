// SPDX-License-Identifier: Apache-2.0
// Kernels of the classic error-diffusion halftones, shared by their variants.
#ifndef IMAGE_DIFFUSION_KERNELS_H_
#define IMAGE_DIFFUSION_KERNELS_H_

#include <algorithm>
#include <array>
#include <cstddef>

// Levels above this one are white.
inline constexpr int kWhiteAbove = 128;

// Share `weight` / divisor of a pixel's error goes to the pixel dx columns to
// the right and dy rows below.
struct DiffusionTap {
  int dx;
  int dy;
  int weight;
};

// Taps in the order in which a pixel applies them. The weights sum to the divisor.
template <size_t kTaps>
struct DiffusionKernel {
  int divisor;
  std::array<DiffusionTap, kTaps> taps;

  static constexpr size_t kTapCount = kTaps;

  constexpr bool isNormalised() const {
    int sum = 0;
    for (const DiffusionTap& tap : taps) sum += tap.weight;
    return sum == divisor;
  }
  // Columns that a tap may reach to either side.
  constexpr int reach() const {
    int farthest = 0;
    for (const DiffusionTap& tap : taps) {
      farthest = std::max(farthest, tap.dx < 0 ? -tap.dx : tap.dx);
    }
    return farthest;
  }
  // Rows that a tap may reach below.
  constexpr int depth() const {
    int deepest = 0;
    for (const DiffusionTap& tap : taps) deepest = std::max(deepest, tap.dy);
    return deepest;
  }
};

// D. Burkes, "Presentation of the Burkes error filter", 1988.
inline constexpr DiffusionKernel<7> kBurkes = {
    32, {{{1, 0, 8}, {2, 0, 4}, {-2, 1, 2}, {-1, 1, 4}, {0, 1, 8}, {1, 1, 4}, {2, 1, 2}}}};

// P. Stucki, "MECCA", IBM research report RZ1060, 1981.
inline constexpr DiffusionKernel<12> kStucki = {42,
                                                {{{1, 0, 8},
                                                  {2, 0, 4},
                                                  {-2, 1, 2},
                                                  {-1, 1, 4},
                                                  {0, 1, 8},
                                                  {1, 1, 4},
                                                  {2, 1, 2},
                                                  {-2, 2, 1},
                                                  {-1, 2, 2},
                                                  {0, 2, 4},
                                                  {1, 2, 2},
                                                  {2, 2, 1}}}};

// J. F. Jarvis, C. N. Judice, W. H. Ninke, CGIP 5(1), 1976.
inline constexpr DiffusionKernel<12> kJarvisJudiceNinke = {48,
                                                           {{{1, 0, 7},
                                                             {2, 0, 5},
                                                             {-2, 1, 3},
                                                             {-1, 1, 5},
                                                             {0, 1, 7},
                                                             {1, 1, 5},
                                                             {2, 1, 3},
                                                             {-2, 2, 1},
                                                             {-1, 2, 3},
                                                             {0, 2, 5},
                                                             {1, 2, 3},
                                                             {2, 2, 1}}}};

// F. Sierra, 1989.
inline constexpr DiffusionKernel<10> kSierra = {32,
                                                {{{1, 0, 5},
                                                  {2, 0, 3},
                                                  {-2, 1, 2},
                                                  {-1, 1, 4},
                                                  {0, 1, 5},
                                                  {1, 1, 4},
                                                  {2, 1, 2},
                                                  {-1, 2, 2},
                                                  {0, 2, 3},
                                                  {1, 2, 2}}}};

// R. L. Stevenson, G. R. Arce, JOSA A 2(7), 1985.
inline constexpr DiffusionKernel<12> kStevensonArce = {200,
                                                       {{{2, 0, 32},
                                                         {-3, 1, 12},
                                                         {-1, 1, 26},
                                                         {1, 1, 30},
                                                         {3, 1, 16},
                                                         {-2, 2, 12},
                                                         {0, 2, 26},
                                                         {2, 2, 12},
                                                         {-3, 3, 5},
                                                         {-1, 3, 12},
                                                         {1, 3, 12},
                                                         {3, 3, 5}}}};

// R. W. Floyd, L. Steinberg, Proc. SID 17(2), 1976.
inline constexpr DiffusionKernel<4> kFloydSteinberg = {
    16, {{{1, 0, 7}, {-1, 1, 3}, {0, 1, 5}, {1, 1, 1}}}};

static_assert(kBurkes.isNormalised() && kStucki.isNormalised() &&
              kJarvisJudiceNinke.isNormalised() && kSierra.isNormalised() &&
              kStevensonArce.isNormalised() && kFloydSteinberg.isNormalised());

#endif  // IMAGE_DIFFUSION_KERNELS_H_
