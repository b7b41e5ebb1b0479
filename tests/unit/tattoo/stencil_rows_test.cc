// SPDX-License-Identifier: Apache-2.0
// Every variant of the stencil rows, unsharp mask and error diffusion together,
// against the plain model.
#include "tattoo/stencil_rows.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <ostream>
#include <stdexcept>
#include <string>

#include "tests/model/tattoo.h"
#include "tests/unit/tattoo/tattoo_support.h"

static void PrintTo(const StencilVariant& variant, std::ostream* out) { *out << variant.name; }

namespace {

// Runs a variant over a picture; the rows must come and go in order, each once.
Bytes stencilled(const StencilVariant& variant, const model::Grey& picture, int32_t threshold) {
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
  variant.run(threshold, static_cast<uint32_t>(width), static_cast<uint32_t>(picture.height),
              source, sink);
  EXPECT_EQ(asked, static_cast<uint32_t>(picture.height));
  EXPECT_EQ(given, static_cast<uint32_t>(picture.height));
  return dots;
}

Bytes wantedOf(const model::Grey& picture, int32_t threshold) {
  return model::edfCus(model::unsharpMask(picture, 300.0F, 11), threshold).pixels;
}

void expectOfEach(const Bytes& wanted, const model::Grey& picture, int32_t threshold) {
  for (const StencilVariant& variant : stencilVariants()) {
    ASSERT_TRUE(sameBytes(wanted, stencilled(variant, picture, threshold)))
        << variant.name << ", threshold " << threshold << ", " << picture.width << " x "
        << picture.height;
  }
}

// The model takes longest: it makes a page once for all variants.
void expectModel(const model::Grey& picture, int32_t threshold) {
  expectOfEach(wantedOf(picture, threshold), picture, threshold);
}

TEST(StencilRows, MatchTheModelAtEveryWidth) {
  for (int width = 1; width <= 120; ++width) {
    for (uint64_t seed = 0; seed < 4; ++seed) {
      SCOPED_TRACE(testing::Message() << "seed " << seed);
      expectModel(randomPicture({width, 6}, seed), 128);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(StencilRows, MatchTheModelAtEveryHeight) {
  for (int height = 1; height <= 80; ++height) {
    for (uint64_t seed = 0; seed < 4; ++seed) {
      SCOPED_TRACE(testing::Message() << "seed " << seed);
      expectModel(randomPicture({5 + height % 29, height}, seed), 100);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(StencilRows, MatchTheModelAtEveryThreshold) {
  // Sums close to a threshold, on which their order and rounding show.
  for (const char* name : {"photo", "circles", "horizontal"}) {
    const model::Grey picture = model::patternPage(name, 83, 61, 5);
    const model::Grey sharpened = model::unsharpMask(picture, 300.0F, 11);
    for (int32_t threshold = -1; threshold <= 255; ++threshold) {
      SCOPED_TRACE(name);
      expectOfEach(model::edfCus(sharpened, threshold).pixels, picture, threshold);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(StencilRows, MatchTheModelOnEveryPattern) {
  for (const std::string& name : model::patternNames()) {
    for (const int32_t threshold : {-1, 90, 128, 255}) {
      SCOPED_TRACE(name);
      expectModel(model::patternPage(name, 150, 83, 8), threshold);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(StencilRows, MatchTheModelOnFlatPagesWithOneStep) {
  // Blurred values close to a half, on which the byte hangs.
  for (int low = 0; low < 256; low += 5) {
    for (int step = 1; step <= 16; ++step) {
      if (low + step > 255) continue;
      model::Grey picture = model::makeGrey(40, 14, static_cast<uint8_t>(low));
      for (int y = 0; y < 14; ++y) {
        for (int x = 0; x < 40; ++x) {
          if (x + y > 23) picture.set(x, y, static_cast<uint8_t>(low + step));
        }
      }
      expectModel(picture, low);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(StencilRows, MatchTheModelOnTheWidestPage) {
  for (uint64_t seed = 0; seed < 2; ++seed) {
    expectModel(randomPicture({2479, 40}, seed), 128);
    if (testing::Test::HasFatalFailure()) return;
  }
}

// Errors fade into denormal numbers over some hundred blank pixels; ink here and
// there keeps vectors in which some lanes have faded and others have not. Threshold
// 0 shows the sign of the faintest error.
TEST(StencilRows, MatchTheModelWhereErrorsFadeOnBlankPaper) {
  for (uint64_t seed = 0; seed < 6; ++seed) {
    model::Random random(seed * 77 + 5);
    model::Grey picture = model::makeGrey(2200, 45, 0);
    for (int speck = 0; speck < 3 + static_cast<int>(seed) * 4; ++speck) {
      const auto x = static_cast<int>(random.below(2200));
      const auto y = static_cast<int>(random.below(45));
      const auto wide = static_cast<int>(random.below(30)) + 1;
      const uint8_t level = random.byte();
      for (int i = x; i < std::min(2200, x + wide); ++i) picture.set(i, y, level);
    }
    for (const int32_t threshold : {-1, 0, 1, 128}) {
      SCOPED_TRACE(testing::Message() << "seed " << seed);
      expectModel(picture, threshold);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

// Paper of any level with ink here and there: much of it is not blurred, and on blank
// paper not diffused. Widths whose last columns are few, and pages of few rows.
TEST(StencilRows, MatchTheModelOnPaperOfOneLevel) {
  for (const int width : {1, 63, 64, 65, 67, 128, 131, 190, 257, 700}) {
    for (const int height : {1, 2, 5, 16, 33, 120}) {
      const auto seed = static_cast<uint64_t>(width * 1000 + height);
      model::Random random(seed);
      const uint8_t paper = random.below(3) == 0 ? random.byte() : 0;
      model::Grey picture = model::makeGrey(width, height, paper);
      for (int speck = 0; speck < 1 + width * height / 9000; ++speck) {
        const auto x = static_cast<int>(random.below(static_cast<uint32_t>(width)));
        const auto y = static_cast<int>(random.below(static_cast<uint32_t>(height)));
        // Beside the end of the row, too, and at times as wide as a block of columns.
        const int wide = random.below(4) == 0 ? 64 : 1;
        for (int i = x; i < std::min(width, x + wide); ++i) picture.set(i, y, random.byte());
      }
      for (const int32_t threshold : {-1, 0, 40, 128}) {
        SCOPED_TRACE(testing::Message() << "paper " << int{paper});
        expectModel(picture, threshold);
        if (testing::Test::HasFatalFailure()) return;
      }
    }
  }
}

// The errors of ink above reach ink below through rows of blank paper that lie between
// them and that have nothing to their left.
TEST(StencilRows, MatchTheModelWhereErrorsCrossBlankPaper) {
  for (uint64_t seed = 0; seed < 6; ++seed) {
    model::Random random(seed + 11);
    model::Grey picture = model::makeGrey(1200, 70, 0);
    for (int y = 0; y < 70; ++y) {
      if (y > 10 && y < 37) continue;
      for (int x = 500; x < 760; ++x) picture.set(x, y, random.byte());
    }
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    expectModel(picture, 128);
    if (testing::Test::HasFatalFailure()) return;
  }
}

// Flat strips that end some columns before the last, in blocks of 64 columns.
TEST(StencilRows, MatchTheModelWhereTheLevelChangesBesideTheRightEdge) {
  for (int width = 129; width <= 140; ++width) {
    for (const int change : {64, 120, 127, 128}) {
      model::Grey picture = model::makeGrey(width, 20, 90);
      for (int y = 0; y < 20; ++y) {
        for (int x = change; x < width; ++x) picture.set(x, y, 203);
      }
      expectModel(picture, 128);
      if (testing::Test::HasFatalFailure()) return;
    }
  }
}

class StencilCallbacks : public testing::TestWithParam<StencilVariant> {};

TEST_P(StencilCallbacks, NoAreaGivesNoDots) {
  for (const auto& [width, height] : {std::pair{0U, 0U}, {9U, 0U}, {0U, 9U}}) {
    size_t dots = 0;
    GetParam().run(
        128, width, height, [](uint32_t, uint8_t*) {},
        [&dots, rowBytes = width](uint32_t, const uint8_t*) { dots += rowBytes; });
    EXPECT_EQ(dots, 0U);
  }
}

TEST_P(StencilCallbacks, WhatTheCallbacksThrowReachesTheCaller) {
  EXPECT_THROW(GetParam().run(
                   128, 9, 9, [](uint32_t, uint8_t*) { throw std::runtime_error("source"); },
                   [](uint32_t, const uint8_t*) {}),
               std::runtime_error);
  EXPECT_THROW(GetParam().run(
                   128, 9, 9, [](uint32_t, uint8_t* row) { std::memset(row, 7, 9); },
                   [](uint32_t, const uint8_t*) { throw std::runtime_error("sink"); }),
               std::runtime_error);
}

std::string stencilVariantName(const testing::TestParamInfo<StencilVariant>& variant) {
  return variant.param.name;
}

INSTANTIATE_TEST_SUITE_P(Variants, StencilCallbacks,
                         testing::ValuesIn(stencilVariants().begin(), stencilVariants().end()),
                         stencilVariantName);

// Rounding differences show themselves on large pages only.
class StencilRowsOnLargePages : public testing::TestWithParam<uint64_t> {
 protected:
  static void expectEveryVariant(const model::Grey& picture) {
    SCOPED_TRACE(testing::Message() << "seed " << GetParam());
    expectModel(picture, static_cast<int32_t>(100 + GetParam() % 60));
  }
};

TEST_P(StencilRowsOnLargePages, NoiseMatchesTheModel) {
  expectEveryVariant(model::noisePage(1531, 1500, GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Seeds, StencilRowsOnLargePages, testing::Values(1, 20, 303));

TEST(StencilVariants, ThePlainOneIsFirstAndTheLastOneIsUsed) {
  ASSERT_FALSE(stencilVariants().empty());
  EXPECT_STREQ(stencilVariants().front().name, "plain");
  const StencilVariant chosen = {"chosen", stencilRows};
  const model::Grey picture = model::photoPage(61, 47, 3);
  EXPECT_TRUE(sameBytes(stencilled(stencilVariants().back(), picture, 128),
                        stencilled(chosen, picture, 128)));
}

}  // namespace
