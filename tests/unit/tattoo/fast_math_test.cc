// SPDX-License-Identifier: Apache-2.0
// The approximations: worked values, their stated accuracy, their quirks, and
// bit-exact agreement with a plain model over wide ranges.
#include "tattoo/fast_math.h"

#include <climits>
#include <cmath>
#include <limits>
#include <set>

#include "tests/model/tattoo.h"
#include "tests/unit/tattoo/tattoo_support.h"

namespace {

constexpr float kJustBelowHalf = 0.49999997F;

// Any 32 bits as a float: subnormals, infinities and not-a-numbers included.
float anyFloat(model::Random& random) {
  return std::bit_cast<float>(static_cast<uint32_t>(random.next() >> 32));
}

// From `low` to `high`, evenly by exponent.
float betweenByExponent(model::Random& random, float low, float high) {
  const uint32_t first = std::bit_cast<uint32_t>(low);
  const uint32_t last = std::bit_cast<uint32_t>(high);
  return std::bit_cast<float>(first + random.below(last - first + 1));
}

// ---- myabs, my_round, myClamp, isWithinBounds ------------------------------------

TEST(MyAbs, FlipsOnlyNegativeValues) {
  EXPECT_EQ(myabs(-2.5F), 2.5F);
  EXPECT_EQ(myabs(2.5F), 2.5F);
  EXPECT_EQ(myabs(-kInfinity), kInfinity);
  EXPECT_TRUE(sameFloat(-0.0F, myabs(-0.0F)));
  EXPECT_NE(myabs(kNotANumber), myabs(kNotANumber));
}

TEST(MyRound, HalvesGoAwayFromZero) {
  EXPECT_EQ(my_round(0.5F), 1);
  EXPECT_EQ(my_round(-0.5F), -1);
  EXPECT_EQ(my_round(2.5F), 3);
  EXPECT_EQ(my_round(-1.5F), -2);
  EXPECT_EQ(my_round(254.5F), 255);
  EXPECT_EQ(my_round(0.0F), 0);
  EXPECT_EQ(my_round(-0.0F), 0);
  EXPECT_EQ(my_round(0.4F), 0);
  EXPECT_EQ(my_round(-0.4F), 0);
}

TEST(MyRound, AddsTheHalfInSinglePrecision) {
  EXPECT_EQ(my_round(kJustBelowHalf), 1);
  EXPECT_EQ(my_round(-kJustBelowHalf), -1);
  EXPECT_EQ(my_round(8388609.0F), 8388610) << "the sum is a tie and goes to even";
}

TEST(MyRound, OutsideTheRangeIsTheSmallestInteger) {
  for (const float value : {2147483648.0F, 3e9F, -2147483904.0F, -3e9F, 1e30F, -1e30F, kInfinity,
                            -kInfinity, kNotANumber}) {
    EXPECT_EQ(my_round(value), INT_MIN) << value;
    EXPECT_EQ(truncateToInt32(value), INT_MIN) << value;
  }
  EXPECT_EQ(my_round(2147483520.0F), 2147483520);
  EXPECT_EQ(my_round(-2147483648.0F), INT_MIN);
}

TEST(MyRound, MatchesTheModel) {
  model::Random random(1);
  for (int i = 0; i < 300000; ++i) {
    const float wide = anyFloat(random);
    ASSERT_EQ(my_round(wide), model::myRound(wide)) << wide;
    const float level = static_cast<float>(random.below(1 << 20)) / 1024.0F - 512.0F;
    ASSERT_EQ(my_round(level), model::myRound(level)) << level;
  }
}

TEST(MyClamp, HoldsTheBounds) {
  EXPECT_EQ(myClamp(300, 0, 255), 255);
  EXPECT_EQ(myClamp(-7, 0, 255), 0);
  EXPECT_EQ(myClamp(255, 0, 255), 255);
  EXPECT_EQ(myClamp(0, 0, 255), 0);
  EXPECT_EQ(myClamp(17, 0, 255), 17);
  EXPECT_EQ(myClamp(INT_MIN, 0, 255), 0);
  EXPECT_EQ(myClamp(INT_MAX, 0, 255), 255);
  EXPECT_EQ(myClamp(5, 9, 3), 9) << "the lower bound is tested first";
}

TEST(IsWithinBounds, IsTrueInsideOnly) {
  EXPECT_FALSE(isWithinBounds(-1, 0, 7, 5));
  EXPECT_FALSE(isWithinBounds(7, 0, 7, 5));
  EXPECT_TRUE(isWithinBounds(0, 4, 7, 5));
  EXPECT_TRUE(isWithinBounds(6, 0, 7, 5));
  EXPECT_FALSE(isWithinBounds(0, -1, 7, 5));
  EXPECT_FALSE(isWithinBounds(0, 5, 7, 5));
  EXPECT_FALSE(isWithinBounds(0, 0, 0, 0));
  EXPECT_FALSE(isWithinBounds(INT_MIN, INT_MAX, INT_MAX, INT_MIN));
}

// ---- my_sqrt ---------------------------------------------------------------------

// Rounds of the plain iteration, or -1 when it does not end within 200.
int newtonRounds(float x) {
  float y = x / 2.0F;
  for (int round = 1; round <= 200; ++round) {
    const float n = 0.5F * (y + x / y);
    if (std::fabs(n - y) < 1e-6F) return round;
    y = n;
  }
  return -1;
}

TEST(MySqrt, SmallestSubnormalGivesTheIterateThatRepeats) {
  // Half of it is 0, so the iterates are 0 and then infinite for good.
  EXPECT_EQ(my_sqrt(std::numeric_limits<float>::denorm_min()),
            std::numeric_limits<float>::infinity());
}

TEST(MySqrt, WorkedValues) {
  EXPECT_EQ(my_sqrt(-4.0F), -1.0F);
  EXPECT_EQ(my_sqrt(0.0F), 0.0F);
  EXPECT_EQ(my_sqrt(-0.0F), 0.0F);
  EXPECT_EQ(my_sqrt(65025.0F), 255.0F);
  EXPECT_EQ(my_sqrt(6.2831855F), 2.50662851F);
}

TEST(MySqrt, StopsEarlyBelowOne) {
  EXPECT_NEAR(my_sqrt(0.0001F), 0.0100007F, 5e-8F);
  EXPECT_NEAR(my_sqrt(1e-6F), 0.00100055F, 5e-9F);
  EXPECT_NEAR(my_sqrt(1e-12F), 0.00000208F, 5e-9F);
}

TEST(MySqrt, IsAccurateAndQuickFrom1To65025) {
  double worst = 0.0;
  for (int step = 0; step <= 65024 * 4; ++step) {
    const float x = 1.0F + static_cast<float>(step) / 4.0F;
    const double exact = std::sqrt(static_cast<double>(x));
    worst = std::max(worst, std::fabs(static_cast<double>(my_sqrt(x)) - exact) / exact);
    if (step % 16 == 0) {
      const int rounds = newtonRounds(x);
      ASSERT_TRUE(rounds > 0 && rounds <= 12) << x;
    }
  }
  EXPECT_LT(worst, 7.3e-7);
}

TEST(MySqrt, NotANumberAndInfinityComeBack) {
  EXPECT_TRUE(sameFloat(kNotANumber, my_sqrt(kNotANumber)));
  EXPECT_EQ(my_sqrt(kInfinity), kInfinity);
  EXPECT_EQ(my_sqrt(-kInfinity), -1.0F);
}

TEST(MySqrt, MatchesTheModelWhereverTheIterationEnds) {
  int compared = 0;
  model::Random random(2);
  for (int i = 0; i < 200000; ++i) {
    const float x =
        i % 2 == 0 ? std::fabs(anyFloat(random)) : betweenByExponent(random, 1e-13F, 1e9F);
    if (!(x > 0.0F) || x == kInfinity || newtonRounds(x) < 0) continue;
    ++compared;
    ASSERT_TRUE(sameFloat(model::mySqrt(x), my_sqrt(x))) << x;
  }
  EXPECT_GT(compared, 150000);
}

TEST(MySqrt, EndsForEveryArgument) {
  model::Random random(3);
  for (int i = 0; i < 20000; ++i) {
    const float x = std::fabs(anyFloat(random));
    const float root = my_sqrt(x);
    if (x >= 1.0F && x < 1e36F) {
      const double exact = std::sqrt(static_cast<double>(x));
      ASSERT_NEAR(static_cast<double>(root) / exact, 1.0, 1e-6) << x;
    }
  }
}

// ---- my_exp ----------------------------------------------------------------------

TEST(MyExp, WorkedValues) {
  EXPECT_EQ(my_exp(0.0F), 1.0F);
  EXPECT_EQ(my_exp(-0.0F), 1.0F);
  EXPECT_NEAR(my_exp(10.0F), 21991.48F, 0.005F);
}

TEST(MyExp, IsAccurateUpTo5AndLowBeyond) {
  double worst = 0.0;
  for (int step = -50000; step <= 50000; ++step) {
    const float x = static_cast<float>(step) / 10000.0F;
    const double exact = std::exp(static_cast<double>(x));
    worst = std::max(worst, std::fabs(static_cast<double>(my_exp(x)) - exact) / exact);
  }
  EXPECT_LT(worst, 4.8e-7);
  const auto lowBy = [](float x) {
    return 1.0 - static_cast<double>(my_exp(x)) / std::exp(static_cast<double>(x));
  };
  EXPECT_NEAR(lowBy(8.0F), 9.4e-5, 1e-6);
  EXPECT_NEAR(lowBy(10.0F), 0.0016, 0.00005);
  EXPECT_NEAR(lowBy(20.0F), 0.44, 0.005);
  EXPECT_LT(lowBy(-20.0F), -0.7) << "the reciprocal is correspondingly high";
}

TEST(MyExp, NotANumberAndInfinities) {
  EXPECT_TRUE(sameFloat(kNotANumber, my_exp(kNotANumber)));
  EXPECT_EQ(my_exp(kInfinity), kInfinity);
  EXPECT_EQ(my_exp(-kInfinity), 0.0F);
}

TEST(MyExp, MatchesTheModel) {
  model::Random random(4);
  for (int i = 0; i < 300000; ++i) {
    const float wide = anyFloat(random);
    ASSERT_TRUE(sameFloat(model::myExp(wide), my_exp(wide))) << wide;
    const float usual = betweenByExponent(random, 1e-9F, 90.0F) * (i % 2 == 0 ? 1.0F : -1.0F);
    ASSERT_TRUE(sameFloat(model::myExp(usual), my_exp(usual))) << usual;
  }
}

// ---- my_ln -----------------------------------------------------------------------

TEST(MyLn, WorkedValues) {
  EXPECT_EQ(my_ln(1.0F), 0.0F);
  EXPECT_EQ(my_ln(0.0F), -1.0F);
  EXPECT_EQ(my_ln(-0.0F), -1.0F);
  EXPECT_EQ(my_ln(-3.0F), -1.0F);
  EXPECT_EQ(my_ln(-kInfinity), -1.0F);
  EXPECT_NEAR(my_ln(1000000.0F), 13.8605F, 0.00005F);
}

TEST(MyLn, NotANumberAndInfinityComeBack) {
  EXPECT_TRUE(sameFloat(kNotANumber, my_ln(kNotANumber)));
  EXPECT_EQ(my_ln(kInfinity), kInfinity);
}

TEST(MyLn, IsAccurateFrom0To1) {
  for (int step = 1; step <= 256; ++step) {
    const float x = static_cast<float>(step) / 256.0F;
    EXPECT_NEAR(static_cast<double>(my_ln(x)), std::log(static_cast<double>(x)), 8e-6) << x;
  }
}

TEST(MyLn, ClimbsFromFarBelowForSmallArguments) {
  int64_t rounds = 0;
  EXPECT_TRUE(sameFloat(model::myLn(1.0F / 64.0F, &rounds), my_ln(1.0F / 64.0F)));
  EXPECT_EQ(rounds, 26);
}

TEST(MyLn, MatchesTheModel) {
  model::Random random(5);
  for (int i = 0; i < 30000; ++i) {
    const float x = betweenByExponent(random, i % 2 == 0 ? 1e-3F : 1.0F, i % 2 == 0 ? 1.0F : 1e6F);
    ASSERT_TRUE(sameFloat(model::myLn(x), my_ln(x))) << x;
  }
  for (const float x : {1e-4F, 3e-5F, 1e-9F, 1e-20F, 1e-38F}) {
    EXPECT_TRUE(sameFloat(model::myLn(x), my_ln(x))) << x;
  }
  for (const float x : {-1e-45F, -1.0F, -1e30F}) EXPECT_EQ(my_ln(x), -1.0F) << x;
}

TEST(MyLn, GivesTheFirstRepeatedIterateWhenItGoesRound) {
  // Iterated plainly, with every iterate remembered.
  int cycles = 0;
  model::Random random(6);
  for (int i = 0; i < 4000; ++i) {
    const float x = betweenByExponent(random, 7.0e6F, 1e9F);
    std::set<float> seen;
    float y = (x - 1.0F) / (1.0F + x);
    float wanted = 0.0F;
    int round = 0;
    for (; round < 20000; ++round) {
      if (!seen.insert(y).second) {
        wanted = y;
        ++cycles;
        break;
      }
      const float n = y - (model::myExp(y) - x) / x;
      if (std::fabs(n - y) < 1e-6F) {
        wanted = y;
        break;
      }
      y = n;
    }
    if (round == 20000) continue;
    ASSERT_TRUE(sameFloat(wanted, my_ln(x))) << x;
  }
  EXPECT_GT(cycles, 0);
}

TEST(MyLn, EndsForVeryLargeAndVerySmallArguments) {
  EXPECT_EQ(my_ln(1e-45F), -kInfinity) << "the first step leaves the range, and the next repeats";
  for (const float x : {7.7e6F, 1e7F, 1e8F, 1e9F, 1e12F, 1e20F, 1e30F, 3.4e38F}) {
    const float logarithm = my_ln(x);
    EXPECT_GT(logarithm, 0.0F) << x;
  }
}

// ---- my_pow ----------------------------------------------------------------------

TEST(MyPow, WorkedValues) {
  EXPECT_EQ(my_pow(0.0F, 0.0F), 1.0F);
  EXPECT_EQ(my_pow(-0.0F, 0.0F), 1.0F);
  EXPECT_EQ(my_pow(0.0F, 2.0F), 0.0F);
  EXPECT_EQ(my_pow(0.0F, -1.0F), -1.0F);
  EXPECT_EQ(my_pow(0.0F, kNotANumber), -1.0F);
  EXPECT_EQ(my_pow(-2.0F, 0.5F), -1.0F);
  EXPECT_NEAR(my_pow(-2.0F, 2.0F), 0.1353F, 0.00005F);
  EXPECT_NEAR(my_pow(2.0F, 10.0F), 1023.987F, 0.0005F);
  const float justBelow = my_pow(0.140625F, 0.5F) * 128.0F;
  EXPECT_LT(justBelow, 48.0F);
  EXPECT_GT(justBelow, 47.99998F);
  EXPECT_EQ(truncateToInt32(justBelow), 47);
}

TEST(MyPow, NegativeBasesTakeTheExponentAlone) {
  EXPECT_TRUE(sameFloat(my_exp(-3.0F), my_pow(-5.0F, 3.0F)));
  EXPECT_TRUE(sameFloat(my_exp(4.0F), my_pow(-5.0F, -4.0F)));
  EXPECT_EQ(my_pow(-5.0F, kNotANumber), -1.0F);
  EXPECT_EQ(my_pow(-5.0F, kInfinity), -1.0F);
  EXPECT_EQ(my_pow(-5.0F, 3e9F), -1.0F) << "an exponent outside 32 bits";
}

TEST(MyPow, MatchesTheModel) {
  model::Random random(7);
  for (int i = 0; i < 20000; ++i) {
    const float base = betweenByExponent(random, 1e-3F, 100.0F) * (i % 8 == 0 ? -1.0F : 1.0F);
    const float exponent = i % 3 == 0 ? static_cast<float>(random.below(21)) - 10.0F
                                      : betweenByExponent(random, 1e-3F, 10.0F);
    ASSERT_TRUE(sameFloat(model::myPow(base, exponent), my_pow(base, exponent)))
        << base << " to the " << exponent;
  }
}

}  // namespace
