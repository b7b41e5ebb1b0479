// SPDX-License-Identifier: Apache-2.0
// Known answers for the mathematics of the models.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "tests/model/numbers.h"
#include "tests/model/page_patterns.h"
#include "tests/model/selftest/known_answers.h"
#include "tests/model/tattoo.h"

namespace {

using namespace model;
using std::to_string;

TEST(ModelNumbers, Maths) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  EXPECT_TRUE(std::signbit(myAbs(-0.0F))) << "myAbs keeps -0";
  EXPECT_TRUE(myAbs(-2.5F) == 2.5F && myAbs(2.5F) == 2.5F) << "myAbs";

  EXPECT_EQ(mySqrt(-4), -1.0F) << "root of -4";
  EXPECT_EQ(mySqrt(0), 0.0F) << "root of 0";
  EXPECT_EQ(mySqrt(65025), 255.0F) << "root of 65025";
  EXPECT_EQ(mySqrt(6.2831855F), 2.50662851F) << "root of two pi";
  EXPECT_NEAR(static_cast<double>(mySqrt(0.0001F)), 0.0100007, 5e-8) << "root of 1e-4";
  EXPECT_NEAR(static_cast<double>(mySqrt(1e-6F)), 0.00100055, 5e-9) << "root of 1e-6";
  EXPECT_NEAR(static_cast<double>(mySqrt(1e-12F)), 0.00000208, 5e-9) << "root of 1e-12";
  EXPECT_TRUE(std::isnan(mySqrt(nan))) << "root of not-a-number";
  EXPECT_EQ(mySqrt(inf), inf) << "root of infinity";
  double worstRoot = 0;
  int64_t mostRounds = 0;
  for (float x = 1; x <= 65025; x += 0.37F) {
    int64_t rounds = 0;
    const double got = static_cast<double>(mySqrt(x, &rounds));
    const double want = std::sqrt(static_cast<double>(x));
    worstRoot = std::fmax(worstRoot, std::fabs(got / want - 1));
    if (rounds > mostRounds) mostRounds = rounds;
  }
  EXPECT_LE(mostRounds, 12) << "rounds of the root: " + to_string(mostRounds);
  EXPECT_LT(worstRoot, 7.3e-7) << "accuracy of the root";

  EXPECT_TRUE(myExp(0) == 1.0F && myExp(-0.0F) == 1.0F) << "exponential of 0";
  EXPECT_NEAR(static_cast<double>(myExp(10)), 21991.48, 0.005) << "exponential of 10";
  EXPECT_NEAR(1 - static_cast<double>(myExp(8)) / std::exp(8.0), 9.4e-5, 5e-7)
      << "exponential of 8";
  EXPECT_NEAR(1 - static_cast<double>(myExp(10)) / std::exp(10.0), 0.0016, 5e-5)
      << "exponential of 10 is low";
  EXPECT_NEAR(1 - static_cast<double>(myExp(20)) / std::exp(20.0), 0.44, 5e-3)
      << "exponential of 20 is low";
  EXPECT_TRUE(std::isnan(myExp(nan))) << "exponential of not-a-number";
  double worstExp = 0;
  for (float x = -5; x <= 5; x += 0.000173F) {
    const double ratio = static_cast<double>(myExp(x)) / std::exp(static_cast<double>(x));
    worstExp = std::fmax(worstExp, std::fabs(ratio - 1));
  }
  EXPECT_LT(worstExp, 5.7e-7) << "accuracy of the exponential";

  EXPECT_EQ(myLn(1), 0.0F) << "logarithm of 1";
  EXPECT_EQ(myLn(0), -1.0F) << "logarithm of 0";
  EXPECT_EQ(myLn(-3), -1.0F) << "logarithm of -3";
  EXPECT_NEAR(static_cast<double>(myLn(1000000)), 13.8605, 5e-5) << "logarithm of a million";
  EXPECT_TRUE(std::isnan(myLn(nan))) << "logarithm of not-a-number";
  EXPECT_EQ(myLn(inf), inf) << "logarithm of infinity";
  int64_t rounds = 0;
  myLn(1.0F / 64, &rounds);
  EXPECT_EQ(rounds, 26) << "rounds of the logarithm of 1/64";
  for (int k = 1; k <= 255; ++k) {
    const float x = static_cast<float>(k) / 255.0F;
    EXPECT_NEAR(static_cast<double>(myLn(x)), std::log(static_cast<double>(x)), 9e-6)
        << "logarithm of a level";
  }

  EXPECT_EQ(myPow(0, 0), 1.0F) << "0 to 0";
  EXPECT_EQ(myPow(0, 2), 0.0F) << "0 to 2";
  EXPECT_EQ(myPow(0, -1), -1.0F) << "0 to -1";
  EXPECT_EQ(myPow(-2, 0.5F), -1.0F) << "-2 to 0.5";
  EXPECT_NEAR(static_cast<double>(myPow(-2, 2)), 0.1353, 5e-5) << "-2 to 2";
  EXPECT_NEAR(static_cast<double>(myPow(2, 10)), 1023.987, 5e-4) << "2 to 10";
  EXPECT_EQ(myPow(-2, 3e10F), -1.0F) << "an exponent past 32 bits is not whole";
  EXPECT_EQ(myPow(-2, nan), -1.0F) << "an exponent that is not a number";
  const float short48 = myPow(0.140625F, 0.5F) * 128.0F;
  EXPECT_EQ(short48, 47.9999962F) << "a hair below 48";

  EXPECT_EQ(myRound(0.5F), 1) << "round 0.5";
  EXPECT_EQ(myRound(-0.5F), -1) << "round -0.5";
  EXPECT_EQ(myRound(254.5F), 255) << "round 254.5";
  EXPECT_EQ(myRound(2.5F), 3) << "round 2.5";
  EXPECT_EQ(myRound(-1.5F), -2) << "round -1.5";
  EXPECT_EQ(myRound(0.49999997F), 1) << "round just below a half";
  EXPECT_EQ(myRound(0.49F), 0) << "round 0.49";
  EXPECT_EQ(myRound(-0.0F), 0) << "round -0";
  EXPECT_EQ(myRound(3e9F), INT32_MIN) << "round past 32 bits";
  EXPECT_EQ(myRound(-3e9F), INT32_MIN) << "round past 32 bits";
  EXPECT_EQ(myRound(nan), INT32_MIN) << "round not-a-number";
  EXPECT_EQ(truncateToInt32(2147483520.0F), 2147483520) << "largest single in range";
  EXPECT_EQ(truncateToInt32(2147483648.0F), INT32_MIN) << "first single out of range";
  EXPECT_EQ(truncateToInt32(-2147483648.0F), INT32_MIN) << "smallest in range";

  EXPECT_EQ(myClamp(300, 0, 255), 255) << "clamp 300";
  EXPECT_EQ(myClamp(-7, 0, 255), 0) << "clamp -7";
  EXPECT_EQ(myClamp(9, 0, 255), 9) << "clamp 9";
  EXPECT_TRUE(!isWithinBounds(-1, 0, 5, 6) && !isWithinBounds(5, 0, 5, 6)) << "out of bounds";
  EXPECT_TRUE(isWithinBounds(0, 5, 5, 6) && !isWithinBounds(0, 6, 5, 6)) << "bounds";

  EXPECT_EQ(makeQzPicture(3, 2, 2, {}).data.size(), 18U) << "RGB bytes";
  EXPECT_EQ(makeQzPicture(3, 2, 7, {}).data.size(), 24U) << "unknown layout";
  const int channels[] = {1, 3, 3, 4, 4, 4};
  for (int k = 0; k < 6; ++k) EXPECT_EQ(channelsOfColour(k), channels[k]) << "channels";
  EXPECT_EQ(channelsOfColour(-1), 4) << "channels of -1";
}

}  // namespace
