// SPDX-License-Identifier: Apache-2.0
#include "printer/blank_lines.h"

#include <gtest/gtest.h>

#include <memory>

#include "tests/model/page_patterns.h"
#include "tests/model/tone.h"
#include "tests/support/bytes.h"

namespace {

constexpr uint64_t kRow = 6;

// Rows of kRow bytes with one dot in the last byte of each of `inked`.
Bytes pageWithInk(uint64_t height, std::initializer_list<uint64_t> inked) {
  Bytes page(kRow * height, 0);
  for (const uint64_t y : inked) page[y * kRow + kRow - 1] = 1;
  return page;
}

uint64_t front(const Bytes& page, uint64_t height, uint64_t skip = 0) {
  return dravImageCountBlankLinesFromFront(page.data(), kRow, height, skip, kRow);
}

uint64_t back(const Bytes& page, uint64_t height, uint64_t skip = 0) {
  return dravImageCountBlankLinesFromBack(page.data(), kRow, height, skip, kRow);
}

TEST(BlankLinesTest, BlankPageIsAllBlankFromBothEnds) {
  const Bytes page = pageWithInk(5, {});
  EXPECT_EQ(front(page, 5), 5U);
  EXPECT_EQ(back(page, 5), 0U);
}

TEST(BlankLinesTest, FirstRowIsNeverLookedAtFromTheFront) {
  EXPECT_EQ(front(pageWithInk(5, {0}), 5), 5U);
  EXPECT_EQ(front(pageWithInk(5, {0, 3}), 5), 2U);
  EXPECT_EQ(front(pageWithInk(5, {1}), 5), 0U);
  EXPECT_EQ(front(pageWithInk(5, {4}), 5), 3U);
}

TEST(BlankLinesTest, BackCountEndsBehindTheLastInkedRow) {
  EXPECT_EQ(back(pageWithInk(5, {0}), 5), 1U);
  EXPECT_EQ(back(pageWithInk(5, {0, 3}), 5), 4U);
  EXPECT_EQ(back(pageWithInk(5, {4}), 5), 5U);
}

TEST(BlankLinesTest, SingleRowCountsAsBlankFromTheFrontInAnyCase) {
  EXPECT_EQ(front(pageWithInk(1, {0}), 1), 1U);
  EXPECT_EQ(front(pageWithInk(1, {}), 1), 1U);
  EXPECT_EQ(back(pageWithInk(1, {0}), 1), 1U);
}

TEST(BlankLinesTest, PageWithoutRowsIsNotRead) {
  EXPECT_EQ(dravImageCountBlankLinesFromFront(nullptr, kRow, 0, 0, kRow), 0U);
  EXPECT_EQ(dravImageCountBlankLinesFromBack(nullptr, kRow, 0, 0, kRow), 0U);
}

TEST(BlankLinesTest, SkippedBytesAreNotMeasured) {
  const Bytes page = pageWithInk(5, {2});
  EXPECT_EQ(front(page, 5, 0), 1U);
  EXPECT_EQ(front(page, 5, 1), 5U);
  EXPECT_EQ(back(page, 5, 0), 3U);
  EXPECT_EQ(back(page, 5, 1), 0U);
}

TEST(BlankLinesTest, SkipOfAWholeRowMakesEveryRowBlank) {
  const Bytes page(kRow * 5, 0xFF);
  EXPECT_EQ(front(page, 5, kRow), 5U);
  EXPECT_EQ(back(page, 5, kRow), 0U);
}

TEST(BlankLinesTest, SkipBeyondTheRowIsIgnored) {
  const Bytes page = pageWithInk(5, {2});
  EXPECT_EQ(front(page, 5, kRow + 1), 1U);
  EXPECT_EQ(back(page, 5, kRow + 1), 3U);
  EXPECT_EQ(back(page, 5, UINT64_MAX), 3U);
}

TEST(BlankLinesTest, RandomPagesAgreeWithTheModelAndStayInsideTheirBytes) {
  model::Random random(20250131);
  for (int round = 0; round < 2000; ++round) {
    const uint64_t rowBytes = 1 + random.below(9);
    const uint64_t stride = random.below(4) == 0 ? random.below(12) : rowBytes;
    const uint64_t height = 1 + random.below(8);
    const uint64_t skip = random.below(12);
    // Exactly the bytes that may be read: the sanitizers see any other.
    const uint64_t size = (height - 1) * stride + rowBytes;
    const std::unique_ptr<uint8_t[]> exact(new uint8_t[size]);
    Bytes page(size, 0);
    for (uint64_t i = 0; i < size; ++i) {
      page[i] = random.below(10) == 0 ? random.byte() : uint8_t{0};
      exact[i] = page[i];
    }
    ASSERT_EQ(dravImageCountBlankLinesFromFront(exact.get(), rowBytes, height, skip, stride),
              model::countBlankFromFront(page, rowBytes, height, skip, stride))
        << "round " << round;
    ASSERT_EQ(dravImageCountBlankLinesFromBack(exact.get(), rowBytes, height, skip, stride),
              model::countBlankFromBack(page, rowBytes, height, skip, stride))
        << "round " << round;
  }
}

}  // namespace
