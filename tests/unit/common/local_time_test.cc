// SPDX-License-Identifier: Apache-2.0
#include "common/local_time.h"

#include <gtest/gtest.h>

#include <climits>
#include <limits>
#include <string>

#include "tests/support/scoped_env.h"

namespace {

TEST(LocalTimeTest, FollowsTheTimeZone) {
  const ScopedEnv zone("TZ", "TST-5:30");
  const std::tm fields = localTime(1738367999);  // 2025-01-31 23:59:59 in UTC
  EXPECT_EQ(fields.tm_year, 125);
  EXPECT_EQ(fields.tm_mon, 1);
  EXPECT_EQ(fields.tm_mday, 1);
  EXPECT_EQ(fields.tm_hour, 5);
  EXPECT_EQ(fields.tm_min, 29);
  EXPECT_EQ(fields.tm_sec, 59);
}

TEST(LocalTimeTest, FollowsAChangeOfTheTimeZone) {
  for (const int hours : {0, 3, 9}) {
    const ScopedEnv zone("TZ", "TST-" + std::to_string(hours));
    EXPECT_EQ(localTime(0).tm_hour, hours);
  }
}

TEST(LocalTimeTest, MomentBeforeTheEpoch) {
  const ScopedEnv zone("TZ", "UTC");
  const std::tm fields = localTime(-1);
  EXPECT_EQ(fields.tm_year, 69);
  EXPECT_EQ(fields.tm_sec, 59);
}

TEST(LocalTimeTest, YearIsOneThatAnIntHolds) {
  if (sizeof(std::time_t) < 8) GTEST_SKIP() << "this clock ends before the calendar";
  const ScopedEnv zone("TZ", "UTC");
  const std::time_t lastSecond = 67767976233532799;  // of the year 2147483647
  EXPECT_EQ(localTime(lastSecond).tm_year, INT_MAX - 1900);
  for (const std::time_t moment :
       {lastSecond + 1, std::time_t{67768036191676799}, std::numeric_limits<std::time_t>::max(),
        std::numeric_limits<std::time_t>::min()}) {
    const std::tm fields = localTime(moment);
    EXPECT_EQ(fields.tm_year, 0) << moment;
    EXPECT_EQ(fields.tm_mday, 0) << moment;
    EXPECT_EQ(fields.tm_sec, 0) << moment;
  }
}

}  // namespace
