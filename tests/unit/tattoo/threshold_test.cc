// SPDX-License-Identifier: Apache-2.0
// The moment-preserving threshold: rows on which single precision decides, pages
// without a solution, and agreement with a plain model.
#include "tattoo/threshold.h"

#include <array>
#include <map>
#include <vector>

#include "tests/model/tattoo.h"
#include "tests/unit/tattoo/tattoo_support.h"

namespace {

using Histogram = std::map<int, int>;  // pixels by level

model::Grey pictureOf(const Histogram& histogram) {
  model::Grey picture;
  for (const auto& [level, count] : histogram) {
    picture.pixels.insert(picture.pixels.end(), static_cast<size_t>(count),
                          static_cast<uint8_t>(level));
  }
  picture.width = static_cast<int>(picture.pixels.size());
  picture.height = 1;
  return picture;
}

int32_t thresholdOf(const Histogram& histogram) {
  return thresh_global_moments(greyImage(pictureOf(histogram)));
}

TEST(MomentThreshold, OneGreyLevelIs128) {
  for (int level = 0; level < 256; ++level) {
    for (const int count : {1, 7, 64, 1000}) {
      EXPECT_EQ(thresholdOf({{level, count}}), 128) << level << ", " << count << " pixels";
    }
  }
}

TEST(MomentThreshold, TwoLevelsHangOnSinglePrecision) {
  for (const int half : {1, 2, 50, 500, 32768}) {
    EXPECT_EQ(thresholdOf({{0, half}, {255, half}}), 255) << half;
  }
  EXPECT_EQ(thresholdOf({{0, 100}, {255, 900}}), 0);
  EXPECT_EQ(thresholdOf({{30, 3}, {200, 7}}), 30);
  EXPECT_EQ(thresholdOf({{30, 300}, {200, 700}}), 30);
}

TEST(MomentThreshold, ProductsAreRoundedBeforeTheyAreAdded) {
  // A fused multiply-add would give 0, 200 and 30.
  EXPECT_EQ(thresholdOf({{0, 2}, {255, 8}}), 255);
  EXPECT_EQ(thresholdOf({{30, 1}, {200, 9}}), 30);
  EXPECT_EQ(thresholdOf({{30, 6}, {200, 4}}), 200);
}

TEST(MomentThreshold, PowersOfALevelAreWholeNumbers) {
  // Multiplied in single precision the first would be 255 and the second 0.
  EXPECT_EQ(thresholdOf({{0, 11}, {255, 9}}), 0);
  EXPECT_EQ(thresholdOf({{0, 33}, {255, 67}}), 255);
}

TEST(MomentThreshold, ComplexSolutionIs128) {
  EXPECT_EQ(thresholdOf({{88, 2897}, {94, 5}}), 128);
  EXPECT_EQ(thresholdOf({{46, 1834}, {47, 4988}}), 128);
  EXPECT_EQ(thresholdOf({{228, 975}, {229, 2576}}), 128);
}

TEST(MomentThreshold, NearlyFlatPagesWhoseVarianceCancelsAre128) {
  EXPECT_EQ(thresholdOf({{254, 1}, {255, 1024000}}), 128);
  EXPECT_EQ(thresholdOf({{220, 1}, {242, 1023999}}), 128);
  EXPECT_EQ(thresholdOf({{185, 2556}, {186, 2}}), 128);
  EXPECT_EQ(thresholdOf({{251, 8}, {252, 1103}}), 128);
}

TEST(MomentThreshold, NoLevelAboveTheDarkShareIsMinusOne) {
  EXPECT_EQ(thresholdOf({{114, 3891}, {133, 3}}), -1);
  EXPECT_EQ(thresholdOf({{129, 4145}, {200, 3}}), -1);
  EXPECT_EQ(thresholdOf({{99, 18}, {100, 3545}}), -1) << "both levels of the solution are equal";
}

TEST(MomentThreshold, EightGreySteps) {
  EXPECT_EQ(
      thresholdOf({{0, 8}, {36, 8}, {72, 8}, {109, 8}, {145, 8}, {182, 8}, {218, 8}, {255, 8}}),
      145);
}

TEST(MomentThreshold, OnlyTheNumberOfPixelsOfALevelCounts) {
  model::Grey picture = model::photoPage(40, 30, 3);
  const int32_t threshold = thresh_global_moments(greyImage(picture));
  std::reverse(picture.pixels.begin(), picture.pixels.end());
  EXPECT_EQ(thresh_global_moments(greyImage(picture)), threshold);
  std::swap(picture.width, picture.height);
  EXPECT_EQ(thresh_global_moments(greyImage(picture)), threshold);
}

TEST(MomentThreshold, ReadsOneBytePerPixelWhateverTheChannels) {
  const Bytes bytes = {0, 0, 255, 255, 9, 9, 9, 9, 9, 9, 9, 9};
  EXPECT_EQ(thresh_global_moments(QZImage(2, 2, QZ_IMG_RGB, bytes.data())), 255);
}

TEST(MomentThreshold, NoAreaIs128) {
  EXPECT_EQ(thresh_global_moments(QZImage(0, 5, QZ_IMG_GRAY)), 128);
  EXPECT_EQ(thresh_global_moments(QZImage(5, 0, QZ_IMG_GRAY)), 128);
}

TEST(MomentThreshold, HistogramAndPixelCountAreEnough) {
  for (uint64_t seed = 1; seed <= 12; ++seed) {
    const model::Grey picture = randomPicture({113, 71}, seed);
    LevelHistogram histogram = {};
    countLevels(picture.pixels.data(), picture.pixels.size(), histogram);
    EXPECT_EQ(momentThreshold(histogram, 113 * 71), model::threshGlobalMoments(picture)) << seed;
  }
}

TEST(MomentThreshold, CountsOfPartsAddUp) {
  const model::Grey picture = model::noisePage(1, 1000, 5);
  std::array<int32_t, 256> wanted = {};
  for (const uint8_t level : picture.pixels) ++wanted[level];
  for (size_t cut = 0; cut <= 9; ++cut) {
    LevelHistogram histogram = {};
    countLevels(picture.pixels.data(), cut, histogram);
    countLevels(picture.pixels.data() + cut, picture.pixels.size() - cut, histogram);
    EXPECT_EQ(histogram, wanted) << cut;
  }
  LevelHistogram empty = {};
  countLevels(nullptr, 0, empty);
  EXPECT_EQ(empty, LevelHistogram{});
}

TEST(MomentThreshold, CountsGroupsOfAnyTwoLevels) {
  for (int first = 0; first < 256; ++first) {
    std::vector<uint8_t> pixels;
    LevelHistogram wanted = {};
    for (int second = 0; second < 256; ++second) {
      for (unsigned k = 0; k < 16; ++k) {
        const bool one = ((0x6B1DU >> k) & 1U) != 0;
        pixels.push_back(static_cast<uint8_t>(one ? first : second));
        ++wanted[pixels.back()];
      }
    }
    LevelHistogram histogram = {};
    countLevels(pixels.data(), pixels.size(), histogram);
    EXPECT_EQ(histogram, wanted) << first;
  }
}

TEST(MomentThreshold, CountsOneStrangerAmongPaperAndSolidInk) {
  for (size_t place = 0; place < 16; ++place) {
    for (int level = 0; level < 256; ++level) {
      std::array<uint8_t, 16> pixels = {0,   0,   0,   255, 255, 0, 255, 0,
                                        255, 255, 255, 0,   0,   0, 255, 0};
      pixels[place] = static_cast<uint8_t>(level);
      LevelHistogram wanted = {};
      for (const uint8_t pixel : pixels) ++wanted[pixel];
      LevelHistogram histogram = {};
      countLevels(pixels.data(), pixels.size(), histogram);
      EXPECT_EQ(histogram, wanted) << place << ' ' << level;
    }
  }
}

TEST(MomentThreshold, NearlyFullHistogramsOfLargePagesMatchTheModel) {
  // Counts beyond 2^24, where single precision cannot hold every one of them.
  const uint64_t seed = 9;
  model::Random random(seed);
  for (int round = 0; round < 3000; ++round) {
    LevelHistogram histogram = {};
    int32_t total = 0;
    const uint32_t levels = 1 + random.below(6);
    for (uint32_t i = 0; i < levels; ++i) {
      const auto count = static_cast<int32_t>(1 + random.below(1U << (3 + random.below(25))));
      histogram[random.below(256)] += count;
      total += count;
    }
    ASSERT_EQ(momentThreshold(histogram, total), model::threshOfHistogram(histogram, total))
        << "seed " << seed << ", round " << round;
  }
}

TEST(MomentThreshold, MatchesTheModelOnPatternsAndNoise) {
  for (const std::string& name : model::patternNames()) {
    for (uint64_t seed = 1; seed <= 3; ++seed) {
      const model::Grey picture = model::patternPage(name, 301, 207, seed);
      EXPECT_EQ(thresh_global_moments(greyImage(picture)), model::threshGlobalMoments(picture))
          << name << ", seed " << seed;
    }
  }
  for (uint64_t seed = 1; seed <= 40; ++seed) {
    for (const Size& size : kSizes) {
      const model::Grey picture = randomPicture(size, seed);
      ASSERT_EQ(thresh_global_moments(greyImage(picture)), model::threshGlobalMoments(picture))
          << size.width << " x " << size.height << ", seed " << seed;
    }
  }
}

TEST(MomentThreshold, MatchesTheModelOnRandomHistograms) {
  const uint64_t seed = 8;
  model::Random random(seed);
  std::map<int32_t, int> results;
  for (int round = 0; round < 12000; ++round) {
    Histogram histogram;
    const uint32_t levels = 1 + random.below(5);
    const uint32_t base = random.below(256);
    for (uint32_t i = 0; i < levels; ++i) {
      // Often close together, where the variance cancels.
      const uint32_t level = random.below(2) == 0 ? base + random.below(4) : random.below(256);
      histogram[static_cast<int>(level & 255)] +=
          static_cast<int>(1 + random.below(random.below(2) == 0 ? 12 : 700));
    }
    const model::Grey picture = pictureOf(histogram);
    const int32_t wanted = model::threshGlobalMoments(picture);
    ++results[wanted];
    ASSERT_EQ(thresh_global_moments(greyImage(picture)), wanted)
        << "seed " << seed << ", round " << round << ": " << testing::PrintToString(histogram);
  }
  EXPECT_GT(results[-1], 10);
  EXPECT_GT(results[128], 10);
  EXPECT_GT(results.size(), 200U);
}

}  // namespace
