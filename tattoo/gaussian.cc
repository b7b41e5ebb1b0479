// SPDX-License-Identifier: Apache-2.0
#include "tattoo/gaussian.h"

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "tattoo/fast_math.h"

namespace {

constexpr float kTwoPiSingle = 6.2831855F;
constexpr double kTwoPi = 6.283185307179586;

// Taps per side of an odd kernel and the number of taps that exist.
struct KernelSpan {
  int half;
  int count;  // an even size loses the tap behind the array's end
};

KernelSpan kernelSpan(int size) {
  if (size <= 0) return {0, 0};
  const int half = size / 2;
  return {half, std::min(2 * half + 1, size)};
}

uint8_t roundedByte(double sum) { return static_cast<uint8_t>(my_round(static_cast<float>(sum))); }

std::vector<double> makeTaps(int64_t count) {
  if (count < 0) throw std::bad_alloc();
  return std::vector<double>(static_cast<size_t>(count));
}

// Entries of a size x size kernel; the product is a 32-bit one.
int32_t squareCount(int size) {
  return static_cast<int32_t>(static_cast<uint32_t>(size) * static_cast<uint32_t>(size));
}

// Sum for pixel `x` of a row, samples clamped to the row.
double clampedSum(const uint8_t* row, int32_t width, int32_t x, const double* taps,
                  KernelSpan span) {
  double sum = 0.0;
  for (int t = 0; t < span.count; ++t) {
    const int64_t at = std::clamp<int64_t>(int64_t{x} + t - span.half, 0, width - 1);
    sum = static_cast<double>(row[at]) * taps[t] + sum;
  }
  return sum;
}

// The middle of a row, where no sample is clamped: `source` points at the first
// tap of the first pixel.
void convolveInterior(const uint8_t* source, uint8_t* target, int32_t length, const double* taps,
                      int count) {
  for (int32_t i = 0; i < length; ++i) {
    double sum = 0.0;
    for (int t = 0; t < count; ++t) sum = static_cast<double>(source[i + t]) * taps[t] + sum;
    target[i] = roundedByte(sum);
  }
}

void convolveRow(const uint8_t* source, uint8_t* target, int32_t width, const double* taps,
                 KernelSpan span) {
  const int32_t left = std::min(span.half, width);
  const int32_t right = std::max(left, width - span.half);
  for (int32_t x = 0; x < left; ++x) {
    target[x] = roundedByte(clampedSum(source, width, x, taps, span));
  }
  convolveInterior(source, target + left, right - left, taps, span.count);
  for (int32_t x = right; x < width; ++x) {
    target[x] = roundedByte(clampedSum(source, width, x, taps, span));
  }
}

// One output row of the vertical pass: each tap adds one clamped source row to a
// row of sums, which is the order of the taps for every pixel.
void convolveColumns(const QZImage& source, uint8_t* target, int32_t y, const double* taps,
                     KernelSpan span, std::vector<double>& sums) {
  const auto width = static_cast<size_t>(source.width);
  std::fill(sums.begin(), sums.end(), 0.0);
  for (int t = 0; t < span.count; ++t) {
    const int64_t at = std::clamp<int64_t>(int64_t{y} + t - span.half, 0, source.height - 1);
    const uint8_t* row = source.data + static_cast<size_t>(at) * width;
    for (size_t x = 0; x < width; ++x) sums[x] = static_cast<double>(row[x]) * taps[t] + sums[x];
  }
  for (size_t x = 0; x < width; ++x) target[x] = roundedByte(sums[x]);
}

}  // namespace

void generateGaussianKernel1D(int size, double sigma, double* taps) {
  const KernelSpan span = kernelSpan(size);
  const double norm = 1.0 / (static_cast<double>(my_sqrt(kTwoPiSingle)) * sigma);
  for (int t = 0; t < span.count; ++t) {
    const double i = t - span.half;
    const double exponent = (-0.5 * (i * i)) / (sigma * sigma);
    taps[t] = norm * static_cast<double>(my_exp(static_cast<float>(exponent)));
  }
  double sum = 0.0;
  for (int t = 0; t < size; ++t) sum += taps[t];
  for (int t = 0; t < size; ++t) taps[t] /= sum;
}

QZImage convolve1D(const QZImage& source, const double* taps, int size, bool horizontal) {
  QZImage result(source);
  if (source.pixelCount() == 0) return result;
  const KernelSpan span = kernelSpan(size);
  const auto width = static_cast<size_t>(source.width);
  std::vector<double> sums(horizontal ? 0 : width);
  for (int32_t y = 0; y < source.height; ++y) {
    const size_t row = static_cast<size_t>(y) * width;
    if (horizontal) {
      convolveRow(source.data + row, result.data + row, source.width, taps, span);
    } else {
      convolveColumns(source, result.data + row, y, taps, span, sums);
    }
  }
  return result;
}

QZImage enh_gaussian_filter_fast(const QZImage& source, int size, double sigma) {
  std::vector<double> taps = makeTaps(size);
  generateGaussianKernel1D(size, sigma, taps.data());
  const QZImage rows = convolve1D(source, taps.data(), size, true);
  return convolve1D(rows, taps.data(), size, false);
}

void generateGaussianKernel(int size, double sigmaX, double sigmaY, double* taps) {
  const int half = size / 2;
  const int64_t count = squareCount(size);
  const double norm = 1.0 / (kTwoPi * sigmaX * sigmaY);
  for (int y = -half; y <= half; ++y) {
    const int64_t rowStart = (int64_t{y} + half) * size;
    if (rowStart >= count) break;
    // At an even size a row's last entry is the next row's first, which that
    // row overwrites; behind the end nothing is stored.
    for (int x = -half; x <= half && rowStart + x + half < count; ++x) {
      const double dx = x;
      const double dy = y;
      const double exponent = -(dx * dx) / (2 * sigmaX * sigmaX) - dy * dy / (2 * sigmaY * sigmaY);
      taps[rowStart + x + half] = norm * static_cast<double>(my_exp(static_cast<float>(exponent)));
    }
  }
  double sum = 0.0;
  for (int64_t i = 0; i < count; ++i) sum += taps[i];
  for (int64_t i = 0; i < count; ++i) taps[i] /= sum;
}

QZImage enh_gaussian_filter(const QZImage& source, int size, double sigmaX, double sigmaY) {
  QZImage result(source.width, source.height, QZ_IMG_GRAY);
  const int32_t count = squareCount(size);
  std::vector<double> taps = makeTaps(count);
  generateGaussianKernel(size, sigmaX, sigmaY, taps.data());
  const int half = size / 2;
  for (int32_t y = 0; y < source.height; ++y) {
    for (int32_t x = 0; x < source.width; ++x) {
      double sum = 0.0;
      for (int dy = -half; dy <= half; ++dy) {
        const int64_t rowStart = (int64_t{dy} + half) * size;
        if (rowStart >= count) break;
        const auto sy = static_cast<size_t>(myClamp(y + dy, 0, source.height - 1));
        for (int dx = -half; dx <= half && rowStart + dx + half < count; ++dx) {
          const auto sx = static_cast<size_t>(myClamp(x + dx, 0, source.width - 1));
          const uint8_t sample = source.data[sy * static_cast<size_t>(source.width) + sx];
          sum = static_cast<double>(sample) * taps[static_cast<size_t>(rowStart + dx + half)] + sum;
        }
      }
      result.data[static_cast<size_t>(y) * static_cast<size_t>(source.width) +
                  static_cast<size_t>(x)] = roundedByte(sum);
    }
  }
  return result;
}
