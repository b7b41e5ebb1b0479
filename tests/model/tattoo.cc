// SPDX-License-Identifier: Apache-2.0
// Every float step is written out in the order in which it is meant to be rounded.
#include "tests/model/tattoo.h"

#include <cmath>
#include <cstddef>
#include <limits>

#include "tests/model/numbers.h"

namespace model {
namespace {

constexpr float kTolerance = 1e-6F;

bool isNanOrPositiveInfinity(float x) { return std::isnan(x) || (std::isinf(x) && x > 0); }

double readTap(const std::vector<double>& taps, int64_t position) {
  if (position < 0 || position >= static_cast<int64_t>(taps.size())) return 0.0;
  return taps[static_cast<size_t>(position)];
}

void writeTap(std::vector<double>& taps, int64_t position, double value) {
  if (position < 0 || position >= static_cast<int64_t>(taps.size())) return;
  taps[static_cast<size_t>(position)] = value;
}

size_t notNegative(int64_t count) { return count > 0 ? static_cast<size_t>(count) : 0; }

}  // namespace

// --- Mathematics ------------------------------------------------------------------------------

float myAbs(float x) {
  if (x < 0) return -x;
  return x;
}

float mySqrt(float x, int64_t* rounds, int64_t limit) {
  if (rounds != nullptr) *rounds = 0;
  if (isNanOrPositiveInfinity(x)) return x;
  if (x < 0) return -1.0F;
  if (x == 0) return 0.0F;
  float y = x / 2;
  // Half of the smallest subnormal is 0: the next iterate, and every one after it, is
  // infinite, and no difference of two is below the tolerance.
  if (y == 0) return std::numeric_limits<float>::infinity();
  for (int64_t round = 0; round < limit; ++round) {
    if (rounds != nullptr) ++*rounds;
    const float quotient = x / y;
    const float sum = y + quotient;
    const float n = 0.5F * sum;
    if (myAbs(n - y) < kTolerance) return y;
    y = n;
  }
  return y;
}

float myExp(float x) {
  if (x < 0) return static_cast<float>(1.0 / static_cast<double>(myExp(-x)));
  float sum = 1;
  float term = 1;
  for (int i = 1; i <= 20; ++i) {
    const float share = x / static_cast<float>(i);
    term = share * term;
    sum = term + sum;
    if (static_cast<double>(term) < 1e-6) break;
  }
  return sum;
}

float myLn(float x, int64_t* rounds, int64_t limit) {
  if (rounds != nullptr) *rounds = 0;
  if (isNanOrPositiveInfinity(x)) return x;
  if (x <= 0) return -1.0F;
  float y = (x - 1) / (1 + x);
  for (int64_t round = 0; round < limit; ++round) {
    if (rounds != nullptr) ++*rounds;
    const float miss = myExp(y) - x;
    const float step = miss / x;
    const float n = y - step;
    if (myAbs(n - y) < kTolerance) return y;
    y = n;
  }
  return y;
}

float myPow(float base, float exponent) {
  if (base == 0) {
    if (exponent == 0) return 1.0F;
    if (exponent > 0) return 0.0F;
    return -1.0F;
  }
  if (base < 0) {
    const float whole = static_cast<float>(truncateToInt32(exponent));
    if (!(exponent - whole == 0)) return -1.0F;
  }
  const float logarithm = myLn(base);
  return myExp(exponent * logarithm);
}

int32_t myRound(float x) {
  if (static_cast<double>(x) >= 0) {
    const float up = x + 0.5F;
    return truncateToInt32(up);
  }
  const float down = x - 0.5F;
  return truncateToInt32(down);
}

int32_t myClamp(int32_t value, int32_t low, int32_t high) {
  if (value < low) return low;
  if (value > high) return high;
  return value;
}

bool isWithinBounds(int32_t x, int32_t y, int32_t width, int32_t height) {
  return 0 <= x && x < width && 0 <= y && y < height;
}

// --- Pictures ---------------------------------------------------------------------------------

int channelsOfColour(int colour) {
  if (colour == 0) return 1;
  if (colour == 1 || colour == 2) return 3;
  return 4;
}

QzPicture makeQzPicture(int32_t width, int32_t height, int32_t colour,
                        const std::vector<uint8_t>& bytes) {
  QzPicture picture;
  picture.width = width;
  picture.height = height;
  picture.colour = colour;
  picture.channels = channelsOfColour(colour);
  const size_t count = notNegative(int64_t{width} * height * picture.channels);
  for (size_t i = 0; i < count; ++i) picture.data.push_back(i < bytes.size() ? bytes[i] : 0);
  return picture;
}

Grey cvtGray(const QzPicture& picture) {
  Grey grey;
  grey.width = picture.width;
  grey.height = picture.height;
  const size_t count = notNegative(int64_t{picture.width} * picture.height);
  for (size_t i = 0; i < count; ++i) {
    const size_t s = i * static_cast<size_t>(picture.channels);
    if (picture.colour == 0) {
      grey.pixels.push_back(picture.data[s]);
      continue;
    }
    const float first = static_cast<float>(picture.data[s]);
    const float second = static_cast<float>(picture.data[s + 1]);
    const float third = static_cast<float>(picture.data[s + 2]);
    const bool blueFirst = picture.colour == 1 || picture.colour == 3;
    const float a = (blueFirst ? 0.114F : 0.299F) * first;
    const float b = 0.587F * second;
    const float c = (blueFirst ? 0.299F : 0.114F) * third;
    const float ab = a + b;
    const float value = ab + c;
    grey.pixels.push_back(static_cast<uint8_t>(myRound(value) & 255));
  }
  return grey;
}

// --- Threshold and gamma ----------------------------------------------------------------------

int32_t threshGlobalMoments(const Grey& picture) {
  std::array<int32_t, 256> counts{};
  for (uint8_t level : picture.pixels) ++counts[level];
  return threshOfHistogram(counts, static_cast<int32_t>(picture.pixels.size()));
}

int32_t threshOfHistogram(const std::array<int32_t, 256>& counts, int32_t total) {
  const float n = static_cast<float>(total);
  std::array<float, 256> p{};
  for (size_t k = 0; k < 256; ++k) p[k] = static_cast<float>(counts[k]) / n;

  const float m0 = 1.0F;
  float m1 = 0;
  float m2 = 0;
  float m3 = 0;
  for (int k = 0; k < 256; ++k) {
    const float share = p[static_cast<size_t>(k)];
    const float first = static_cast<float>(k) * share;
    m1 = first + m1;
    const float second = static_cast<float>(k * k) * share;
    m2 = second + m2;
    const float third = static_cast<float>(k * k * k) * share;
    m3 = third + m3;
  }
  const float m0m2 = m0 * m2;
  const float m1m1 = m1 * m1;
  const float cd = m0m2 + (-m1m1);

  const float minusM2M2 = (-m2) * m2;
  const float m1m3 = m1 * m3;
  const float c0Numerator = minusM2M2 + m1m3;
  const float c0 = c0Numerator / cd;

  const float minusM0M3 = m0 * (-m3);
  const float m2m1 = m2 * m1;
  const float c1Numerator = minusM0M3 + m2m1;
  const float c1 = c1Numerator / cd;

  const float c1c1 = c1 * c1;
  const double minus4c0 = static_cast<double>(c0) * -4.0;
  const double discWide = static_cast<double>(c1c1) + minus4c0;
  const float disc = static_cast<float>(discWide);
  if (isNanOrPositiveInfinity(disc)) return 128;
  if (disc < 0) return 128;

  const float root = mySqrt(disc);
  const float z0Sum = -c1 - root;
  const float z0 = 0.5F * z0Sum;
  const float z1Sum = -c1 + root;
  const float z1 = 0.5F * z1Sum;
  const float p0Numerator = z1 - m1;
  const float p0Denominator = z1 - z0;
  const float p0 = p0Numerator / p0Denominator;

  float sum = 0;
  for (int k = 0; k < 256; ++k) {
    sum = p[static_cast<size_t>(k)] + sum;
    if (sum > p0) return k;
  }
  return -1;
}

std::array<uint8_t, 256> piecewiseGammaTable(int32_t pivot, float gammaLow, float gammaHigh) {
  std::array<uint8_t, 256> table{};
  const float low = static_cast<float>(pivot);
  const float high = static_cast<float>(255 - pivot);
  for (int32_t k = 0; k < 256; ++k) {
    int32_t entry = 0;
    if (k < pivot) {
      const float quotient = static_cast<float>(k) / low;
      const float scaled = myPow(quotient, gammaLow) * low;
      entry = truncateToInt32(scaled);
    } else if (pivot == 255) {
      // The upper curve shrinks to the one point 0 / 0.
      entry = 255;
    } else {
      const float quotient = static_cast<float>(k - pivot) / high;
      const float scaled = myPow(quotient, gammaHigh) * high;
      const float moved = scaled + low;
      entry = truncateToInt32(moved);
    }
    table[static_cast<size_t>(k)] = static_cast<uint8_t>(entry & 255);
  }
  return table;
}

Grey piecewiseGamma(const Grey& picture, int32_t pivot, float gammaLow, float gammaHigh) {
  const std::array<uint8_t, 256> table = piecewiseGammaTable(pivot, gammaLow, gammaHigh);
  Grey result = picture;
  for (uint8_t& level : result.pixels) level = table[level];
  return result;
}

// --- Smoothing --------------------------------------------------------------------------------

std::vector<double> gaussianKernel1D(int32_t size, double sigma) {
  std::vector<double> taps(notNegative(size), 0.0);
  const int32_t half = size / 2;
  const double rootOfTwoPi = static_cast<double>(mySqrt(6.2831855F));
  const double norm = 1.0 / (rootOfTwoPi * sigma);
  for (int32_t i = -half; i <= half; ++i) {
    const double top = -0.5 * static_cast<double>(int64_t{i} * i);
    const double bottom = sigma * sigma;
    const float a = static_cast<float>(top / bottom);
    writeTap(taps, int64_t{i} + half, norm * static_cast<double>(myExp(a)));
  }
  double sum = 0;
  for (double tap : taps) sum = sum + tap;
  for (double& tap : taps) tap = tap / sum;
  return taps;
}

Grey convolve1D(const Grey& picture, const std::vector<double>& taps, int32_t size,
                bool horizontal) {
  Grey result = picture;
  const int32_t half = size / 2;
  for (int32_t y = 0; y < picture.height; ++y) {
    for (int32_t x = 0; x < picture.width; ++x) {
      double acc = 0.0;
      for (int32_t k = -half; k <= half; ++k) {
        int32_t sx = x;
        int32_t sy = y;
        if (horizontal) {
          sx = myClamp(x + k, 0, picture.width - 1);
        } else {
          sy = myClamp(y + k, 0, picture.height - 1);
        }
        const double product =
            static_cast<double>(picture.at(sx, sy)) * readTap(taps, int64_t{k} + half);
        acc = product + acc;
      }
      result.set(x, y, static_cast<uint8_t>(myRound(static_cast<float>(acc)) & 255));
    }
  }
  return result;
}

Grey gaussianFilterFast(const Grey& picture, int32_t size, double sigma) {
  const std::vector<double> taps = gaussianKernel1D(size, sigma);
  const Grey across = convolve1D(picture, taps, size, true);
  return convolve1D(across, taps, size, false);
}

std::vector<double> gaussianKernel(int32_t size, double sigmaX, double sigmaY) {
  std::vector<double> taps(notNegative(int64_t{size} * size), 0.0);
  const int32_t half = size / 2;
  const double twoPi = 6.283185307179586;
  const double norm = 1.0 / (twoPi * sigmaX * sigmaY);
  for (int32_t y = -half; y <= half; ++y) {
    for (int32_t x = -half; x <= half; ++x) {
      const double xx = static_cast<double>(int64_t{x} * x);
      const double yy = static_cast<double>(int64_t{y} * y);
      const double left = -xx / (2 * sigmaX * sigmaX);
      const double right = yy / (2 * sigmaY * sigmaY);
      const float a = static_cast<float>(left - right);
      const int64_t position = (int64_t{y} + half) * size + (int64_t{x} + half);
      writeTap(taps, position, norm * static_cast<double>(myExp(a)));
    }
  }
  double sum = 0;
  for (double tap : taps) sum = sum + tap;
  for (double& tap : taps) tap = tap / sum;
  return taps;
}

Grey gaussianFilter(const Grey& picture, int32_t size, double sigmaX, double sigmaY) {
  Grey result = picture;
  const std::vector<double> taps = gaussianKernel(size, sigmaX, sigmaY);
  const int32_t half = size / 2;
  for (int32_t y = 0; y < picture.height; ++y) {
    for (int32_t x = 0; x < picture.width; ++x) {
      double acc = 0.0;
      for (int32_t dy = -half; dy <= half; ++dy) {
        for (int32_t dx = -half; dx <= half; ++dx) {
          const int32_t sx = myClamp(x + dx, 0, picture.width - 1);
          const int32_t sy = myClamp(y + dy, 0, picture.height - 1);
          const int64_t position = (int64_t{dy} + half) * size + (int64_t{dx} + half);
          const double product = static_cast<double>(picture.at(sx, sy)) * readTap(taps, position);
          acc = product + acc;
        }
      }
      result.set(x, y, static_cast<uint8_t>(myRound(static_cast<float>(acc)) & 255));
    }
  }
  return result;
}

Grey addWeighted(const Grey& a, const Grey& b, float amount) {
  const float wa = 1 + amount;
  const float wb = -amount;
  const float bias = 0;
  Grey result = a;
  for (size_t i = 0; i < a.pixels.size(); ++i) {
    const float sharp = static_cast<float>(a.pixels[i]) * wa;
    const float blurred = static_cast<float>(b.pixels[i]) * wb;
    const float sum = sharp + blurred;
    const float value = sum + bias;
    result.pixels[i] = static_cast<uint8_t>(myClamp(myRound(value), 0, 255));
  }
  return result;
}

Grey unsharpMask(const Grey& picture, float amountPercent, int32_t size) {
  const float amount = amountPercent / 100;
  const Grey blurred = gaussianFilterFast(picture, size, 3.0);
  return addWeighted(picture, blurred, amount);
}

// --- Error diffusion and pipelines ------------------------------------------------------------

Grey edfCus(const Grey& picture, int32_t threshold) {
  static const std::array<int, 6> tapX = {1, 2, -2, -1, 0, 1};
  static const std::array<int, 6> tapY = {0, 0, 1, 1, 1, 1};
  static const std::array<float, 6> weights = {0.505786F, -0.052926F, 0.226194F,
                                               0.128835F, 0.243191F,  -0.111078F};
  const float limit = static_cast<float>(threshold);
  const int width = picture.width;
  const int height = picture.height;
  Grey result = picture;
  std::vector<float> errors(picture.pixels.size(), 0.0F);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const float value = errors[picture.indexOf(x, y)] + static_cast<float>(picture.at(x, y));
      float e = value;
      if (value > limit) {
        result.set(x, y, 255);
        if (x >= 1 && y >= 1 && x < width - 1 && y < height - 1) {
          float s = 0;
          if (result.at(x - 1, y) == 0) s = s + 0.1427F;
          if (result.at(x, y - 1) == 0) s = s + 0.1427F;
          const float keep = 1 - s;
          const float charge = keep * -255.0F;
          e = charge + value;
        } else {
          e = value - 255.0F;
        }
      } else {
        result.set(x, y, 0);
      }
      for (size_t k = 0; k < 6; ++k) {
        const int tx = x + tapX[k];
        const int ty = y + tapY[k];
        if (!isWithinBounds(tx, ty, width, height)) continue;
        const float product = e * weights[k];
        float& entry = errors[picture.indexOf(tx, ty)];
        entry = product + entry;
      }
    }
  }
  return result;
}

TattooTrace traceTattoo(const Grey& picture, bool x8) {
  TattooTrace trace;
  trace.grey = picture;
  trace.threshold = threshGlobalMoments(trace.grey);
  if (x8) {
    trace.toned = piecewiseGamma(trace.grey, trace.threshold, 0.5F, 1.5F);
  } else {
    trace.toned = piecewiseGamma(trace.grey, 64, 0.85F, 0.7F);
  }
  trace.sharpened = unsharpMask(trace.toned, 300.0F, 11);
  trace.result = edfCus(trace.sharpened, trace.threshold);
  return trace;
}

namespace {

QzPicture runPipeline(const QzPicture& picture, bool x8) {
  const int32_t area = static_cast<int32_t>(static_cast<uint32_t>(picture.width) *
                                            static_cast<uint32_t>(picture.height));
  if (area <= 0) return picture;
  const Grey result = traceTattoo(cvtGray(picture), x8).result;
  return makeQzPicture(result.width, result.height, 0, result.pixels);
}

}  // namespace

QzPicture tattooDithering(const QzPicture& picture) { return runPipeline(picture, false); }

QzPicture tattooDitheringX8(const QzPicture& picture) { return runPipeline(picture, true); }

}  // namespace model
