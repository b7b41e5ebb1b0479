// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/clean/age.h"

#include <gtest/gtest.h>

namespace {

TEST(Age, IsReadInSeconds) {
  const std::pair<const char*, int64_t> rows[] = {
      {"0", 0},        {"0d", 0},        {"90s", 90},
      {"30m", 1800},   {"12h", 43200},   {"7d", 604800},
      {"2w", 1209600}, {"036h", 129600}, {"36500d", int64_t{36500} * 86400}};
  for (const auto& [text, seconds] : rows) {
    int64_t read = -1;
    std::string error;
    EXPECT_TRUE(parseAge(text, read, error)) << text << error;
    EXPECT_EQ(read, seconds) << text;
  }
}

TEST(Age, AnythingElseIsRefusedInOneLine) {
  for (const char* text :
       {"", "7", "d", "-7d", "-0", "+7d", "7D", "7 d", " 7d", "7d ", "7dd", "7.5d", "0x7d", "7y",
        "36501d", "9223372036854775807w", "99999999999999999999d"}) {
    int64_t read = -1;
    std::string error;
    EXPECT_FALSE(parseAge(text, read, error)) << text;
    EXPECT_EQ(read, -1) << text;
    EXPECT_NE(error.find(text), std::string::npos) << error;
  }
}

}  // namespace
