// SPDX-License-Identifier: Apache-2.0
#include "tattoo/pipeline.h"

#include "tattoo/error_diffusion.h"
#include "tattoo/gamma.h"
#include "tattoo/grey.h"
#include "tattoo/threshold.h"
#include "tattoo/unsharp.h"

namespace {

constexpr float kUnsharpPercent = 300.0F;
constexpr int kUnsharpTaps = 11;

constexpr int32_t kFixedPivot = 64;

// The pixel count as the 32-bit product that decides whether there is an image.
int32_t area(const QZImage& image) {
  return static_cast<int32_t>(static_cast<uint32_t>(image.width) *
                              static_cast<uint32_t>(image.height));
}

// Sharpens and halftones the curved grey image.
QZImage finish(const QZImage& grey, int32_t threshold) {
  const QZImage sharpened = enh_unsharp_mask(grey, kUnsharpPercent, kUnsharpTaps);
  return edf_cus(sharpened, threshold);
}

}  // namespace

QZImage qzTattooDithering(const QZImage& image) {
  if (area(image) <= 0) return image;
  QZImage grey = cvtGray(image);
  const int32_t threshold = thresh_global_moments(grey);
  enh_piecewise_gamma(grey, kFixedPivot, 0.85F, 0.7F);
  return finish(grey, threshold);
}

QZImage qzTattooDitheringX8(const QZImage& image) {
  if (area(image) <= 0) return image;
  QZImage grey = cvtGray(image);
  const int32_t threshold = thresh_global_moments(grey);
  enh_piecewise_gamma(grey, threshold, 0.5F, 1.5F);
  return finish(grey, threshold);
}
