// SPDX-License-Identifier: Apache-2.0
#include "tattoo/grey.h"

#include <cstring>

#include "tattoo/fast_math.h"

namespace {

constexpr float kRed = 0.299F;
constexpr float kGreen = 0.587F;
constexpr float kBlue = 0.114F;

// Weighted sum of a pixel's first three bytes; the first two products are
// summed first.
uint8_t luma(const uint8_t* pixel, float first, float third) {
  const float value =
      (first * static_cast<float>(pixel[0]) + kGreen * static_cast<float>(pixel[1])) +
      third * static_cast<float>(pixel[2]);
  return static_cast<uint8_t>(my_round(value));
}

}  // namespace

QZImage cvtGray(const QZImage& source) {
  QZImage grey(source.width, source.height, QZ_IMG_GRAY);
  const size_t pixels = source.pixelCount();
  if (source.color == QZ_IMG_GRAY) {
    if (pixels != 0) std::memcpy(grey.data, source.data, pixels);
    return grey;
  }
  const bool blueFirst = source.color == QZ_IMG_BGR || source.color == QZ_IMG_BGRA;
  const float first = blueFirst ? kBlue : kRed;
  const float third = blueFirst ? kRed : kBlue;
  const auto step = static_cast<size_t>(source.channels);
  for (size_t i = 0; i < pixels; ++i) grey.data[i] = luma(source.data + i * step, first, third);
  return grey;
}
