// SPDX-License-Identifier: Apache-2.0
#include "printer/mono_pack.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

#include "tests/model/page_patterns.h"
#include "tests/model/pages.h"
#include "tests/support/log_capture.h"
#include "tests/unit/printer/printer_fixture.h"

namespace {

using testing::ElementsAre;

constexpr uint8_t kGuard = 0xA5;

// Packs a row into a buffer between guard bytes, checks the guards, and returns
// the packed bytes.
Bytes packGuarded(const Bytes& row) {
  const size_t packed = (row.size() + 7) / 8;
  Bytes out(packed + 16, kGuard);
  EXPECT_EQ(packMonoRow({row.data(), row.size()}, out.data() + 8), packed);
  for (size_t i = 0; i < 8; ++i) {
    EXPECT_EQ(out[i], kGuard) << "before the row";
    EXPECT_EQ(out[8 + packed + i], kGuard) << "behind the row";
  }
  return {out.begin() + 8, out.end() - 8};
}

TEST(MonoRowTest, TenPixelsTakeTwoBytesLeftmostFirst) {
  EXPECT_TRUE(sameBytes(hex("80 80"), packGuarded(hex("FF 00 00 00 00 00 00 00 01 00"))));
}

TEST(MonoRowTest, EveryNonZeroLevelIsADot) {
  for (unsigned level = 0; level < 256; ++level) {
    const Bytes row(8, static_cast<uint8_t>(level));
    EXPECT_TRUE(sameBytes({level == 0 ? uint8_t{0x00} : uint8_t{0xFF}}, packGuarded(row))) << level;
  }
}

TEST(MonoRowTest, EachPixelHasItsBit) {
  for (size_t x = 0; x < 24; ++x) {
    Bytes row(24, 0);
    row[x] = 7;
    Bytes expected(3, 0);
    expected[x / 8] = static_cast<uint8_t>(0x80U >> (x % 8));
    EXPECT_TRUE(sameBytes(expected, packGuarded(row))) << "pixel " << x;
  }
}

TEST(MonoRowTest, EmptyRowWritesNothing) { EXPECT_TRUE(packGuarded({}).empty()); }

TEST(MonoRowTest, AgreesWithTheModelAtEveryWidth) {
  model::Random random(1);
  for (size_t width = 0; width <= 300; ++width) {
    Bytes row(width);
    for (uint8_t& level : row) level = random.below(3) == 0 ? random.byte() : uint8_t{0};
    const Bytes expected = model::packMono(row, static_cast<int32_t>(width), 1, 0).bytes;
    ASSERT_TRUE(sameBytes(expected, packGuarded(row))) << "width " << width;
  }
}

TEST(MonoRowTest, RowMayBePackedOntoItself) {
  model::Random random(2);
  for (size_t width = 1; width <= 130; ++width) {
    Bytes row(width);
    for (uint8_t& level : row) level = static_cast<uint8_t>(random.below(2));
    const Bytes expected = model::packMono(row, static_cast<int32_t>(width), 1, 0).bytes;
    const size_t written = packMonoRow({row.data(), row.size()}, row.data());
    row.resize(written);
    ASSERT_TRUE(sameBytes(expected, row)) << "width " << width;
  }
}

class GrayToMonoTest : public PrinterFixture {
 protected:
  // Packs a page in place and returns the packed bytes.
  Bytes pack(Bytes page, int32_t bytesPerLine, int32_t height) {
    int32_t length = 0;
    log_ = captureLog([&] { length = printer_.GrayToMono(bytesPerLine, height, page.data()); });
    EXPECT_GE(length, 0);
    page.resize(static_cast<size_t>(length));
    return page;
  }

  std::vector<std::string> log_;
};

TEST_F(GrayToMonoTest, RowsArePackedBackToBack) {
  const Bytes page =
      hex("FF 00 00 00 00 00 00 00 01 00"
          "00 01 00 00 00 00 00 00 00 01");
  EXPECT_TRUE(sameBytes(hex("80 80 40 40"), pack(page, 10, 2)));
  EXPECT_THAT(log_, ElementsAre("DEBUG:GrayToMono, bpl(10), h(2), skipPixels(0), wb(10)"));
}

TEST_F(GrayToMonoTest, SkippedPixelsAreLeftOut) {
  printer_.setSkipRightPixels(4);
  const Bytes page(12 * 3, 0xFF);
  EXPECT_TRUE(sameBytes(hex("FF FF FF"), pack(page, 12, 3)));
  EXPECT_THAT(log_, ElementsAre("DEBUG:GrayToMono, bpl(12), h(3), skipPixels(4), wb(8)"));
}

TEST_F(GrayToMonoTest, SkipOfTheWholeRowOrMoreIsIgnored) {
  const Bytes page(12, 0xFF);
  printer_.setSkipRightPixels(12);
  EXPECT_TRUE(sameBytes(hex("FF F0"), pack(page, 12, 1)));
  EXPECT_THAT(log_, ElementsAre("DEBUG:GrayToMono, bpl(12), h(1), skipPixels(12), wb(12)"));
  printer_.setSkipRightPixels(13);
  EXPECT_TRUE(sameBytes(hex("FF F0"), pack(page, 12, 1)));
  printer_.setSkipRightPixels(ULONG_MAX);
  EXPECT_TRUE(sameBytes(hex("FF F0"), pack(page, 12, 1)));
}

TEST_F(GrayToMonoTest, SkipOfAllButOnePixelLeavesOneByteARow) {
  printer_.setSkipRightPixels(11);
  EXPECT_TRUE(sameBytes(hex("80 80"), pack(Bytes(24, 1), 12, 2)));
}

TEST_F(GrayToMonoTest, PageWithoutRowsOrColumnsPacksNothing) {
  uint8_t byte = kGuard;
  captureLog([&] {
    EXPECT_EQ(printer_.GrayToMono(8, 0, &byte), 0);
    EXPECT_EQ(printer_.GrayToMono(8, -1, &byte), 0);
    EXPECT_EQ(printer_.GrayToMono(0, 3, &byte), 0);
    EXPECT_EQ(printer_.GrayToMono(-8, 3, &byte), 0);
    EXPECT_EQ(printer_.GrayToMono(8, 1, nullptr), 0);
  });
  EXPECT_EQ(byte, kGuard);
}

TEST_F(GrayToMonoTest, NegativeWidthIsReportedAsNoPixels) {
  EXPECT_TRUE(pack({kGuard}, -8, 3).empty());
  EXPECT_THAT(log_, ElementsAre("DEBUG:GrayToMono, bpl(-8), h(3), skipPixels(0), wb(0)"));
}

TEST_F(GrayToMonoTest, RandomPagesAgreeWithTheModel) {
  model::Random random(3);
  for (int round = 0; round < 300; ++round) {
    const auto bytesPerLine = static_cast<int32_t>(1 + random.below(120));
    const auto height = static_cast<int32_t>(1 + random.below(12));
    const uint64_t skip = random.below(static_cast<uint32_t>(bytesPerLine) + 4);
    Bytes page(static_cast<size_t>(bytesPerLine) * static_cast<size_t>(height));
    for (uint8_t& level : page) level = random.below(2) == 0 ? random.byte() : uint8_t{0};
    const model::PackedPage expected = model::packMono(page, bytesPerLine, height, skip);
    printer_.setSkipRightPixels(static_cast<unsigned long>(skip));
    ASSERT_TRUE(sameBytes(expected.bytes, pack(page, bytesPerLine, height))) << "round " << round;
    ASSERT_THAT(log_, ElementsAre(expected.log)) << "round " << round;
  }
}

}  // namespace
