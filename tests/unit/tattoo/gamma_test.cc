// SPDX-License-Identifier: Apache-2.0
// The piecewise tone curve: check rows, pivots at the ends, agreement with a
// plain model for every pivot.
#include "tattoo/gamma.h"

#include <climits>
#include <cmath>

#include "tests/model/tattoo.h"
#include "tests/unit/tattoo/tattoo_support.h"

namespace {

// The table as an image sees it.
Bytes curve(int32_t pivot, float gammaLow, float gammaHigh) {
  Bytes levels;
  for (int level = 0; level < 256; ++level) levels.push_back(static_cast<uint8_t>(level));
  QZImage image = greyRows(256, levels);
  enh_piecewise_gamma(image, pivot, gammaLow, gammaHigh);
  return bytesOf(image);
}

struct Entry {
  size_t level;
  int value;
};

void expectEntries(const Bytes& table, const std::vector<Entry>& entries) {
  for (const Entry& entry : entries) EXPECT_EQ(table[entry.level], entry.value) << entry.level;
}

TEST(PiecewiseGamma, FixedCurveOfTheTattooHalftone) {
  expectEntries(curve(64, 0.85F, 0.7F), {{0, 0},
                                         {1, 1},
                                         {2, 3},
                                         {10, 13},
                                         {32, 35},
                                         {63, 63},
                                         {64, 64},
                                         {65, 68},
                                         {100, 123},
                                         {128, 152},
                                         {192, 208},
                                         {254, 254},
                                         {255, 255}});
}

TEST(PiecewiseGamma, EntriesAreTruncated) {
  expectEntries(curve(128, 0.5F, 1.5F), {{0, 0},
                                         {1, 11},
                                         {2, 16},
                                         {18, 47},
                                         {32, 64},
                                         {64, 90},
                                         {72, 95},
                                         {127, 127},
                                         {128, 128},
                                         {129, 128},
                                         {192, 173},
                                         {254, 253},
                                         {255, 255}});
}

TEST(PiecewiseGamma, PivotMinusOneUsesTheUpperPieceEverywhere) {
  expectEntries(curve(-1, 0.5F, 1.5F), {{0, 0}, {1, 0}, {15, 2}, {63, 30}, {128, 90}, {255, 255}});
}

TEST(PiecewiseGamma, PivotZeroUsesTheUpperPieceEverywhere) {
  const Bytes table = curve(0, 0.5F, 1.5F);
  EXPECT_EQ(table, curve(0, 0.9F, 1.5F)) << "the lower exponent has no say";
  expectEntries(table, {{0, 0}, {64, 32}, {255, 255}});
}

TEST(PiecewiseGamma, PivotUpTo254KeepsBothEnds) {
  for (int32_t pivot = 0; pivot <= 254; ++pivot) {
    const Bytes table = curve(pivot, 0.5F, 1.5F);
    EXPECT_EQ(table[0], 0) << pivot;
    EXPECT_EQ(table[255], 255) << pivot;
  }
}

TEST(PiecewiseGamma, Pivot255KeepsTheLastLevel) {
  const Bytes table = curve(255, 0.5F, 1.5F);
  EXPECT_EQ(table[255], 255);
  EXPECT_EQ(table[0], 0);
  for (size_t level = 0; level < 255; ++level) {
    const double exact = std::sqrt(static_cast<double>(level) * 255.0);
    EXPECT_LE(table[level], exact + 0.001) << level;
    EXPECT_GT(table[level], exact - 1.01) << level;
  }
}

TEST(PiecewiseGamma, ProductsAreRoundedBeforeThePivotIsAdded) {
  // A fused multiply-add would give 132, 114 and 121.
  expectEntries(curve(5, 0.5F, 1.5F), {{165, 133}});
  expectEntries(curve(95, 0.5F, 1.5F), {{135, 115}});
  expectEntries(curve(103, 0.5F, 1.5F), {{141, 122}});
}

TEST(PiecewiseGamma, SeriesTermsDivideBeforeTheyMultiply) {
  // The other order would give 5, 11, 17 and 11.
  expectEntries(curve(36, 0.5F, 1.5F), {{1, 6}});
  expectEntries(curve(72, 0.5F, 1.5F), {{2, 12}});
  expectEntries(curve(108, 0.5F, 1.5F), {{3, 18}});
  expectEntries(curve(121, 0.5F, 1.5F), {{1, 10}});
}

TEST(PiecewiseGamma, TableIsWhatTheImageGets) {
  for (const int32_t pivot : {-1, 0, 77, 255}) {
    const auto table = piecewiseGammaTable(pivot, 0.85F, 0.7F);
    EXPECT_TRUE(sameBytes(Bytes(table.begin(), table.end()), curve(pivot, 0.85F, 0.7F))) << pivot;
  }
}

TEST(PiecewiseGamma, MatchesTheModelForEveryPivot) {
  struct Exponents {
    float low;
    float high;
  };
  for (const Exponents& exponents : {Exponents{0.5F, 1.5F}, Exponents{0.85F, 0.7F}}) {
    for (int32_t pivot = -3; pivot <= 258; ++pivot) {
      const auto wanted = model::piecewiseGammaTable(pivot, exponents.low, exponents.high);
      ASSERT_TRUE(sameBytes(Bytes(wanted.begin(), wanted.end()),
                            curve(pivot, exponents.low, exponents.high)))
          << "pivot " << pivot << ", exponents " << exponents.low << " and " << exponents.high;
    }
  }
}

TEST(PiecewiseGamma, MatchesTheModelForHostileArguments) {
  for (const float exponent : {0.0F, -1.0F, 2.0F, 100.0F, 1e30F, -1e30F, kInfinity, kNotANumber}) {
    for (const int32_t pivot : {-1000000, -2, 0, 128, 254, 255, 256, 300, 1000}) {
      const auto wanted = model::piecewiseGammaTable(pivot, exponent, exponent);
      ASSERT_TRUE(sameBytes(Bytes(wanted.begin(), wanted.end()), curve(pivot, exponent, exponent)))
          << "pivot " << pivot << ", exponent " << exponent;
    }
  }
  EXPECT_EQ(curve(INT_MIN, 0.5F, 1.5F).size(), 256U);
}

TEST(PiecewiseGamma, ChangesOneBytePerPixelWhateverTheChannels) {
  const Bytes bytes = {64, 64, 64, 64, 64, 64};
  QZImage image(2, 1, QZ_IMG_RGB, bytes.data());
  enh_piecewise_gamma(image, 128, 0.5F, 1.5F);
  EXPECT_EQ(bytesOf(image), (Bytes{90, 90, 64, 64, 64, 64}));
}

TEST(PiecewiseGamma, NoAreaIsLeftAlone) {
  QZImage image(0, 5, QZ_IMG_GRAY);
  enh_piecewise_gamma(image, 128, 0.5F, 1.5F);
  EXPECT_EQ(image.byteCount(), 0);
  EXPECT_EQ(image.height, 5);
}

}  // namespace
