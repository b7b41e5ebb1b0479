// SPDX-License-Identifier: Apache-2.0
// Outlines: closed around shapes, of one width, nowhere else.
#include "documents/prepare/outline_shapes.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "tests/model/page_patterns.h"
#include "tests/unit/documents/prepare/plane_support.h"

namespace {

using Colour = std::array<double, 3>;

constexpr int kSide = 240;
constexpr Colour kWhite = {255, 255, 255};
constexpr Colour kRed = {200, 90, 90};     // lightness 123
constexpr Colour kGreen = {70, 150, 105};  // lightness 121

std::vector<uint8_t> painted(int width, int height,
                             const std::function<Colour(int, int)>& colourAt) {
  std::vector<uint8_t> pixels;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (const double part : colourAt(x, y)) pixels.push_back(static_cast<uint8_t>(part + 0.5));
    }
  }
  return pixels;
}

// How far inside a disc in the middle of the square picture a pixel lies.
double depth(int x, int y) { return 80 - std::hypot(x - 120, y - 120); }

std::vector<uint8_t> disc(const Colour& inside, const Colour& outside) {
  return painted(kSide, kSide, [&](int x, int y) {
    const double share = std::clamp(depth(x, y) + 0.5, 0.0, 1.0);
    Colour mixed = {};
    for (size_t i = 0; i < 3; ++i) mixed[i] = outside[i] + share * (inside[i] - outside[i]);
    return mixed;
  });
}

std::vector<uint8_t> outlined(const std::vector<uint8_t>& colours) {
  return outlineShapes(colours, kSide, kSide, 3, 300);
}

// A disc's outline: closed, near its edge alone, 0.3 to 0.6 mm wide.
void expectRing(const std::vector<uint8_t>& lines) {
  std::vector<bool> paper;
  size_t ink = 0;
  for (const uint8_t level : lines) {
    paper.push_back(level >= 128);
    ink += level < 128 ? 1 : 0;
  }
  EXPECT_EQ(countParts(paper, kSide, false), 2);
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      if (std::abs(depth(x, y)) > 7) {
        EXPECT_EQ(lines[static_cast<size_t>(y * kSide + x)], 255) << x << ", " << y;
      }
    }
  }
  const double width = static_cast<double>(ink) / (2 * 3.14159 * 78) * 25.4 / 300;
  EXPECT_GE(width, 0.3);
  EXPECT_LE(width, 0.6);
}

TEST(OutlineShapes, RefusesWrongArguments) {
  const std::vector<uint8_t> pixels(12, 100);
  EXPECT_THROW(outlineShapes(pixels, 4, 4, 1, 300), std::invalid_argument);
  EXPECT_THROW(outlineShapes(pixels, 4, 3, 3, 300), std::invalid_argument);
  EXPECT_THROW(outlineShapes(pixels, 3, 2, 2, 300), std::invalid_argument);
  EXPECT_THROW(outlineShapes(pixels, 3, 1, 4, 300), std::invalid_argument);
  EXPECT_THROW(outlineShapes(pixels, 4, 3, 1, 59), std::invalid_argument);
  EXPECT_THROW(outlineShapes(pixels, 4, 3, 1, 2401), std::invalid_argument);
  EXPECT_THROW(outlineShapes(pixels, 4, 3, 1, std::numeric_limits<double>::quiet_NaN()),
               std::invalid_argument);
}

TEST(OutlineShapes, FlatPicturesHaveNoLines) {
  EXPECT_TRUE(outlineShapes({}, 0, 5, 3, 300).empty());
  for (const auto& [width, height] :
       {std::pair{1, 1}, {1, 9}, {9, 1}, {2, 3}, {17, 31}, {300, 5}}) {
    for (const uint8_t level : std::initializer_list<uint8_t>{0, 90, 255}) {
      for (const double dotsPerInch : {60.0, 300.0, 2400.0}) {
        SCOPED_TRACE(testing::Message() << width << " x " << height << " of " << int{level});
        const auto area = static_cast<size_t>(width * height);
        const std::vector<uint8_t> white(area, 255);
        const std::vector<uint8_t> grey(area, level);
        const std::vector<uint8_t> colour(3 * area, level);
        const auto w = static_cast<uint32_t>(width);
        const auto h = static_cast<uint32_t>(height);
        EXPECT_EQ(outlineShapes(grey, w, h, 1, dotsPerInch), white);
        EXPECT_EQ(outlineShapes(colour, w, h, 3, dotsPerInch), white);
      }
    }
  }
}

TEST(OutlineShapes, AShapeHasOneClosedLine) {
  expectRing(outlined(disc({0, 0, 0}, kWhite)));
  expectRing(outlined(disc(kRed, kWhite)));
  expectRing(outlined(disc(kWhite, {40, 60, 90})));
  expectRing(outlined(disc({235, 235, 235}, kWhite)));  // 20 levels
}

TEST(OutlineShapes, ColoursOfTheSameLightness) {
  expectRing(outlined(disc(kRed, kGreen)));
  expectRing(outlined(disc({90, 120, 220}, {165, 115, 60})));
}

TEST(OutlineShapes, ContrastThatFadesAlongTheShape) {
  // 150 levels at the left, 12 at the right: the weak side hangs on the strong one.
  const auto fading = painted(kSide, kSide, [](int x, int y) {
    const double contrast = 150 - 138 * std::clamp((x - 40) / 160.0, 0.0, 1.0);
    const double level = 230 - contrast * std::clamp(depth(x, y) + 0.5, 0.0, 1.0);
    return Colour{level, level, level};
  });
  expectRing(outlined(fading));
}

TEST(OutlineShapes, ShadingHasNoLines) {
  const auto ramp = painted(kSide, kSide, [](int x, int y) {
    return Colour{x * 1.0, y * 1.0, 240 - (x + y) / 2.0};
  });
  EXPECT_EQ(outlined(ramp), std::vector<uint8_t>(kSide * kSide, 255));
}

TEST(OutlineShapes, NoiseHasNoLines) {
  model::Random random(3);
  const auto noisy = painted(kSide, kSide, [&](int, int) {
    return Colour{120.0 + random.below(24), 120.0 + random.below(24), 120.0 + random.below(24)};
  });
  EXPECT_EQ(outlined(noisy), std::vector<uint8_t>(kSide * kSide, 255));
}

TEST(OutlineShapes, ADrawnLineBecomesOneLine) {
  // 0.6 mm, between two colours.
  const auto line = painted(kSide, kSide, [](int x, int) {
    return std::abs(x - 119.5) < 3.6 ? Colour{10, 10, 10} : x < 120 ? kRed : kWhite;
  });
  const std::vector<uint8_t> lines = outlined(line);
  for (int y = 4; y < kSide - 4; ++y) {
    std::vector<bool> ink;
    for (int x = 0; x < kSide; ++x) ink.push_back(lines[static_cast<size_t>(y * kSide + x)] < 128);
    EXPECT_EQ(countParts(ink, kSide, false), 1) << "row " << y;
    EXPECT_TRUE(ink[119] || ink[120]) << "row " << y;
  }
}

TEST(OutlineShapes, ShapesThatLeaveThePicture) {
  const auto half = painted(kSide, kSide, [](int x, int) { return x < 100 ? kRed : kWhite; });
  const std::vector<uint8_t> lines = outlined(half);
  for (int y = 0; y < kSide; ++y) {
    const uint8_t* row = &lines[static_cast<size_t>(y * kSide)];
    EXPECT_LT(*std::min_element(row + 90, row + 102), 128) << "row " << y;
    EXPECT_EQ(std::count_if(row + 108, row + kSide, [](uint8_t level) { return level < 255; }), 0);
  }
}

TEST(OutlineShapes, GreyAndEqualColoursAgree) {
  const auto colours = disc({80, 80, 80}, {220, 220, 220});
  std::vector<uint8_t> grey;
  for (size_t i = 0; i < colours.size(); i += 3) grey.push_back(colours[i]);
  EXPECT_EQ(outlineShapes(grey, kSide, kSide, 1, 300), outlined(colours));
}

}  // namespace
