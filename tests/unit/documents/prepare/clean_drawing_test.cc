// SPDX-License-Identifier: Apache-2.0
// Cleaning photos of drawings: paper becomes white in any light, ink and shading stay.
#include "documents/prepare/clean_drawing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>

#include "tests/model/page_patterns.h"
#include "tests/support/failing_allocations.h"
#include "tests/unit/documents/prepare/plane_support.h"

#ifndef DRAV_TEST_WRAPS_ALLOCATIONS
#define DRAV_TEST_WRAPS_ALLOCATIONS 0
#endif

namespace {

model::Grey cleaned(model::Grey picture, double dotsPerInch = 300) {
  cleanDrawing(picture.pixels, static_cast<uint32_t>(picture.width),
               static_cast<uint32_t>(picture.height), dotsPerInch);
  return picture;
}

// Share of the pixels that the rule picks whose level is from `least` to `most`.
double share(const model::Grey& picture, const std::function<bool(int, int)>& picks, int least,
             int most) {
  size_t all = 0;
  size_t within = 0;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      if (!picks(x, y)) continue;
      ++all;
      if (picture.at(x, y) >= least && picture.at(x, y) <= most) ++within;
    }
  }
  EXPECT_GT(all, 0U);
  return static_cast<double>(within) / static_cast<double>(std::max<size_t>(1, all));
}

// The sum of four bytes less their mean: a standard deviation of 8.5 times `strength`.
double grain(model::Random& random, double strength) {
  int sum = 0;
  for (int i = 0; i < 4; ++i) sum += random.byte();
  return (sum - 510) / 17.4 * strength;
}

// Vertical lines of 6 pixels every 60, and how far a pixel is from the next one's middle.
double fromLine(int x) { return std::abs((x + 30) % 60 - 29.5); }
bool isCore(int x, int) { return fromLine(x) < 2; }
bool isBare(int x, int) { return fromLine(x) > 6; }

// ---- Sizes and arguments ---------------------------------------------------------

TEST(CleanDrawing, RefusesWrongSizesAndResolutions) {
  std::vector<uint8_t> pixels(12, 200);
  const std::vector<uint8_t> before = pixels;
  EXPECT_THROW(cleanDrawing(pixels, 4, 4, 300), std::invalid_argument);
  EXPECT_THROW(cleanDrawing(pixels, 0, 0, 300), std::invalid_argument);
  EXPECT_THROW(cleanDrawing(pixels, 4, 3, 59), std::invalid_argument);
  EXPECT_THROW(cleanDrawing(pixels, 4, 3, 2401), std::invalid_argument);
  EXPECT_THROW(cleanDrawing(pixels, 4, 3, std::numeric_limits<double>::quiet_NaN()),
               std::invalid_argument);
  EXPECT_EQ(pixels, before);
}

TEST(CleanDrawing, LeavesAPictureWithoutPixelsAlone) {
  EXPECT_NO_THROW(cleanDrawing({}, 0, 0, 300));
  EXPECT_NO_THROW(cleanDrawing({}, 7, 0, 300));
  EXPECT_NO_THROW(cleanDrawing({}, 0, 7, 300));
}

TEST(CleanDrawing, FlatPicturesOfEverySize) {
  for (const auto& size : {std::pair{1, 1},
                           {1, 2},
                           {2, 1},
                           {3, 5},
                           {1, 40},
                           {40, 1},
                           {11, 13},
                           {12, 12},
                           {25, 37},
                           {301, 7}}) {
    const int width = size.first;
    const int height = size.second;
    for (const double dotsPerInch : {60.0, 300.0, 2400.0}) {
      SCOPED_TRACE(testing::Message() << width << " x " << height << ", " << dotsPerInch);
      const auto flat = [&](uint8_t level) {
        return cleaned(model::makeGrey(width, height, level), dotsPerInch).pixels;
      };
      const auto all = [&](uint8_t level) { return model::makeGrey(width, height, level).pixels; };
      EXPECT_EQ(flat(255), all(255));
      EXPECT_EQ(flat(150), all(255));  // tinted paper
      EXPECT_EQ(flat(0), all(0));
    }
  }
}

#if DRAV_TEST_WRAPS_ALLOCATIONS
TEST(CleanDrawing, LeavesThePictureAloneWithoutMemory) {
  const model::Grey photo = model::photoPage(90, 70, 5);
  model::Grey picture = photo;
  int granted = 0;
  for (bool failed = true; failed; ++granted) {
    const FailingAllocations failing(granted);
    try {
      cleanDrawing(picture.pixels, 90, 70, 300);
      failed = false;
    } catch (const std::bad_alloc&) {
      ASSERT_EQ(picture.pixels, photo.pixels) << granted;
    }
  }
  EXPECT_GT(granted, 20);
  EXPECT_NE(picture.pixels, photo.pixels);
}
#endif

// ---- Light -----------------------------------------------------------------------

TEST(CleanDrawing, LightThatFallsAcrossThePage) {
  for (const double dotsPerInch : {150.0, 300.0, 600.0}) {
    SCOPED_TRACE(dotsPerInch);
    const double fall = std::min(140.0, 620 * 25.4 / dotsPerInch * 2.5);  // 2.5 levels a mm
    const auto photo = drawn(620, 501, [&](int x, int y) {
      const double light = 235 - fall * x / 620 - 15.0 * y / 501;
      return light * (fromLine(x) < 3 ? 0.1 : 1.0);
    });
    const model::Grey page = cleaned(photo, dotsPerInch);
    EXPECT_GE(share(page, isBare, 255, 255), 0.999);
    EXPECT_EQ(share(page, isBare, 240, 255), 1.0);
    EXPECT_EQ(share(page, isCore, 0, 40), 1.0);
  }
}

TEST(CleanDrawing, AShadowsEdge) {
  const auto photo = drawn(620, 501, [](int x, int y) {
    const double across = (x - 0.4 * y - 200) / 20.0;  // over about 40 pixels
    const double light = 220 * (0.8 - 0.2 * std::tanh(across));
    return light * (fromLine(x) < 3 ? 0.1 : 1.0);
  });
  const model::Grey page = cleaned(photo);
  EXPECT_GE(share(page, isBare, 255, 255), 0.99);
  EXPECT_GE(share(page, isBare, 230, 255), 0.9999);
  EXPECT_EQ(share(page, isCore, 0, 40), 1.0);
}

TEST(CleanDrawing, GrainOnDimPaper) {
  for (const double strength : {0.5, 1.2}) {
    SCOPED_TRACE(strength);
    model::Random random(7);
    const auto photo = drawn(620, 501, [&](int x, int) {
      return 110 * (fromLine(x) < 3 ? 0.1 : 1.0) + grain(random, strength);
    });
    const model::Grey page = cleaned(photo);
    EXPECT_GE(share(page, isBare, 255, 255), 0.995);
    EXPECT_GE(share(page, isBare, 192, 255), 0.9999);
    EXPECT_GE(share(page, isCore, 0, 80), 0.99);
  }
}

// ---- Ink -------------------------------------------------------------------------

TEST(CleanDrawing, ShadingStaysAsDarkAsItWas) {
  const auto inside = [](int x, int y) { return std::hypot(x - 310, y - 250) < 130; };  // 22 mm
  for (const double level : {0.85, 0.6, 0.3}) {
    SCOPED_TRACE(level);
    const auto photo = drawn(620, 501, [&](int x, int y) {
      return (200 - 0.1 * x) * (inside(x, y) ? level : x % 61 < 6 ? 0.0 : 1.0);
    });
    const model::Grey page = cleaned(photo);
    const int wanted = static_cast<int>(255 * level);
    const auto middle = [](int x, int y) { return std::hypot(x - 310, y - 250) < 125; };
    EXPECT_GE(share(page, middle, wanted - 13, wanted + 13), 0.99);
  }
}

TEST(CleanDrawing, OutlinedShadingStaysUnderTheEdgeOfAShadow) {
  // The shadow's paper is darker than the shading in full light. 32 mm wide.
  const auto from = [](int x, int y) { return std::max(std::abs(x - 235), std::abs(y - 235)); };
  const auto lightAt = [](int x) { return 220 * (0.8 - 0.2 * std::tanh((x - 240) / 10.0)); };
  for (const double level : {1.0, 0.85}) {  // paper in the outline too
    SCOPED_TRACE(level);
    const auto photo = drawn(470, 470, [&](int x, int y) {
      const int ring = from(x, y);
      return lightAt(x) * (ring < 94 ? level : ring < 98 ? 0.1 : 1.0);
    });
    const model::Grey page = cleaned(photo, 150);
    const int wanted = static_cast<int>(255 * level);
    const auto lit = [&](int x, int y) { return from(x, y) < 86 && x < 180; };
    const auto shadowed = [&](int x, int y) { return from(x, y) < 86 && x > 300; };
    EXPECT_GE(share(page, lit, wanted - 30, wanted + 30), 0.95);
    EXPECT_GE(share(page, shadowed, wanted - 30, wanted + 30), 0.95);
  }
}

TEST(CleanDrawing, ALargeSolidAreaStaysBlack) {
  // 51 mm wide: no shadow is as dark.
  const auto solid = [](int x, int y) {
    return std::abs(x - 450) < 300 && std::abs(y - 450) < 300;
  };
  const model::Grey page =
      cleaned(drawn(900, 900, [&](int x, int y) { return solid(x, y) ? 29 : 210 - 0.05 * y; }));
  EXPECT_EQ(
      share(
          page, [](int x, int y) { return std::abs(x - 450) < 295 && std::abs(y - 450) < 295; }, 0,
          15),
      1.0);
  EXPECT_EQ(share(
                page, [](int x, int) { return x < 140; }, 255, 255),
            1.0);
}

TEST(CleanDrawing, GreyInkIsStretchedToBlackButNotFarther) {
  const auto lines = [](double ink) {
    return cleaned(drawn(620, 501, [&](int x, int) { return fromLine(x) < 3 ? 200 * ink : 200; }));
  };
  EXPECT_EQ(share(lines(0.2), isCore, 0, 8), 1.0);     // as black as ink gets on a photo
  EXPECT_EQ(share(lines(0.45), isCore, 60, 76), 1.0);  // a pencil: (0.45 - 0.25) / 0.75
}

TEST(CleanDrawing, ACleanPageStaysAsItIs) {
  const auto page = drawn(620, 501, [](int x, int) { return fromLine(x) < 3 ? 0 : 255; });
  const model::Grey result = cleaned(page);
  EXPECT_EQ(share(result, isBare, 255, 255), 1.0);
  EXPECT_EQ(share(result, isCore, 0, 0), 1.0);
}

}  // namespace
