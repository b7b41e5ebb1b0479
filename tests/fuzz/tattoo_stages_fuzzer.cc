// SPDX-License-Identifier: Apache-2.0
// The first byte chooses a tattoo stage, the rest its arguments. Every stage must
// come to an end, and give what the plain model gives wherever the iterations of
// the model end.
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <vector>

#include "tattoo/error_diffusion.h"
#include "tattoo/fast_math.h"
#include "tattoo/gamma.h"
#include "tattoo/gaussian.h"
#include "tattoo/pipeline.h"
#include "tattoo/stencil_rows.h"
#include "tattoo/threshold.h"
#include "tattoo/unsharp.h"
#include "tests/fuzz/byte_feed.h"
#include "tests/model/tattoo.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

// Newton's and the fixed-point iteration end within some dozens of rounds or never.
constexpr int64_t kMostRounds = 20000;

int32_t drawThreshold(ByteFeed& feed) { return static_cast<int32_t>(feed.below(257)) - 1; }

float drawFloat(ByteFeed& feed) {
  if (feed.below(4) != 0) return std::bit_cast<float>(static_cast<uint32_t>(feed.next()));
  return static_cast<float>(feed.below(0x1000000)) / 256.0F - 100.0F;
}

bool sameFloat(float a, float b) {
  return (a != a && b != b) || std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b);
}

model::Grey drawPicture(ByteFeed& feed) {
  const bool wide = feed.below(8) == 0;
  const auto width = static_cast<int>(1 + feed.below(wide ? 400 : 60));
  const auto height = static_cast<int>(1 + feed.below(wide ? 5 : 40));
  model::Grey picture = model::makeGrey(width, height, 0);
  feed.fill(picture.pixels);
  const uint32_t spread = feed.below(8);
  const uint8_t base = feed.byte();
  if (spread != 0) {  // few levels, close to each other: where variances cancel
    for (uint8_t& level : picture.pixels) level = static_cast<uint8_t>(base + level % (2 * spread));
  }
  for (uint32_t spots = feed.below(5); spots > 0; --spots) {
    picture.pixels[feed.below(static_cast<uint32_t>(picture.pixels.size()))] = feed.byte();
  }
  return picture;
}

QZImage imageOf(const model::Grey& picture) {
  return QZImage(picture.width, picture.height, QZ_IMG_GRAY, picture.pixels.data());
}

void requireSame(const model::Grey& wanted, const QZImage& got, const char* what) {
  require(got.width == wanted.width && got.height == wanted.height && got.channels == 1, what);
  require(std::memcmp(got.data, wanted.pixels.data(), wanted.pixels.size()) == 0, what);
}

void checkThreshold(ByteFeed& feed) {
  LevelHistogram histogram = {};
  int64_t total = 0;
  for (uint32_t levels = feed.below(256) + 1; levels > 0 && !feed.empty(); --levels) {
    const auto count = static_cast<int32_t>(feed.below(1U << (1 + feed.below(30))));
    if (total + count > INT32_MAX) break;
    histogram[feed.byte()] += count;
    total += count;
  }
  const auto count = static_cast<int32_t>(total);
  const int32_t threshold = momentThreshold(histogram, count);
  require(threshold >= -1 && threshold <= 255, "a threshold of -1 to 255");
  require(threshold == model::threshOfHistogram(histogram, count), "the model's threshold");
}

void checkGamma(ByteFeed& feed) {
  const int32_t pivot = drawThreshold(feed);
  float low = 0.5F;
  float high = 1.5F;
  if (feed.below(2) != 0) {
    low = static_cast<float>(feed.below(1000)) / 200.0F;
    high = static_cast<float>(feed.below(1000)) / 200.0F;
  }
  require(piecewiseGammaTable(pivot, low, high) == model::piecewiseGammaTable(pivot, low, high),
          "the model's curve");
}

void checkMath(ByteFeed& feed) {
  const float x = drawFloat(feed);
  const float y = drawFloat(feed);
  require(sameFloat(my_exp(x), model::myExp(x)), "the model's exponential");
  require(my_round(x) == model::myRound(x), "the model's rounding");
  int64_t rounds = 0;
  const float root = my_sqrt(x);
  const float wantedRoot = model::mySqrt(x, &rounds, kMostRounds);
  if (rounds < kMostRounds) require(sameFloat(root, wantedRoot), "the model's square root");
  const float logarithm = my_ln(x);
  const float wantedLogarithm = model::myLn(x, &rounds, kMostRounds);
  if (rounds < kMostRounds) {
    require(sameFloat(logarithm, wantedLogarithm), "the model's logarithm");
    require(sameFloat(my_pow(x, y), model::myPow(x, y)), "the model's power");
  }
}

void checkBlur(ByteFeed& feed) {
  const model::Grey picture = drawPicture(feed);
  const auto size = static_cast<int32_t>(feed.below(16));
  const double sigma = 0.1 + feed.below(1000) / 50.0;
  requireSame(model::gaussianFilterFast(picture, size, sigma),
              enh_gaussian_filter_fast(imageOf(picture), size, sigma), "the model's blur");
  const double other = 0.1 + feed.below(1000) / 50.0;
  const int32_t small = size % 8;
  requireSame(model::gaussianFilter(picture, small, sigma, other),
              enh_gaussian_filter(imageOf(picture), small, sigma, other),
              "the model's direct blur");
  const auto percent = static_cast<float>(feed.below(1200)) - 200.0F;
  requireSame(model::unsharpMask(picture, percent, size),
              enh_unsharp_mask(imageOf(picture), percent, size), "the model's unsharp mask");
}

void checkDiffusion(ByteFeed& feed) {
  const int32_t threshold = drawThreshold(feed);
  const model::Grey picture = drawPicture(feed);
  requireSame(model::edfCus(picture, threshold), edf_cus(imageOf(picture), threshold),
              "the model's error diffusion");
}

void checkStencilRows(ByteFeed& feed) {
  const int32_t threshold = drawThreshold(feed);
  const model::Grey picture = drawPicture(feed);
  const std::vector<uint8_t> wanted =
      model::edfCus(model::unsharpMask(picture, 300.0F, 11), threshold).pixels;
  const auto width = static_cast<size_t>(picture.width);
  for (const StencilVariant& variant : stencilVariants()) {
    std::vector<uint8_t> dots;
    variant.run(
        threshold, static_cast<uint32_t>(picture.width), static_cast<uint32_t>(picture.height),
        [&](uint32_t y, uint8_t* row) {
          std::memcpy(row, picture.pixels.data() + y * width, width);
        },
        [&](uint32_t /*y*/, const uint8_t* row) { dots.insert(dots.end(), row, row + width); });
    require(dots == wanted, variant.name);
  }
}

void checkPipelines(ByteFeed& feed) {
  const auto colour = static_cast<int>(feed.below(6));
  const model::Grey shape = drawPicture(feed);
  std::vector<uint8_t> bytes(shape.pixels.size() * 4);
  feed.fill(bytes);
  if (colour == 0) bytes = shape.pixels;
  const model::QzPicture picture = model::makeQzPicture(shape.width, shape.height, colour, bytes);
  const QZImage image(picture.width, picture.height, static_cast<QZ_IMG_COLOR>(colour),
                      picture.data.data());
  const auto requirePicture = [](const model::QzPicture& wanted, const QZImage& got) {
    require(got.byteCount() == static_cast<int64_t>(wanted.data.size()), "as many bytes");
    require(std::memcmp(got.data, wanted.data.data(), wanted.data.size()) == 0,
            "the model's stencil");
  };
  requirePicture(model::tattooDithering(picture), qzTattooDithering(image));
  requirePicture(model::tattooDitheringX8(picture), qzTattooDitheringX8(image));
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static constexpr std::array<void (*)(ByteFeed&), 7> kChecks = {
      checkThreshold, checkGamma,       checkMath,     checkBlur,
      checkDiffusion, checkStencilRows, checkPipelines};
  ByteFeed feed({data, size});
  kChecks[feed.below(kChecks.size())](feed);
  return 0;
}
