// SPDX-License-Identifier: Apache-2.0
// What the image holds after an allocation failed.
#include <cstdint>

#include "tests/support/failing_allocations.h"
#include "tests/unit/image/image_support.h"

#ifndef DRAV_TEST_WRAPS_ALLOCATIONS
#define DRAV_TEST_WRAPS_ALLOCATIONS 0
#endif

namespace {

#if DRAV_TEST_WRAPS_ALLOCATIONS

// Runs `action` without memory, and makes sure that it asked for some.
template <typename Action>
void withoutMemory(Action action) {
  int refused = 0;
  {
    const FailingAllocations failing(0);
    action();
    refused = failing.refused();
  }
  EXPECT_GT(refused, 0);
}

void fillSmall(PaletteImage& image) {
  fill(image, 3, 2, 8, {1, 200, 3, 129, 5, 6});
  image.SetPaletteColor(3, 1, 2, 3, 4);
}

TEST(OutOfMemory, CreateFailsWithTextAndTheNewSizes) {
  OwnedImage image;
  fillSmall(image);
  withoutMemory([&] { EXPECT_EQ(image.Create(33, 7, 4, 8), nullptr); });
  EXPECT_FALSE(image.IsValid());
  EXPECT_STREQ(image.GetLastError(), kNoMemoryText);
  EXPECT_EQ(image.GetWidth(), 33U);
  EXPECT_EQ(image.GetHeight(), 7U);
  EXPECT_EQ(image.GetBpp(), 4U);
  EXPECT_EQ(image.GetEffWidth(), 20U);
  EXPECT_EQ(image.GetBits(0), nullptr);
  EXPECT_EQ(image.GetPalette(), nullptr);
  EXPECT_EQ(image.GetPixelIndex(1, 1), 0);
}

TEST(OutOfMemory, CreateFromArrayFails) {
  OwnedImage image;
  const Bytes array(64, 1);
  withoutMemory([&] { EXPECT_FALSE(image.CreateFromArray(array.data(), 4, 4, 8, 4, false)); });
  EXPECT_STREQ(image.GetLastError(), kNoMemoryText);
  EXPECT_FALSE(image.IsValid());
}

TEST(OutOfMemory, DitherDepthAndCanvasLeaveTheImageAndTakeTheText) {
  for (int operation = 0; operation < 6; ++operation) {
    SCOPED_TRACE(operation);
    OwnedImage image;
    fillSmall(image);
    if (operation >= 4) fill(image, 3, 1, 1, {1, 0, 1});
    const Bytes before = blockOf(image);
    bool result = true;
    withoutMemory([&] {
      switch (operation) {
        case 0:
          result = image.Dither(0);
          break;
        case 1:
          result = image.Dither(-1);
          break;
        case 2:
          result = image.IncreaseBpp(24);
          break;
        case 3:
          result = image.Expand(1, 2, 3, 4, {9, 9, 9, 0});
          break;
        case 4:
          result = image.IncreaseBpp(4);
          break;
        default:
          result = image.IncreaseBpp(8);
      }
    });
    EXPECT_FALSE(result);
    EXPECT_STREQ(image.GetLastError(), kNoMemoryText);
    EXPECT_TRUE(sameBytes(before, blockOf(image)));
  }
}

// Halftoning needs more than the new image: each of its allocations may fail.
TEST(OutOfMemory, EveryAllocationOfDitherMayFail) {
  for (const uint32_t bpp : {4U, 8U, 24U}) {
    for (long method = 0; method <= 8; ++method) {
      int granted = 0;
      for (bool finished = false; !finished; ++granted) {
        SCOPED_TRACE(testing::Message() << bpp << " bits, method " << method << ", " << granted
                                        << " allocations granted");
        ASSERT_LT(granted, 100);
        OwnedImage image;
        ASSERT_NE(image.Create(50, 40, bpp, 3), nullptr);
        image.SetGrayPalette();
        for (long x = 0; x < 50; ++x) image.SetPixelIndex(x, x % 40, 200);
        const Bytes before = blockOf(image);
        {
          const FailingAllocations failing(granted);
          finished = image.Dither(method);
          ASSERT_EQ(failing.refused() == 0, finished);
        }
        if (finished) {
          EXPECT_EQ(image.GetBpp(), 1U);
        } else {
          EXPECT_STREQ(image.GetLastError(), kNoMemoryText);
          EXPECT_TRUE(sameBytes(before, blockOf(image)));
        }
      }
      EXPECT_GT(granted, bpp == 8 ? 2 : 1);
    }
  }
}

TEST(OutOfMemory, RotateMirrorAndCentreThatNeedAnImageEndUpEmpty) {
  for (int operation = 0; operation < 3; ++operation) {
    SCOPED_TRACE(operation);
    OwnedImage image;
    ASSERT_NE(image.Create(7, 3, operation == 2 ? 8 : 4, 0), nullptr);
    withoutMemory([&] {
      if (operation == 0) {
        EXPECT_TRUE(image.Rotate180(nullptr));
      } else if (operation == 1) {
        image.Mirror();
      } else {
        image.MakeCenter(9);
      }
    });
    EXPECT_FALSE(image.IsValid());
    EXPECT_STREQ(image.GetLastError(), kNoMemoryText);
  }
}

TEST(OutOfMemory, EightBitImagesTurnInPlace) {
  OwnedImage image;
  fillSmall(image);
  const Bytes before = blockOf(image);
  {
    const FailingAllocations failing(0);
    EXPECT_TRUE(image.Rotate180(nullptr));
    image.Mirror();
    image.Mirror();
    EXPECT_TRUE(image.Rotate180(&image));
  }
  EXPECT_TRUE(sameBytes(before, blockOf(image)));
}

TEST(OutOfMemory, RotateIntoATargetEmptiesTheTarget) {
  OwnedImage image;
  OwnedImage target;
  fillSmall(image);
  fillSmall(target);
  const Bytes before = blockOf(image);
  withoutMemory([&] { EXPECT_TRUE(image.Rotate180(&target)); });
  EXPECT_FALSE(target.IsValid());
  EXPECT_TRUE(sameBytes(before, blockOf(image)));
}

// The limits are tested with sizes that nobody wants to allocate: when the limit
// lets a size through, the refused allocation has the last word.
TEST(OutOfMemory, LimitsComeBeforeTheAllocation) {
  const uint64_t seed = 20240229;
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  model::Random random(seed);
  int passed = 0;
  for (int round = 0; round < 20000; ++round) {
    const auto width = static_cast<uint32_t>(random.next() >> (33 + random.below(31)));
    const auto height = static_cast<uint32_t>(random.next() >> (33 + random.below(31)));
    const uint32_t depths[] = {1, 4, 8, 24};
    const uint32_t bpp = depths[random.below(4)];
    if (width == 0 || height == 0 || uint64_t{width} * bpp + 31 > 0xFFFFFFFF) continue;
    const uint64_t rowBytes = (uint64_t{width} * bpp + 31) / 32 * 4;
    const uint64_t palette = bpp == 24 ? 0 : (uint64_t{4} << bpp);
    // rowBytes and height are below 2^30 and 2^31, so nothing wraps here.
    const bool fits = rowBytes * height + palette + 40 <= 0xFFFFFFFF;
    const uint32_t pixels = width * height;
    const bool bitsFit = pixels * bpp / bpp == pixels;
    passed += fits && bitsFit ? 1 : 0;
    OwnedImage image;
    const FailingAllocations failing(0);
    ASSERT_EQ(image.Create(width, height, bpp, 0), nullptr);
    ASSERT_STREQ(image.GetLastError(), fits && bitsFit ? kNoMemoryText : kTooLargeText)
        << width << " x " << height << " x " << bpp;
    ASSERT_EQ(failing.refused(), fits && bitsFit ? 1 : 0);
  }
  EXPECT_GT(passed, 1000);
  EXPECT_LT(passed, 19000);
}

#else

TEST(OutOfMemory, NeedsALinkerThatWrapsSymbols) { GTEST_SKIP(); }

#endif

}  // namespace
