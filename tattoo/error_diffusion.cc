// SPDX-License-Identifier: Apache-2.0
#include "tattoo/error_diffusion.h"

#include <algorithm>
#include <vector>

#include "tattoo/error_diffusion_taps.h"
#include "tattoo/fast_math.h"

namespace {

// What a white pixel leaves over: it counts as 255, and inside the image as less
// for a black neighbour to the left and above. `white` points at the pixel in
// the result, whose earlier pixels are final.
float whiteError(float value, const uint8_t* white, int32_t width, bool inside) {
  if (!inside) return value - 255.0F;
  float spread = 0.0F;
  if (white[-1] == 0) spread = spread + kDotSpread;
  if (white[-width] == 0) spread = spread + kDotSpread;
  return (1.0F - spread) * -255.0F + value;
}

}  // namespace

QZImage edf_cus(const QZImage& source, int threshold) {
  QZImage result(source.width, source.height, QZ_IMG_GRAY);
  const int32_t width = source.width;
  const int32_t height = source.height;
  if (source.pixelCount() == 0) return result;
  const auto limit = static_cast<float>(threshold);

  // No tap reaches below the next row: two rows of errors do for the image.
  const auto columns = static_cast<size_t>(width);
  std::vector<float> current(columns, 0.0F);
  std::vector<float> below(columns, 0.0F);
  for (int32_t y = 0; y < height; ++y) {
    const size_t rowStart = static_cast<size_t>(y) * columns;
    for (int32_t x = 0; x < width; ++x) {
      const auto column = static_cast<size_t>(x);
      uint8_t* pixel = result.data + rowStart + column;
      const float value = current[column] + static_cast<float>(source.data[rowStart + column]);
      float error = value;
      if (value > limit) {
        *pixel = 255;
        const bool inside = x >= 1 && y >= 1 && x < width - 1 && y < height - 1;
        error = whiteError(value, pixel, width, inside);
      } else {
        *pixel = 0;
      }
      for (const StencilTap& tap : kStencilTaps) {
        const int32_t target = x + tap.dx;
        if (!isWithinBounds(target, y + tap.dy, width, height)) continue;
        float& entry = (tap.dy == 0 ? current : below)[static_cast<size_t>(target)];
        entry = error * tap.weight + entry;
      }
    }
    current.swap(below);
    std::fill(below.begin(), below.end(), 0.0F);
  }
  return result;
}
