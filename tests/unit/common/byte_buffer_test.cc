// SPDX-License-Identifier: Apache-2.0
#include "common/byte_buffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace {

TEST(ByteBufferTest, BlockIsZeroFilledAlsoWhenMemoryIsUsedAgain) {
  for (int round = 0; round < 3; ++round) {
    ByteBuffer buffer;
    ASSERT_TRUE(buffer.allocateZeros(4096));
    EXPECT_TRUE(
        std::all_of(buffer.data(), buffer.data() + 4096, [](uint8_t byte) { return byte == 0; }));
    std::memset(buffer.data(), 0xFF, 4096);
  }
}

TEST(ByteBufferTest, NothingIsHeldBeforeAndAfter) {
  ByteBuffer buffer;
  EXPECT_FALSE(buffer.isAllocated());
  EXPECT_EQ(buffer.data(), nullptr);
  ASSERT_TRUE(buffer.allocateZeros(1));
  EXPECT_TRUE(buffer.isAllocated());
  buffer.release();
  EXPECT_FALSE(buffer.isAllocated());
  EXPECT_EQ(buffer.data(), nullptr);
}

TEST(ByteBufferTest, NoBytesCanBeHad) {
  ByteBuffer buffer;
  EXPECT_TRUE(buffer.allocateZeros(0));
  EXPECT_TRUE(buffer.isAllocated());
}

TEST(ByteBufferTest, NewBlockReplacesTheOld) {
  ByteBuffer buffer;
  ASSERT_TRUE(buffer.allocateZeros(16));
  buffer.data()[0] = 1;
  ASSERT_TRUE(buffer.allocateZeros(32));
  EXPECT_EQ(buffer.data()[0], 0);
}

TEST(ByteBufferTest, BlockThatNoMachineHasIsRefused) {
  ByteBuffer buffer;
  ASSERT_TRUE(buffer.allocateZeros(16));
  EXPECT_FALSE(buffer.allocateZeros(uint64_t{1} << 60));
  EXPECT_FALSE(buffer.isAllocated());
  EXPECT_FALSE(buffer.allocateZeros(UINT64_MAX));
  ASSERT_TRUE(buffer.growTo(16));
  EXPECT_FALSE(buffer.growTo(uint64_t{1} << 60));
  EXPECT_FALSE(buffer.isAllocated());
  EXPECT_TRUE(buffer.growTo(16)) << "what was asked in vain is not taken to be there";
  EXPECT_TRUE(buffer.isAllocated());
}

TEST(ByteBufferTest, GrownBlockStaysUntilALargerOneIsNeeded) {
  ByteBuffer buffer;
  ASSERT_TRUE(buffer.growTo(64));
  std::memset(buffer.data(), 0x5A, 64);
  const uint8_t* block = buffer.data();
  for (const uint64_t bytes : {uint64_t{0}, uint64_t{1}, uint64_t{64}}) {
    ASSERT_TRUE(buffer.growTo(bytes));
    EXPECT_EQ(buffer.data(), block);
    EXPECT_EQ(buffer.data()[63], 0x5A);
  }
  ASSERT_TRUE(buffer.growTo(65));
  std::memset(buffer.data(), 0, 65);  // the sanitizers see a block that did not grow
}

TEST(ByteBufferTest, BlocksOfManyPagesCanBeWrittenToTheirEnd) {
  ByteBuffer buffer;
  for (const uint64_t bytes : {uint64_t{3} << 20U, (uint64_t{4} << 20U) + 1, uint64_t{9} << 20U}) {
    ASSERT_TRUE(buffer.growTo(bytes));
    std::memset(buffer.data(), 1, static_cast<size_t>(bytes));
  }
}

TEST(ByteBufferTest, ReleasedBlockDoesNotCountAsRoom) {
  ByteBuffer buffer;
  ASSERT_TRUE(buffer.growTo(32));
  buffer.release();
  ASSERT_TRUE(buffer.growTo(16));
  EXPECT_TRUE(buffer.isAllocated());
}

}  // namespace
