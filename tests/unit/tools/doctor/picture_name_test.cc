// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/clean/picture_name.h"

#include <gtest/gtest.h>

#include <random>

#include "printer/receipt_ep_printer.h"
#include "tests/support/files.h"
#include "tests/support/log_capture.h"
#include "tests/support/scoped_env.h"

namespace {

// Names that the filter itself gives, at many moments.
TEST(PictureName, WhatTheFilterWritesIsAPicture) {
  const ScopedEnv utc("TZ", "UTC");
  const Bytes pixels(64, 1);
  std::mt19937_64 random(20260121);
  size_t count = 0;
  for (int round = 0; round < 50; ++round) {
    const TempFolder folder;
    static std::time_t moment;  // the clock takes no state
    moment = static_cast<std::time_t>(random() % 4'000'000'000U);
    ReceiptEpPrinter printer;
    printer.setDumpFolder(folder.path()).setClock([] { return moment; });
    const MemoryStream out;
    printer.getOutputStreams() = {out.get()};
    (void)captureLog([&] { printer.printImage(pixels.data(), 8, 8, 8); });
    for (const std::string& name : folder.names()) {
      EXPECT_TRUE(isPictureName(name)) << name;
      ++count;
    }
  }
  EXPECT_EQ(count, 100U) << "an original and a dithered picture each time";
}

TEST(PictureName, NothingElseIs) {
  const std::string good = "origin_2026-1-2_3_4_5_0.bmp";
  ASSERT_TRUE(isPictureName(good));
  EXPECT_FALSE(isPictureName(""));
  for (size_t at = 0; at < good.size(); ++at) {
    EXPECT_FALSE(isPictureName(good.substr(0, at))) << at;
    EXPECT_FALSE(isPictureName(good.substr(at + 1))) << at;
    std::string changed = good;
    for (const char letter : {'x', '/', '\0', ' ', '+', '-', '.', '_'}) {
      if (letter == good[at]) continue;
      changed[at] = letter;
      EXPECT_FALSE(isPictureName(changed)) << changed;
    }
    std::string longer = good;
    for (const char letter : {'x', '/', '\0', ' ', '+', '-', '.', '_', '*'}) {
      longer.insert(at, 1, letter);
      EXPECT_FALSE(isPictureName(longer)) << longer;
      longer = good;
    }
  }
  for (const char end : {'\0', '\n', ' ', '~'}) EXPECT_FALSE(isPictureName(good + end));
}

TEST(PictureName, NumbersAreThoseOfADateAndPlain) {
  for (const char* name : {"origin_2026-12-31_23_59_60_9223372036854775807.bmp",
                           "dithered_0-1-1_0_0_0_0.bmp", "dithered_2147483647-1-1_0_0_0_0.bmp"})
    EXPECT_TRUE(isPictureName(name)) << name;
  for (const char* name :
       {"origin_2026-0-1_0_0_0_0.bmp", "origin_2026-13-1_0_0_0_0.bmp",
        "origin_2026-1-0_0_0_0_0.bmp", "origin_2026-1-32_0_0_0_0.bmp",
        "origin_2026-1-1_24_0_0_0.bmp", "origin_2026-1-1_0_60_0_0.bmp",
        "origin_2026-1-1_0_0_61_0.bmp", "origin_02026-1-1_0_0_0_0.bmp",
        "origin_2026-01-1_0_0_0_0.bmp", "origin_2026-1-1_0_0_0_00.bmp",
        "origin_2026-1-1_0_0_0_-1.bmp", "origin_2026-1-1_0_0_0_-0.bmp",
        "origin_2147483648-1-1_0_0_0_0.bmp", "origin_2026-1-1_0_0_0_9223372036854775808.bmp"})
    EXPECT_FALSE(isPictureName(name)) << name;
}

}  // namespace
