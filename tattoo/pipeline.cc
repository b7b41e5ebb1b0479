// SPDX-License-Identifier: Apache-2.0
#include "tattoo/pipeline.h"

#include <cstring>

#include "tattoo/gamma.h"
#include "tattoo/grey.h"
#include "tattoo/stencil_rows.h"
#include "tattoo/threshold.h"

namespace {

constexpr int32_t kFixedPivot = 64;

// The pixel count as the 32-bit product that decides whether there is an image.
int32_t area(const QZImage& image) {
  return static_cast<int32_t>(static_cast<uint32_t>(image.width) *
                              static_cast<uint32_t>(image.height));
}

QZImage ditherGrey(const QZImage& grey, StencilCurve curve) {
  const int32_t threshold = thresh_global_moments(grey);
  const std::array<uint8_t, 256> table = stencilCurveTable(curve, threshold);
  QZImage result(grey.width, grey.height, QZ_IMG_GRAY);
  const auto width = static_cast<uint32_t>(grey.width);
  const auto readRow = [&](uint32_t y, uint8_t* row) {
    const uint8_t* source = grey.data + size_t{y} * width;
    for (uint32_t x = 0; x < width; ++x) row[x] = table[source[x]];
  };
  const auto writeRow = [&](uint32_t y, const uint8_t* row) {
    std::memcpy(result.data + size_t{y} * width, row, width);
  };
  stencilRows(threshold, width, static_cast<uint32_t>(grey.height), readRow, writeRow);
  return result;
}

QZImage dither(const QZImage& image, StencilCurve curve) {
  if (area(image) <= 0 || image.pixelCount() == 0) return image;
  if (image.color == QZ_IMG_GRAY) return ditherGrey(image, curve);
  return ditherGrey(cvtGray(image), curve);
}

}  // namespace

std::array<uint8_t, 256> stencilCurveTable(StencilCurve curve, int32_t threshold) {
  if (curve == StencilCurve::lifted) return piecewiseGammaTable(kFixedPivot, 0.85F, 0.7F);
  return piecewiseGammaTable(threshold, 0.5F, 1.5F);
}

QZImage qzTattooDithering(const QZImage& image) { return dither(image, StencilCurve::lifted); }

QZImage qzTattooDitheringX8(const QZImage& image) {
  return dither(image, StencilCurve::aroundThreshold);
}
