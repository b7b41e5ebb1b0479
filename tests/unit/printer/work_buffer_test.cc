// SPDX-License-Identifier: Apache-2.0
#include "printer/work_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace {

TEST(WorkBufferTest, BlockIsZeroFilledAlsoWhenMemoryIsUsedAgain) {
  for (int round = 0; round < 3; ++round) {
    WorkBuffer buffer;
    ASSERT_TRUE(buffer.allocate(4096));
    EXPECT_TRUE(
        std::all_of(buffer.data(), buffer.data() + 4096, [](uint8_t byte) { return byte == 0; }));
    std::memset(buffer.data(), 0xFF, 4096);
  }
}

TEST(WorkBufferTest, NothingIsHeldBeforeAndAfter) {
  WorkBuffer buffer;
  EXPECT_FALSE(buffer.isAllocated());
  EXPECT_EQ(buffer.data(), nullptr);
  ASSERT_TRUE(buffer.allocate(1));
  EXPECT_TRUE(buffer.isAllocated());
  buffer.release();
  EXPECT_FALSE(buffer.isAllocated());
  EXPECT_EQ(buffer.data(), nullptr);
}

TEST(WorkBufferTest, NoBytesCanBeHad) {
  WorkBuffer buffer;
  EXPECT_TRUE(buffer.allocate(0));
  EXPECT_TRUE(buffer.isAllocated());
}

TEST(WorkBufferTest, NewBlockReplacesTheOld) {
  WorkBuffer buffer;
  ASSERT_TRUE(buffer.allocate(16));
  buffer.data()[0] = 1;
  ASSERT_TRUE(buffer.allocate(32));
  EXPECT_EQ(buffer.data()[0], 0);
}

TEST(WorkBufferTest, BlockThatNoMachineHasIsRefused) {
  WorkBuffer buffer;
  ASSERT_TRUE(buffer.allocate(16));
  EXPECT_FALSE(buffer.allocate(uint64_t{1} << 60));
  EXPECT_FALSE(buffer.isAllocated());
  EXPECT_FALSE(buffer.allocate(UINT64_MAX));
}

}  // namespace
