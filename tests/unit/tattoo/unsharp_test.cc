// SPDX-License-Identifier: Apache-2.0
// Weighted difference and unsharp mask.
#include "tattoo/unsharp.h"

#include <climits>
#include <new>

#include "tests/model/tattoo.h"
#include "tests/unit/tattoo/tattoo_support.h"

namespace {

TEST(AddWeighted, ExtrapolatesRoundsAndClamps) {
  const QZImage sharp = greyRows(4, {100, 100, 10, 250});
  const QZImage soft = greyRows(4, {90, 101, 200, 10});
  EXPECT_EQ(bytesOf(add_Weighted(sharp, soft, 3.0F)), (Bytes{130, 97, 0, 255}));
  EXPECT_EQ(bytesOf(add_Weighted(sharp, soft, 0.25F)), (Bytes{103, 100, 0, 255}))
      << "102.5 goes up, 99.75 too";
}

TEST(AddWeighted, AmountsZeroAndMinusOnePickOneImage) {
  const QZImage sharp = greyRows(3, {1, 2, 3});
  const QZImage soft = greyRows(3, {200, 100, 0});
  EXPECT_EQ(bytesOf(add_Weighted(sharp, soft, 0.0F)), (Bytes{1, 2, 3}));
  EXPECT_EQ(bytesOf(add_Weighted(sharp, soft, -1.0F)), (Bytes{200, 100, 0}));
}

TEST(AddWeighted, KeepsTheFieldsOfTheFirstImage) {
  const Bytes first = {1, 2, 3, 4, 5, 6, 7, 8};
  const QZImage sharp(2, 1, QZ_IMG_BGRA, first.data());
  const QZImage soft = greyRows(2, {200, 100});
  const QZImage result = add_Weighted(sharp, soft, -1.0F);
  EXPECT_EQ(result.color, QZ_IMG_BGRA);
  EXPECT_EQ(result.channels, 4);
  EXPECT_EQ(bytesOf(result), (Bytes{200, 100, 3, 4, 5, 6, 7, 8}));
}

TEST(AddWeighted, ASmallerSecondImageIsNotReadPastItsEnd) {
  const QZImage sharp = greyRows(3, {1, 2, 3});
  const QZImage soft = greyRows(2, {200, 100});
  EXPECT_EQ(bytesOf(add_Weighted(sharp, soft, -1.0F)), (Bytes{200, 100, 3}));
  const QZImage none(0, 0, QZ_IMG_GRAY);
  EXPECT_EQ(bytesOf(add_Weighted(sharp, none, -1.0F)), (Bytes{1, 2, 3}));
  EXPECT_EQ(add_Weighted(none, sharp, -1.0F).byteCount(), 0);
}

TEST(AddWeighted, MatchesTheModelForEveryPairOfLevels) {
  model::Grey sharp = model::makeGrey(256, 256, 0);
  model::Grey soft = sharp;
  for (int y = 0; y < 256; ++y) {
    for (int x = 0; x < 256; ++x) {
      sharp.set(x, y, static_cast<uint8_t>(x));
      soft.set(x, y, static_cast<uint8_t>(y));
    }
  }
  for (const float amount : {3.0F, 0.0F, 0.1F, 0.5F, 1.7F, -0.3F, -1.0F, 100.0F, -5.5F, 1e9F, 1e30F,
                             -1e30F, 1e38F, kInfinity, -kInfinity, kNotANumber}) {
    EXPECT_TRUE(samePicture(model::addWeighted(sharp, soft, amount),
                            add_Weighted(greyImage(sharp), greyImage(soft), amount)))
        << amount;
  }
}

TEST(UnsharpMask, WorkedRow) {
  Bytes row(20, 100);
  std::fill(row.begin() + 10, row.end(), uint8_t{150});
  EXPECT_EQ(bytesOf(enh_unsharp_mask(greyRows(20, row), 300.0F, 11)),
            (Bytes{100, 100, 100, 100, 100, 94,  85,  73,  55,  37,
                   213, 195, 177, 165, 156, 150, 150, 150, 150, 150}));
}

TEST(UnsharpMask, StepFromBlackToWhiteStays) {
  Bytes row(20, 0);
  std::fill(row.begin() + 10, row.end(), uint8_t{255});
  EXPECT_EQ(bytesOf(enh_unsharp_mask(greyRows(20, row), 300.0F, 11)), row);
}

TEST(UnsharpMask, FlatImagesStay) {
  for (int level = 0; level < 256; ++level) {
    const model::Grey flat = model::makeGrey(15, 4, static_cast<uint8_t>(level));
    EXPECT_TRUE(samePicture(flat, enh_unsharp_mask(greyImage(flat), 300.0F, 11))) << level;
  }
}

TEST(UnsharpMask, AmountZeroOrOneTapReturnTheSource) {
  const model::Grey picture = randomPicture({40, 12}, 4);
  EXPECT_TRUE(samePicture(picture, enh_unsharp_mask(greyImage(picture), 0.0F, 11)));
  EXPECT_TRUE(samePicture(picture, enh_unsharp_mask(greyImage(picture), 300.0F, 1)));
}

TEST(UnsharpMask, MatchesTheModel) {
  for (uint64_t seed = 1; seed <= 4; ++seed) {
    for (const Size& size : kSizes) {
      for (const auto& [amount, taps] : {std::pair{300.0F, 11},
                                         {300.0F, 12},
                                         {50.0F, 5},
                                         {-50.0F, 5},
                                         {-120.0F, 3},
                                         {33.3F, 25}}) {
        const model::Grey picture = randomPicture(size, seed);
        ASSERT_TRUE(samePicture(model::unsharpMask(picture, amount, taps),
                                enh_unsharp_mask(greyImage(picture), amount, taps)))
            << amount << " per cent, " << taps << " taps, " << size.width << " x " << size.height
            << ", seed " << seed;
      }
    }
  }
}

TEST(UnsharpMask, NegativeSizesThrow) {
  const model::Grey picture = randomPicture({5, 5}, 4);
  for (const int size : {-1, -11, INT_MIN}) {
    EXPECT_THROW(enh_unsharp_mask(greyImage(picture), 300.0F, size), std::bad_alloc) << size;
  }
}

}  // namespace
