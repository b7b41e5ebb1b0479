// SPDX-License-Identifier: Apache-2.0
// The bounds on which the whole-number blur of the stencils relies: within them its
// byte is that of the plain sum.
#include "tattoo/blur_taps.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>

#include "tests/model/page_patterns.h"

namespace {

using drav_stencil::BlurTaps;
using drav_stencil::kHalf;
using drav_stencil::kPointBits;
using drav_stencil::kScale;
using drav_stencil::kTaps;

// A level of each tap, scaled, as rows of one pixel.
struct Window {
  std::array<int16_t, kTaps> levels = {};
  std::array<const int16_t*, kTaps> rows = {};

  Window() {
    for (size_t t = 0; t < kTaps; ++t) rows[t] = &levels[t];
  }
  void set(size_t tap, int level) { levels[tap] = static_cast<int16_t>(level * kScale); }
};

// The two roundings of the plain sum to single precision, in units of the coarse sum:
// half a unit in the last place of a number below 256 each.
const double kPlainRoundings = std::ldexp(2.0, kPointBits - 17);

TEST(BlurTaps, TapsAreSymmetricAndAddUpToOne) {
  const BlurTaps taps;
  double sum = 0.0;
  for (size_t t = 0; t < kTaps; ++t) {
    EXPECT_EQ(taps.exact[t], taps.exact[kTaps - 1 - t]);
    sum += taps.exact[t];
  }
  EXPECT_NEAR(sum, 1.0, 1e-6);
}

// Levels of 255 where the whole number is above the exact tap, else 0, are off by
// most in one direction, and the other way round.
TEST(BlurTaps, BoundsHoldForTheWorstLevels) {
  const BlurTaps taps;
  double most = 0.0;
  double least = 0.0;
  for (size_t t = 0; t < kTaps; ++t) {
    const int32_t coarse = taps.coarse[t <= kHalf ? t : kTaps - 1 - t];
    const double error = 255.0 * (coarse * kScale - std::ldexp(taps.exact[t], kPointBits));
    (error > 0.0 ? most : least) += error;
  }
  EXPECT_GT(most, 0.0);
  EXPECT_LT(least, 0.0);
  const double high = std::ldexp(1.0, kPointBits - 1) - taps.bias;
  EXPECT_GE(high, most + kPlainRoundings);
  EXPECT_LT(taps.lastSure + high - least + kPlainRoundings, std::ldexp(1.0, kPointBits));
  EXPECT_GT(taps.lastSure, 1 << (kPointBits - 1)) << "hardly a level would be sure";
}

// Sums so close to a half that their rounding to single precision decides are among
// as many as these.
TEST(BlurTaps, FineSumGivesTheByteOfThePlainOne) {
  const BlurTaps taps;
  model::Random random(41);
  Window window;
  int close = 0;
  for (int round = 0; round < 1000000; ++round) {
    double sum = 0.0;
    for (size_t t = 0; t < kTaps; ++t) {
      const int level = random.byte() | 0x40;
      window.set(t, level);
      sum += level * taps.exact[t];
    }
    close += std::abs(sum - std::floor(sum) - 0.5) < std::ldexp(1.0, -17) ? 1 : 0;
    ASSERT_EQ(drav_stencil::fineLevel(window.rows.data(), 0, taps),
              drav_stencil::plainLevel(window.rows.data(), 0, taps))
        << round;
  }
  EXPECT_GT(close, 5);
}

TEST(BlurTaps, FlatLevelsStayAsTheyAre) {
  const BlurTaps taps;
  Window window;
  for (int level = 0; level < 256; ++level) {
    for (size_t t = 0; t < kTaps; ++t) window.set(t, level);
    EXPECT_EQ(drav_stencil::fineLevel(window.rows.data(), 0, taps), level);
    EXPECT_EQ(drav_stencil::plainLevel(window.rows.data(), 0, taps), level);
  }
}

}  // namespace
