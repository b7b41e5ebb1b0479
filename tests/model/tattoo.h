// SPDX-License-Identifier: Apache-2.0
// The tattoo stencil processing: its own mathematics, its stages and its two pipelines.
#ifndef TESTS_MODEL_TATTOO_H_
#define TESTS_MODEL_TATTOO_H_

#include <array>
#include <cstdint>
#include <vector>

#include "tests/model/grey.h"

namespace model {

// --- Mathematics ------------------------------------------------------------------------------
// `rounds`, where given, receives the number of rounds of the iteration, which is given up,
// unfinished, after `limit` of them.

float myAbs(float x);
float mySqrt(float x, int64_t* rounds = nullptr, int64_t limit = INT64_MAX);
float myExp(float x);
float myLn(float x, int64_t* rounds = nullptr, int64_t limit = int64_t{1} << 25);
float myPow(float base, float exponent);
int32_t myRound(float x);
int32_t myClamp(int32_t value, int32_t low, int32_t high);
bool isWithinBounds(int32_t x, int32_t y, int32_t width, int32_t height);

// --- Pictures ---------------------------------------------------------------------------------

// Channel layouts: 0 grey, 1 BGR, 2 RGB, 3 BGRA, 4 RGBA; any other value has four channels.
int channelsOfColour(int colour);

// A picture of any layout, channels interleaved, no padding.
struct QzPicture {
  int32_t width = 0;
  int32_t height = 0;
  int32_t channels = 1;
  int32_t colour = 0;
  std::vector<uint8_t> data;
};

// A picture over a copy of the first width * height * channels bytes of `bytes`; missing bytes
// read as 0.
QzPicture makeQzPicture(int32_t width, int32_t height, int32_t colour,
                        const std::vector<uint8_t>& bytes);

Grey cvtGray(const QzPicture& picture);

// --- Threshold and gamma ----------------------------------------------------------------------

// Moment-preserving threshold (W.-H. Tsai, 1985) in single precision: 0 to 255, 128 without a
// usable solution, -1 when no level passes the cut.
int32_t threshGlobalMoments(const Grey& picture);

// The same from the 256 level counts of `total` pixels.
int32_t threshOfHistogram(const std::array<int32_t, 256>& counts, int32_t total);

// Two power curves that meet at `pivot`.
std::array<uint8_t, 256> piecewiseGammaTable(int32_t pivot, float gammaLow, float gammaHigh);
Grey piecewiseGamma(const Grey& picture, int32_t pivot, float gammaLow, float gammaHigh);

// --- Smoothing --------------------------------------------------------------------------------
// For a size that is not odd and positive the taps outside the arrays read as 0.

std::vector<double> gaussianKernel1D(int32_t size, double sigma);
Grey convolve1D(const Grey& picture, const std::vector<double>& taps, int32_t size,
                bool horizontal);
Grey gaussianFilterFast(const Grey& picture, int32_t size, double sigma);
std::vector<double> gaussianKernel(int32_t size, double sigmaX, double sigmaY);
Grey gaussianFilter(const Grey& picture, int32_t size, double sigmaX, double sigmaY);
Grey addWeighted(const Grey& a, const Grey& b, float amount);
Grey unsharpMask(const Grey& picture, float amountPercent, int32_t size);

// --- Error diffusion and pipelines ------------------------------------------------------------

// Six taps, two of them negative, over a full plane of errors. The result is 0 or 255 per pixel.
Grey edfCus(const Grey& picture, int32_t threshold);

// Every intermediate of a pipeline run, for tests that look at one stage.
struct TattooTrace {
  Grey grey;
  int32_t threshold = 0;
  Grey toned;
  Grey sharpened;
  Grey result;
};
TattooTrace traceTattoo(const Grey& picture, bool x8);

QzPicture tattooDithering(const QzPicture& picture);
QzPicture tattooDitheringX8(const QzPicture& picture);

}  // namespace model

#endif  // TESTS_MODEL_TATTOO_H_
