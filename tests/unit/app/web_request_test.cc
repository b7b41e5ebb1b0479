// SPDX-License-Identifier: Apache-2.0
#include "app/web/request.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

namespace app {
namespace {

using testing::ElementsAre;
using testing::Pair;

TEST(WebFields, AreDecoded) {
  const auto fields = parseFields("name=a%20%C3%A4+b&copies=2&empty=");
  ASSERT_TRUE(fields);
  EXPECT_THAT(*fields, ElementsAre(Pair("copies", "2"), Pair("empty", ""), Pair("name", "a ä b")));
  EXPECT_TRUE(parseFields("")->empty());
}

TEST(WebFields, WhatIsNoListOfThemIsRefused) {
  for (const char* text : {"a", "=1", "a=%", "a=%2", "a=%zz", "a=1&a=2", "a=%0A", "a=%0d%0ab",
                           "a=%00", "a=1&&b=2", "a=%7f"})
    EXPECT_FALSE(parseFields(text)) << text;
  EXPECT_TRUE(parseFields("a=" + std::string(kMostFieldBytes - 2, 'x')));
  EXPECT_FALSE(parseFields("a=" + std::string(kMostFieldBytes - 1, 'x')));
}

TEST(WebHost, OnlyNamesThatNobodyElseCanPointHereAreOwn) {
  for (const char* host :
       {"127.0.0.1", "127.0.0.1:8631", "localhost:8631", "LOCALHOST", "[::1]:8631", "[::1]",
        "192.0.2.10:80", "studio.local:8631", "studio.local.", "print-server:8631", "print-server"})
    EXPECT_TRUE(isOwnHost(host, "print-server")) << host;
  for (const char* host : {"", ":8631", "evil.example", "1.evil.example",
                           "127.0.0.1.evil.example:8631", "localhost.evil.example", "127.1", "[::1",
                           "[evil]", ".local", "print-server.evil.example", "local"})
    EXPECT_FALSE(isOwnHost(host, "print-server")) << host;
}

TEST(WebOrigin, IsTheSameToTheLetter) {
  EXPECT_TRUE(isOwnOrigin("http://localhost:8631", "localhost:8631", false));
  EXPECT_TRUE(isOwnOrigin("https://localhost:8631", "localhost:8631", true));
  for (const char* origin :
       {"", "null", "https://localhost:8631", "http://localhost", "http://localhost:86311",
        "http://localhost:8631/", "http://127.0.0.1:8631"})
    EXPECT_FALSE(isOwnOrigin(origin, "localhost:8631", false)) << origin;
}

TEST(WebToken, WholeTokenAlone) {
  EXPECT_TRUE(isAuthorized("Bearer 0123abcd", "0123abcd"));
  EXPECT_TRUE(isAuthorized("bearer 0123abcd", "0123abcd"));
  for (const char* field : {"", "Bearer ", "Bearer 0123abc", "Bearer 0123abce", "Bearer 1123abcd",
                            "Bearer 0123abcd0", "Basic 0123abcd", "0123abcd"})
    EXPECT_FALSE(isAuthorized(field, "0123abcd")) << field;
}

TEST(WebKey, IsNotTheSameTwice) {
  std::set<std::string> keys;
  for (int i = 0; i < 100; ++i) keys.insert(randomKey());
  EXPECT_EQ(keys.size(), 100U);
  for (const std::string& key : keys) {
    EXPECT_EQ(key.size(), 32U);
    EXPECT_EQ(key.find_first_not_of("0123456789abcdef"), std::string::npos);
  }
}

}  // namespace
}  // namespace app
