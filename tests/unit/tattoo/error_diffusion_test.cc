// SPDX-License-Identifier: Apache-2.0
// The stencils' error diffusion: worked pictures, border rules, and agreement
// with a plain model that keeps the whole plane of errors.
#include "tattoo/error_diffusion.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>

#include "tattoo/error_diffusion_taps.h"
#include "tests/model/tattoo.h"
#include "tests/unit/tattoo/tattoo_support.h"

namespace {

Bytes diffused(const model::Grey& picture, int threshold) {
  const QZImage result = edf_cus(greyImage(picture), threshold);
  EXPECT_EQ(result.width, picture.width);
  EXPECT_EQ(result.height, picture.height);
  EXPECT_EQ(result.channels, 1);
  EXPECT_EQ(result.color, QZ_IMG_GRAY);
  return bytesOf(result);
}

TEST(EdfCus, SharesOfWhiteOnFlatImages) {
  struct Row {
    uint8_t level;
    double percent;
  };
  for (const Row& row : {Row{32, 14.4}, Row{64, 32.3}, Row{128, 58.8}, Row{192, 81.3},
                         Row{224, 91.9}, Row{255, 100}}) {
    const Bytes result = diffused(model::makeGrey(64, 64, row.level), 128);
    const auto whites = std::count(result.begin(), result.end(), uint8_t{255});
    const auto blacks = std::count(result.begin(), result.end(), uint8_t{0});
    EXPECT_EQ(whites + blacks, 4096);
    EXPECT_NEAR(static_cast<double>(whites) / 40.96, row.percent, 0.05) << int{row.level};
  }
}

TEST(EdfCus, WeightsAreExact) {
  // For some of them one unit in the last place moves a dot on one page in many
  // only: too rare for comparisons of pages.
  struct Tap {
    int dx;
    int dy;
    const char* weight;
  };
  constexpr std::array<Tap, 6> kWanted = {{{1, 0, "0.505786"},
                                           {2, 0, "-0.052926"},
                                           {-2, 1, "0.226194"},
                                           {-1, 1, "0.128835"},
                                           {0, 1, "0.243191"},
                                           {1, 1, "-0.111078"}}};
  ASSERT_EQ(kStencilTaps.size(), kWanted.size());
  for (size_t i = 0; i < kWanted.size(); ++i) {
    EXPECT_EQ(kStencilTaps[i].dx, kWanted[i].dx) << i;
    EXPECT_EQ(kStencilTaps[i].dy, kWanted[i].dy) << i;
    EXPECT_EQ(kStencilTaps[i].weight, std::strtof(kWanted[i].weight, nullptr)) << i;
  }
  EXPECT_EQ(kDotSpread, std::strtof("0.1427", nullptr));
}

TEST(EdfCus, PagesOnWhichTheLastBitOfAWeightMovesDots) {
  for (const uint64_t seed : {15U, 26U, 139U, 387U}) {
    const model::Grey picture = model::noisePage(300, 200, seed);
    EXPECT_TRUE(samePicture(model::edfCus(picture, 128), edf_cus(greyImage(picture), 128))) << seed;
  }
}

TEST(EdfCus, FourByFourOf128) {
  EXPECT_EQ(diffused(model::makeGrey(4, 4, 128), 128),
            (Bytes{0, 255, 0, 255, 255, 0, 255, 0, 0, 255, 255, 0, 255, 0, 255, 0}));
}

TEST(EdfCus, FirstPixelCarriesNoErrorAndEqualityIsBlack) {
  for (int threshold = 0; threshold <= 255; threshold += 15) {
    for (const int level : {threshold - 1, threshold, threshold + 1}) {
      if (level < 0 || level > 255) continue;
      const Bytes result = diffused(model::makeGrey(5, 5, static_cast<uint8_t>(level)), threshold);
      EXPECT_EQ(result[0], level > threshold ? 255 : 0) << level << " against " << threshold;
    }
  }
}

TEST(EdfCus, ThresholdMinusOneTurnsBlackWhite) {
  EXPECT_EQ(diffused(model::makeGrey(1, 1, 0), -1), (Bytes{255}));
  // The first pixel's error, -255, makes its right neighbour black.
  EXPECT_EQ(diffused(model::makeGrey(2, 1, 0), -1), (Bytes{255, 0}));
}

TEST(EdfCus, Threshold255ScattersBlackOverWhite) {
  const Bytes result = diffused(model::makeGrey(64, 64, 255), 255);
  std::vector<size_t> blacks;
  for (size_t i = 0; i < result.size(); ++i) {
    if (result[i] == 0) blacks.push_back(i);
  }
  ASSERT_EQ(blacks.size(), 6U);
  EXPECT_EQ(blacks[0], 0U);
  EXPECT_EQ(blacks[1], 18U);
  EXPECT_EQ(blacks[2], 36U);
  EXPECT_EQ(blacks[3], 54U);
  EXPECT_EQ(blacks[4] % 64, 63U);
  EXPECT_EQ(blacks[5] % 64, 63U);
}

TEST(EdfCus, OneColumnPassesErrorStraightDown) {
  // By hand: 200 is white and passes -55 * 0.243191 = -13.4; 86.6 is black and
  // passes 21.1; 121.1 is black and passes 29.4; 129.4 is white.
  EXPECT_EQ(diffused(model::Grey{1, 4, {200, 100, 100, 100}}, 128), (Bytes{255, 0, 0, 255}));
}

TEST(EdfCus, OneRowPassesErrorToTheTwoOnTheRight) {
  // By hand: 100 is black and passes 50.6 and -5.3; 150.6 is white, -104.4
  // passes -52.8 and 5.5; 41.9 is black and passes 21.2; 126.7 is black.
  EXPECT_EQ(diffused(model::Grey{4, 1, {100, 100, 100, 100}}, 128), (Bytes{0, 255, 0, 0}));
}

TEST(EdfCus, WhitePixelInsideIsChargedLessBesideBlackOnes) {
  // A single 218 in the middle row between zeros: the black neighbours to the
  // left and above reduce its charge to 182.223, so its error is +35.8 and not
  // -37, and its right neighbour of 111 is lifted above the threshold.
  model::Grey picture = model::makeGrey(4, 3, 0);
  picture.set(1, 1, 218);
  picture.set(2, 1, 111);
  const Bytes inside = diffused(picture, 128);
  EXPECT_EQ(inside[5], 255);
  EXPECT_EQ(inside[6], 255) << "111 + 35.8 * 0.505786 = 129.1";
  // The same pixels on the last row are of the border: 255 is charged.
  model::Grey border = model::makeGrey(4, 2, 0);
  border.set(1, 1, 218);
  border.set(2, 1, 111);
  const Bytes outside = diffused(border, 128);
  EXPECT_EQ(outside[5], 255);
  EXPECT_EQ(outside[6], 0) << "111 - 37 * 0.505786 = 92.3";
}

TEST(EdfCus, OneBlackNeighbourIsChargedOnce) {
  // White above, black to the left: 218.6115 is charged.
  model::Grey picture = model::makeGrey(4, 3, 0);
  picture.set(1, 0, 255);  // leaves no error behind
  picture.set(1, 1, 220);
  picture.set(2, 1, 128);
  EXPECT_EQ(diffused(picture, 128)[6], 255) << "128 + 1.3885 * 0.505786 = 128.7";
  picture.set(1, 1, 218);
  EXPECT_EQ(diffused(picture, 128)[6], 0) << "128 - 0.6115 * 0.505786 = 127.7";
}

TEST(EdfCus, NoAreaGivesAnEmptyImage) {
  for (const Size& size : {Size{0, 0}, Size{0, 9}, Size{9, 0}}) {
    const QZImage result = edf_cus(QZImage(size.width, size.height, QZ_IMG_GRAY), 128);
    EXPECT_EQ(result.width, size.width);
    EXPECT_EQ(result.height, size.height);
    EXPECT_EQ(result.byteCount(), 0);
  }
}

TEST(EdfCus, ReadsOneBytePerPixelWhateverTheChannels) {
  const Bytes bytes = {200, 10, 10, 200, 1, 1, 1, 1, 1, 1, 1, 1};
  const QZImage source(2, 2, QZ_IMG_BGR, bytes.data());
  EXPECT_EQ(bytesOf(edf_cus(source, 128)), bytesOf(edf_cus(greyRows(2, {200, 10, 10, 200}), 128)));
  EXPECT_EQ(bytesOf(source), bytes);
}

TEST(EdfCus, MatchesTheModelOnManySizesAndContents) {
  for (uint64_t seed = 1; seed <= 8; ++seed) {
    for (const Size& size : kSizes) {
      const model::Grey picture = randomPicture(size, seed);
      for (const int threshold : {-1, 0, 64, 128, 145, 254, 255}) {
        ASSERT_TRUE(
            sameBytes(model::edfCus(picture, threshold).pixels, diffused(picture, threshold)))
            << "threshold " << threshold << ", " << size.width << " x " << size.height << ", seed "
            << seed;
      }
    }
  }
}

TEST(EdfCus, MatchesTheModelAtEveryThreshold) {
  const model::Grey picture = model::photoPage(37, 29, 5);
  for (int threshold = -3; threshold <= 258; ++threshold) {
    ASSERT_TRUE(sameBytes(model::edfCus(picture, threshold).pixels, diffused(picture, threshold)))
        << threshold;
  }
}

TEST(EdfCus, MatchesTheModelOnEveryPattern) {
  for (const std::string& name : model::patternNames()) {
    const model::Grey picture = model::patternPage(name, 203, 151, 4);
    EXPECT_TRUE(sameBytes(model::edfCus(picture, 128).pixels, diffused(picture, 128))) << name;
  }
}

// Rounding differences show themselves on large pages only.
class EdfCusOnLargePages : public testing::TestWithParam<uint64_t> {};

TEST_P(EdfCusOnLargePages, NoiseMatchesTheModel) {
  const model::Grey picture = model::noisePage(1600, 1500, GetParam());
  const int threshold = static_cast<int>(90 + GetParam() % 80);
  EXPECT_TRUE(sameBytes(model::edfCus(picture, threshold).pixels, diffused(picture, threshold)))
      << "seed " << GetParam();
}

TEST_P(EdfCusOnLargePages, SmoothPagesMatchTheModel) {
  const model::Grey picture = model::photoPage(1500, 1600, GetParam());
  EXPECT_TRUE(sameBytes(model::edfCus(picture, 128).pixels, diffused(picture, 128)))
      << "seed " << GetParam();
}

INSTANTIATE_TEST_SUITE_P(Seeds, EdfCusOnLargePages, testing::Values(1, 20, 303, 4004));

// The vector code forms the product of a faded error in double and rounds it once: all
// denormal errors, and of larger ones those whose share may be denormal and their
// neighbourhood.
TEST(FadedErrors, ProductInDoubleRoundedOnceIsTheSingleProduct) {
  constexpr uint32_t kLeastNormal = 0x00800000;
  constexpr uint32_t kEnd = kLeastNormal + (32U << 23);
  for (const StencilTap& tap : kStencilTaps) {
    for (uint32_t bits = 0; bits < kEnd; bits += bits < kLeastNormal + 1024 ? 1 : 509) {
      const auto error = std::bit_cast<float>(bits);
      const float single = error * tap.weight;
      const auto once =
          static_cast<float>(static_cast<double>(error) * static_cast<double>(tap.weight));
      ASSERT_EQ(std::bit_cast<uint32_t>(once), std::bit_cast<uint32_t>(single))
          << bits << " * " << tap.weight;
    }
  }
}

}  // namespace
