// SPDX-License-Identifier: Apache-2.0
// Every variant of the row halftones against the plain model, at sizes around
// the steps of vector code.
#include "image/halftone_rows.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "image/halftones.h"
#include "tests/model/dither.h"
#include "tests/unit/image/image_support.h"

static void PrintTo(const HalftoneVariant& variant, std::ostream* out) { *out << variant.name; }

namespace {

// The numbers of the table and one at either side.
std::vector<long> methods() {
  std::vector<long> numbers = {-1, kHalftoneTypeCount};
  for (const Halftone& halftone : halftones()) numbers.push_back(static_cast<long>(halftone.type));
  return numbers;
}
const std::vector<long> kMethods = methods();

// Runs a variant over a picture; the rows must come and go in order, each once.
Bytes halftoned(const HalftoneVariant& variant, const model::Grey& picture, long method) {
  Bytes dots;
  const auto width = static_cast<size_t>(picture.width);
  uint32_t asked = 0;
  uint32_t given = 0;
  const auto source = [&](uint32_t y, uint8_t* row) {
    EXPECT_EQ(y, asked++);
    std::memcpy(row, picture.pixels.data() + y * width, width);
  };
  const auto sink = [&](uint32_t y, const uint8_t* row) {
    EXPECT_EQ(y, given++);
    EXPECT_LE(given, asked);
    dots.insert(dots.end(), row, row + width);
  };
  variant.run(method, static_cast<uint32_t>(width), static_cast<uint32_t>(picture.height), source,
              sink);
  EXPECT_EQ(asked, static_cast<uint32_t>(picture.height));
  EXPECT_EQ(given, static_cast<uint32_t>(picture.height));
  return dots;
}

model::Grey randomPicture(int width, int height, uint64_t seed) {
  model::Random random(seed);
  model::Grey picture = model::makeGrey(width, height, 0);
  for (uint8_t& level : picture.pixels) {
    const bool extreme = seed % 2 == 0 && random.below(4) != 0;
    level = extreme ? static_cast<uint8_t>(random.below(2) * 255) : random.byte();
  }
  return picture;
}

// The model takes longest: it makes a page once for all variants.
void expectModel(const model::Grey& picture, long method) {
  const Bytes wanted = model::dither(picture, method);
  for (const HalftoneVariant& variant : halftoneVariants()) {
    ASSERT_TRUE(sameBytes(wanted, halftoned(variant, picture, method)))
        << variant.name << ", method " << method << ", " << picture.width << " x "
        << picture.height;
  }
}

TEST(HalftoneRows, MatchTheModelAtEveryWidth) {
  for (int width = 1; width <= 140; ++width) {
    SCOPED_TRACE(testing::Message() << "seed " << width);
    const model::Grey picture = randomPicture(width, 5, static_cast<uint64_t>(width));
    for (const long method : kMethods) {
      expectModel(picture, method);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(HalftoneRows, MatchTheModelAtEveryHeight) {
  for (int height = 1; height <= 100; ++height) {
    SCOPED_TRACE(testing::Message() << "seed " << height);
    const model::Grey picture =
        randomPicture(7 + height % 30, height, static_cast<uint64_t>(height));
    for (const long method : kMethods) {
      expectModel(picture, method);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(HalftoneRows, MatchTheModelOnLargerPages) {
  for (const auto& [width, height] : {std::pair{2479, 70}, {2480, 33}, {400, 400}, {1, 300}}) {
    for (uint64_t seed = 1; seed <= 2; ++seed) {
      SCOPED_TRACE(testing::Message() << "seed " << seed);
      const model::Grey picture = randomPicture(width, height, seed);
      for (const long method : kMethods) {
        expectModel(picture, method);
        if (testing::Test::HasFatalFailure()) return;
      }
    }
  }
}

TEST(HalftoneRows, MatchTheModelOnEveryFlatLevel) {
  for (int level = 0; level < 256; ++level) {
    const model::Grey picture = model::makeGrey(35, 34, static_cast<uint8_t>(level));
    for (const long method : kMethods) {
      expectModel(picture, method);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(HalftoneRows, MatchTheModelOnEveryPattern) {
  for (const std::string& name : model::patternNames()) {
    SCOPED_TRACE(name);
    const model::Grey picture = model::patternPage(name, 230, 97, 8);
    for (const long method : kMethods) {
      expectModel(picture, method);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

// Strokes here and there on blank paper: much of it receives no error and is not
// computed. Light strokes, whose errors end soon, and dark ones.
TEST(HalftoneRows, MatchTheModelOnMostlyBlankPages) {
  for (const int width : {63, 64, 65, 190, 700}) {
    for (uint64_t seed = 0; seed < 4; ++seed) {
      SCOPED_TRACE(testing::Message() << "seed " << seed);
      model::Random random(seed * 31 + static_cast<uint64_t>(width));
      model::Grey picture = model::makeGrey(width, 150, 0);
      for (int stroke = 0; stroke < 2 + width / 60; ++stroke) {
        const auto x = static_cast<int>(random.below(static_cast<uint32_t>(width)));
        const auto y = static_cast<int>(random.below(150));
        const auto level = static_cast<uint8_t>(random.below(seed % 2 == 0 ? 60 : 256));
        for (int i = x; i < std::min(width, x + 40); ++i) picture.set(i, y, level);
      }
      for (const long method : kMethods) {
        expectModel(picture, method);
        if (testing::Test::HasFatalFailure()) return;
      }
    }
  }
}

// A stroke whose errors cross the corner of blank paper into ink to its lower right, at
// the columns and rows at which vector code takes its next turn.
TEST(HalftoneRows, MatchTheModelWhereErrorsCrossBlankPaper) {
  for (const int corner : {64, 128, 192}) {
    for (int level = 1; level < 256; level += 6) {
      model::Grey picture = model::makeGrey(260, 70, 0);
      for (int y = 26; y < 40; ++y) {
        const bool above = y < 32;
        for (int x = above ? corner - 30 : corner; x < (above ? corner : 250); ++x) {
          picture.set(x, y, static_cast<uint8_t>(above ? 120 : level));
        }
      }
      SCOPED_TRACE(testing::Message() << "level " << level);
      for (const long method : kMethods) {
        expectModel(picture, method);
        if (testing::Test::HasFatalFailure()) return;
      }
    }
  }
}

class HalftoneCallbacks : public testing::TestWithParam<HalftoneVariant> {};

TEST_P(HalftoneCallbacks, NoRowsNoCalls) {
  for (const long method : kMethods) {
    int calls = 0;
    GetParam().run(
        method, 17, 0, [&](uint32_t, uint8_t*) { ++calls; },
        [&](uint32_t, const uint8_t*) { ++calls; });
    EXPECT_EQ(calls, 0);
  }
}

TEST_P(HalftoneCallbacks, EmptyRowsTouchNothing) {
  for (const long method : kMethods) {
    uint32_t handedOut = 0;
    GetParam().run(
        method, 0, 5, [](uint32_t, uint8_t*) {}, [&](uint32_t, const uint8_t*) { ++handedOut; });
    EXPECT_LE(handedOut, 5U);
  }
}

TEST_P(HalftoneCallbacks, WhatTheCallbacksThrowReachesTheCaller) {
  for (const long method : kMethods) {
    EXPECT_THROW(GetParam().run(
                     method, 9, 9, [](uint32_t, uint8_t*) { throw std::runtime_error("source"); },
                     [](uint32_t, const uint8_t*) {}),
                 std::runtime_error);
    EXPECT_THROW(GetParam().run(
                     method, 9, 9, [](uint32_t, uint8_t* row) { std::memset(row, 7, 9); },
                     [](uint32_t, const uint8_t*) { throw std::runtime_error("sink"); }),
                 std::runtime_error);
  }
}

std::string variantName(const testing::TestParamInfo<HalftoneVariant>& variant) {
  return variant.param.name;
}

INSTANTIATE_TEST_SUITE_P(Variants, HalftoneCallbacks,
                         testing::ValuesIn(halftoneVariants().begin(), halftoneVariants().end()),
                         variantName);

TEST(HalftoneVariants, ThePlainOneIsFirstAndTheLastOneIsUsed) {
  ASSERT_FALSE(halftoneVariants().empty());
  EXPECT_STREQ(halftoneVariants().front().name, "plain");
  const HalftoneVariant chosen = {"chosen", halftoneRows};
  const model::Grey picture = randomPicture(61, 47, 3);
  for (const long method : kMethods) {
    EXPECT_TRUE(sameBytes(halftoned(halftoneVariants().back(), picture, method),
                          halftoned(chosen, picture, method)));
  }
}

TEST(ThresholdPatterns, AreTheLeastWhiteLevels) {
  for (const auto& [method, pattern] :
       {std::pair{0L, kFixedPattern}, {1L, kOrderedPattern}, {7L, kBayerPattern}}) {
    for (int level = 0; level < 256; ++level) {
      const model::Grey flat = model::makeGrey(4, 4, static_cast<uint8_t>(level));
      const Bytes wanted = model::dither(flat, method);
      for (size_t i = 0; i < 16; ++i) {
        ASSERT_EQ(level >= pattern[i / 4][i % 4], wanted[i] == 1) << method << ", level " << level;
      }
    }
  }
}

}  // namespace
