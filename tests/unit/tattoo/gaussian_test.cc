// SPDX-License-Identifier: Apache-2.0
// The two blurs: taps, worked rows, borders, hostile sizes, agreement with a
// plain model.
#include "tattoo/gaussian.h"

#include <climits>
#include <cstring>
#include <new>

#include "tests/model/tattoo.h"
#include "tests/unit/tattoo/tattoo_support.h"

namespace {

constexpr double kGuard = -12345.0;

std::vector<double> taps1D(int size, double sigma) {
  std::vector<double> taps(static_cast<size_t>(size));
  generateGaussianKernel1D(size, sigma, taps.data());
  return taps;
}

// Equal bit for bit, not-a-numbers among themselves.
void expectSameTaps(const std::vector<double>& wanted, const std::vector<double>& got) {
  ASSERT_EQ(wanted.size(), got.size());
  for (size_t i = 0; i < got.size(); ++i) {
    if (wanted[i] != wanted[i] && got[i] != got[i]) continue;
    ASSERT_EQ(std::bit_cast<uint64_t>(wanted[i]), std::bit_cast<uint64_t>(got[i])) << "tap " << i;
  }
}

// ---- Taps ------------------------------------------------------------------------

TEST(GaussianTaps, ElevenTapsOfSigmaThree) {
  const std::vector<double> taps = taps1D(11, 3.0);
  const double outward[] = {0.142300460, 0.134610473, 0.113945306,
                            0.086309584, 0.058501466, 0.035482941};
  for (size_t i = 0; i < 6; ++i) {
    EXPECT_NEAR(taps[5 + i], outward[i], 5e-10) << i;
    EXPECT_EQ(taps[5 + i], taps[5 - i]) << i;
  }
}

TEST(GaussianTaps, OneTapIsOne) {
  EXPECT_EQ(taps1D(1, 3.0), (std::vector<double>{1.0}));
  EXPECT_EQ(taps1D(1, 0.01), (std::vector<double>{1.0}));
}

TEST(GaussianTaps, MatchTheModel) {
  for (int size = 1; size <= 41; ++size) {
    for (const double sigma : {0.3, 1.0, 2.5, 3.0, 10.0, 1e9, 1e-9, 0.0, -1.0}) {
      SCOPED_TRACE(testing::Message() << "size " << size << ", sigma " << sigma);
      expectSameTaps(model::gaussianKernel1D(size, sigma), taps1D(size, sigma));
      if (size > 16) continue;
      std::vector<double> square(static_cast<size_t>(size * size));
      generateGaussianKernel(size, sigma, 1.5, square.data());
      expectSameTaps(model::gaussianKernel(size, sigma, 1.5), square);
    }
  }
}

TEST(GaussianTaps, StayInsideTheirArrayAtEverySize) {
  for (int size = 0; size <= 40; ++size) {
    const auto count = static_cast<size_t>(size);
    std::vector<double> taps(count + 3, kGuard);
    generateGaussianKernel1D(size, 3.0, taps.data());
    std::vector<double> square(count * count + 50, kGuard);
    generateGaussianKernel(size, 3.0, 2.0, square.data());
    for (size_t i = count; i < taps.size(); ++i) EXPECT_EQ(taps[i], kGuard) << size;
    for (size_t i = count * count; i < square.size(); ++i) EXPECT_EQ(square[i], kGuard) << size;
    if (size > 0) {
      EXPECT_NE(taps[count - 1], kGuard) << size;
      EXPECT_NE(square[count * count - 1], kGuard) << size;
    }
  }
}

TEST(GaussianTaps, NegativeSizesWriteNoTap) {
  std::vector<double> taps(64, kGuard);
  for (const int size : {-1, -2, -3, -11, INT_MIN}) {
    generateGaussianKernel1D(size, 3.0, taps.data());
    EXPECT_EQ(taps, std::vector<double>(64, kGuard)) << size;
    generateGaussianKernel1D(size, 3.0, nullptr);
  }
  generateGaussianKernel1D(0, 3.0, nullptr);
  generateGaussianKernel(0, 3.0, 3.0, nullptr);
}

TEST(GaussianTaps, ColumnsGoWithTheFirstSigma) {
  std::vector<double> taps(9);
  generateGaussianKernel(3, 0.5, 100.0, taps.data());
  EXPECT_GT(taps[4], 2 * taps[3]) << "narrow along the row";
  EXPECT_NEAR(taps[4], taps[1], 1e-4) << "wide along the column";
}

// ---- convolve1D ------------------------------------------------------------------

TEST(Convolve1D, RepeatsTheEdgePixels) {
  const double taps[] = {0.25, 0.5, 0.25};
  EXPECT_EQ(bytesOf(convolve1D(greyRows(3, {0, 100, 200}), taps, 3, true)), (Bytes{25, 100, 175}));
  EXPECT_EQ(bytesOf(convolve1D(greyRows(1, {0, 100, 200}), taps, 3, false)), (Bytes{25, 100, 175}));
  EXPECT_EQ(bytesOf(convolve1D(greyRows(3, {0, 100, 200}), taps, 3, false)), (Bytes{0, 100, 200}));
  EXPECT_EQ(bytesOf(convolve1D(greyRows(1, {0, 100, 200}), taps, 3, true)), (Bytes{0, 100, 200}));
}

TEST(Convolve1D, TapsRunFromTheLeftAndFromTheTop) {
  const double taps[] = {1.0, 0.0, 0.0};
  const QZImage image = greyRows(3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
  EXPECT_EQ(bytesOf(convolve1D(image, taps, 3, true)), (Bytes{1, 1, 2, 4, 4, 5, 7, 7, 8}));
  EXPECT_EQ(bytesOf(convolve1D(image, taps, 3, false)), (Bytes{1, 2, 3, 1, 2, 3, 4, 5, 6}));
}

TEST(Convolve1D, RoundsAndKeepsTheLowEightBits) {
  const auto one = [](double tap, uint8_t level) {
    return convolve1D(greyRows(1, {level}), &tap, 1, true).data[0];
  };
  EXPECT_EQ(one(0.5, 5), 3) << "2.5 goes up";
  EXPECT_EQ(one(2.0, 200), 144);
  EXPECT_EQ(one(-1.0, 5), 251);
  EXPECT_EQ(one(1e30, 5), 0);
  EXPECT_EQ(one(std::numeric_limits<double>::quiet_NaN(), 5), 0);
}

TEST(Convolve1D, KeepsTheFieldsOfTheSourceAndTheBytesBehindItsPixels) {
  const Bytes bytes = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  const QZImage image(2, 2, QZ_IMG_BGR, bytes.data());
  const double none = 0.0;
  for (const bool horizontal : {true, false}) {
    const QZImage result = convolve1D(image, &none, 1, horizontal);
    EXPECT_EQ(result.color, QZ_IMG_BGR);
    EXPECT_EQ(result.channels, 3);
    EXPECT_EQ(bytesOf(result), (Bytes{0, 0, 0, 0, 5, 6, 7, 8, 9, 10, 11, 12}));
    EXPECT_EQ(bytesOf(image), bytes);
  }
}

TEST(Convolve1D, MatchesTheModelAtEverySize) {
  for (int size = 1; size <= 37; size += size < 13 ? 1 : 8) {
    const std::vector<double> taps = taps1D(size, 2.0);
    for (const Size& dimensions : kSizes) {
      const model::Grey picture = randomPicture(dimensions, static_cast<uint64_t>(size));
      for (const bool horizontal : {true, false}) {
        ASSERT_TRUE(samePicture(model::convolve1D(picture, taps, size, horizontal),
                                convolve1D(greyImage(picture), taps.data(), size, horizontal)))
            << "size " << size << ", " << dimensions.width << " x " << dimensions.height
            << (horizontal ? " rows" : " columns");
      }
    }
  }
}

TEST(Convolve1D, MatchesTheModelForAnyTaps) {
  for (uint64_t seed = 1; seed <= 20; ++seed) {
    model::Random random(seed);
    std::vector<double> taps(1 + random.below(14));
    for (double& tap : taps) tap = static_cast<double>(random.below(4001)) / 1000.0 - 2.0;
    const int size = static_cast<int>(taps.size());
    const model::Grey picture = randomPicture({47, 9}, seed);
    for (const bool horizontal : {true, false}) {
      ASSERT_TRUE(samePicture(model::convolve1D(picture, taps, size, horizontal),
                              convolve1D(greyImage(picture), taps.data(), size, horizontal)))
          << "seed " << seed;
    }
  }
}

TEST(Convolve1D, WithoutTapsEveryPixelIsZero) {
  const model::Grey picture = randomPicture({9, 5}, 4);
  for (const int size : {0, -1, -2, -11, INT_MIN}) {
    for (const bool horizontal : {true, false}) {
      EXPECT_EQ(bytesOf(convolve1D(greyImage(picture), nullptr, size, horizontal)), Bytes(45, 0))
          << size;
    }
  }
}

TEST(Convolve1D, NoAreaIsACopy) {
  const double tap = 1.0;
  for (const bool horizontal : {true, false}) {
    const QZImage result = convolve1D(QZImage(0, 7, QZ_IMG_GRAY), &tap, 1, horizontal);
    EXPECT_EQ(result.byteCount(), 0);
    EXPECT_EQ(result.height, 7);
  }
}

// ---- enh_gaussian_filter_fast ----------------------------------------------------

TEST(GaussianFilterFast, WorkedRow) {
  Bytes row(20, 100);
  std::fill(row.begin() + 10, row.end(), uint8_t{150});
  EXPECT_EQ(bytesOf(enh_gaussian_filter_fast(greyRows(20, row), 11, 3.0)),
            (Bytes{100, 100, 100, 100, 100, 102, 105, 109, 115, 121,
                   129, 135, 141, 145, 148, 150, 150, 150, 150, 150}));
  EXPECT_EQ(bytesOf(enh_gaussian_filter_fast(greyRows(1, row), 11, 3.0)),
            (Bytes{100, 100, 100, 100, 100, 102, 105, 109, 115, 121,
                   129, 135, 141, 145, 148, 150, 150, 150, 150, 150}))
      << "the column of it";
}

TEST(GaussianFilterFast, FlatImagesStay) {
  for (int level = 0; level < 256; ++level) {
    const model::Grey flat = model::makeGrey(13, 7, static_cast<uint8_t>(level));
    EXPECT_TRUE(samePicture(flat, enh_gaussian_filter_fast(greyImage(flat), 11, 3.0))) << level;
  }
}

TEST(GaussianFilterFast, OneTapIsACopy) {
  const model::Grey picture = randomPicture({33, 17}, 4);
  EXPECT_TRUE(samePicture(picture, enh_gaussian_filter_fast(greyImage(picture), 1, 3.0)));
}

TEST(GaussianFilterFast, MatchesTheModel) {
  for (uint64_t seed = 1; seed <= 4; ++seed) {
    for (const int size : {1, 2, 3, 4, 5, 10, 11, 21}) {
      for (const Size& dimensions : kSizes) {
        const model::Grey picture = randomPicture(dimensions, seed);
        const double sigma = seed == 4 ? 0.7 : 3.0;
        ASSERT_TRUE(samePicture(model::gaussianFilterFast(picture, size, sigma),
                                enh_gaussian_filter_fast(greyImage(picture), size, sigma)))
            << "size " << size << ", " << dimensions.width << " x " << dimensions.height
            << ", seed " << seed;
      }
    }
  }
}

TEST(GaussianFilterFast, HostileSizes) {
  const model::Grey picture = randomPicture({9, 5}, 4);
  const QZImage image = greyImage(picture);
  EXPECT_EQ(bytesOf(enh_gaussian_filter_fast(image, 0, 3.0)), Bytes(45, 0));
  for (const int size : {-1, -2, -11, INT_MIN}) {
    EXPECT_THROW(enh_gaussian_filter_fast(image, size, 3.0), std::bad_alloc) << size;
  }
  for (const double sigma : {0.0, -3.0, 1e-300, 1e300}) {
    EXPECT_TRUE(samePicture(model::gaussianFilterFast(picture, 5, sigma),
                            enh_gaussian_filter_fast(image, 5, sigma)))
        << sigma;
  }
  EXPECT_TRUE(samePicture(model::gaussianFilterFast(picture, 1001, 3.0),
                          enh_gaussian_filter_fast(image, 1001, 3.0)))
      << "far wider than the image";
}

// ---- enh_gaussian_filter ---------------------------------------------------------

TEST(GaussianFilter, FlatImagesStayAndTheResultIsGrey) {
  for (const int level : {0, 1, 77, 128, 254, 255}) {
    const model::Grey flat = model::makeGrey(8, 6, static_cast<uint8_t>(level));
    EXPECT_TRUE(samePicture(flat, enh_gaussian_filter(greyImage(flat), 5, 1.0, 2.0))) << level;
  }
  const Bytes bytes(12, 50);
  const QZImage result = enh_gaussian_filter(QZImage(2, 2, QZ_IMG_RGB, bytes.data()), 3, 1.0, 1.0);
  EXPECT_EQ(result.color, QZ_IMG_GRAY);
  EXPECT_EQ(bytesOf(result), (Bytes{50, 50, 50, 50}));
}

TEST(GaussianFilter, MatchesTheModel) {
  for (uint64_t seed = 1; seed <= 3; ++seed) {
    for (const int size : {1, 2, 3, 4, 5, 6, 11}) {
      for (const Size& dimensions : kSizes) {
        if (dimensions.width * dimensions.height > 500) continue;
        const model::Grey picture = randomPicture(dimensions, seed);
        ASSERT_TRUE(samePicture(model::gaussianFilter(picture, size, 3.0, 0.8),
                                enh_gaussian_filter(greyImage(picture), size, 3.0, 0.8)))
            << "size " << size << ", " << dimensions.width << " x " << dimensions.height
            << ", seed " << seed;
      }
    }
  }
}

TEST(GaussianFilter, HostileSizes) {
  const model::Grey picture = randomPicture({5, 3}, 4);
  const QZImage image = greyImage(picture);
  EXPECT_EQ(bytesOf(enh_gaussian_filter(image, 0, 3.0, 3.0)), Bytes(15, 0));
  // The square of a negative size is positive; its kernel has no position, but for
  // -1, whose half is 0 and which has one tap.
  EXPECT_TRUE(samePicture(picture, enh_gaussian_filter(image, -1, 3.0, 3.0)));
  for (const int size : {-2, -3, -11}) {
    EXPECT_EQ(bytesOf(enh_gaussian_filter(image, size, 3.0, 3.0)), Bytes(15, 0)) << size;
  }
  // Squares that wrap: to 0, and below it.
  EXPECT_EQ(bytesOf(enh_gaussian_filter(image, INT_MIN, 3.0, 3.0)), Bytes(15, 0));
  EXPECT_EQ(bytesOf(enh_gaussian_filter(image, 65536, 3.0, 3.0)), Bytes(15, 0));
  EXPECT_THROW(enh_gaussian_filter(image, 46341, 3.0, 3.0), std::bad_alloc);
}

}  // namespace
