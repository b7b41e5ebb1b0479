// SPDX-License-Identifier: Apache-2.0
// The plain variant: row pointers, bounds checked at the edges only.
#include "image/halftone_rows.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "image/halftone_simd.h"
#include "image/halftones.h"
#include "simd/variant_list.h"

namespace {

// A neighbour's level plus its share of the error: the division truncates toward
// zero for each cell by itself, and the sum is clamped, so part of the error is
// lost. That is the method's arithmetic.
inline uint8_t diffused(uint8_t level, int error, int weight, int divisor) {
  return static_cast<uint8_t>(std::clamp(level + error * weight / divisor, 0, 255));
}

// The rows that a kernel can touch from the current row on; null below the image.
using RowWindow = std::array<uint8_t*, 4>;

template <const auto& kKernel, size_t kTap, bool kChecked>
inline void applyTap(const RowWindow& rows, long x, long width, int error) {
  constexpr DiffusionTap kCell = kKernel.taps[kTap];
  uint8_t* row = rows[kCell.dy];
  if constexpr (kChecked) {
    if (row == nullptr || x + kCell.dx < 0 || x + kCell.dx >= width) return;
  }
  row[x + kCell.dx] = diffused(row[x + kCell.dx], error, kCell.weight, kKernel.divisor);
}

template <const auto& kKernel, bool kChecked, size_t... kTaps>
inline void diffusePixel(const RowWindow& rows, long x, long width, uint8_t* dots,
                         std::index_sequence<kTaps...> /*taps*/) {
  const int level = rows[0][x];
  const bool white = level > kWhiteAbove;
  dots[x] = white ? 1 : 0;
  const int error = white ? level - 255 : level;
  (applyTap<kKernel, kTaps, kChecked>(rows, x, width, error), ...);
}

template <const auto& kKernel>
void diffuseRow(const RowWindow& rows, long width, uint8_t* dots) {
  constexpr auto kTaps = std::make_index_sequence<kKernel.kTapCount>();
  constexpr long kReach = kKernel.reach();
  // Only the middle of a row whose kernel ends inside the image goes unchecked.
  const bool deepEnough = rows[kKernel.depth()] != nullptr;
  const long left = deepEnough ? std::min(kReach, width) : width;
  const long right = deepEnough ? std::max(left, width - kReach) : width;
  long x = 0;
  for (; x < left; ++x) diffusePixel<kKernel, true>(rows, x, width, dots, kTaps);
  for (; x < right; ++x) diffusePixel<kKernel, false>(rows, x, width, dots, kTaps);
  for (; x < width; ++x) diffusePixel<kKernel, true>(rows, x, width, dots, kTaps);
}

template <const auto& kKernel>
void diffuseRows(uint32_t width, uint32_t height, const RowSource& source, const RowSink& sink) {
  constexpr uint32_t kAhead = kKernel.depth();
  std::vector<uint8_t> window(size_t{width} * (kAhead + 1));
  std::vector<uint8_t> dots(width);
  const auto rowAt = [&](uint32_t y) { return window.data() + size_t{width} * (y % (kAhead + 1)); };
  for (uint32_t y = 0; y < std::min(kAhead, height); ++y) source(y, rowAt(y));
  for (uint32_t y = 0; y < height; ++y) {
    if (y + kAhead < height) source(y + kAhead, rowAt(y + kAhead));
    RowWindow rows = {};
    for (uint32_t d = 0; d <= kAhead && y + d < height; ++d) rows[d] = rowAt(y + d);
    diffuseRow<kKernel>(rows, width, dots.data());
    sink(y, dots.data());
  }
}

void thresholdRows(const ThresholdPattern& pattern, uint32_t width, uint32_t height,
                   const RowSource& source, const RowSink& sink) {
  std::vector<uint8_t> row(width);
  for (uint32_t y = 0; y < height; ++y) {
    source(y, row.data());
    const std::array<uint8_t, 4>& least = pattern[y & 3];
    for (uint32_t x = 0; x < width; ++x) row[x] = row[x] >= least[x & 3] ? 1 : 0;
    sink(y, row.data());
  }
}

struct PlainKernels {
  static constexpr auto threshold = thresholdRows;
  template <const auto& kKernel, class... Page>
  static void diffuse(const Page&... page) {
    diffuseRows<kKernel>(page...);
  }
};

void halftonePlain(long method, uint32_t width, uint32_t height, const RowSource& source,
                   const RowSink& sink) {
  runHalftone<PlainKernels>(method, width, height, source, sink);
}

}  // namespace

std::span<const HalftoneVariant> halftoneVariants() {
  static const auto variants =
      variantList(HalftoneVariant{"plain", halftonePlain}, appendVectorHalftones);
  return variants;
}

void halftoneRows(long method, uint32_t width, uint32_t height, const RowSource& source,
                  const RowSink& sink) {
  halftoneVariants().back().run(method, width, height, source, sink);
}
