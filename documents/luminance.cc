// SPDX-License-Identifier: Apache-2.0
#include "documents/luminance.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace documents {
namespace {

// Linear light of an encoded value from 0 to 1.
double linear(double encoded) {
  return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

constexpr size_t kSteps = 4096;  // of light, less than half a level in the dark

struct Tables {
  std::array<double, 256> light{};  // of each level
  // Light from which on the next level is nearer; behind the last one there is none.
  std::array<double, 256> above{};
  std::array<uint8_t, kSteps + 1> least{};  // level of the light at each step
};

Tables makeTables() {
  Tables made;
  for (size_t level = 0; level < made.light.size(); ++level)
    made.light.at(level) = linear(static_cast<double>(level) / 255);
  for (size_t level = 0; level < 255; ++level)
    made.above.at(level) = linear((static_cast<double>(level) + 0.5) / 255);
  made.above.back() = std::numeric_limits<double>::infinity();
  for (size_t step = 0; step < made.least.size(); ++step) {
    const double light = static_cast<double>(step) / kSteps;
    const auto next = std::upper_bound(made.above.begin(), made.above.end(), light);
    made.least.at(step) = static_cast<uint8_t>(next - made.above.begin());
  }
  return made;
}

const Tables& tables() {
  static const Tables kTables = makeTables();
  return kTables;
}

uint8_t greyOf(const Tables& all, const uint8_t* pixel) {
  if (pixel[0] == pixel[1] && pixel[1] == pixel[2]) return pixel[0];
  const double light =
      0.2126 * all.light[pixel[0]] + 0.7152 * all.light[pixel[1]] + 0.0722 * all.light[pixel[2]];
  uint8_t level = all.least[static_cast<size_t>(light * kSteps)];
  while (light >= all.above[level]) ++level;
  return level;
}

}  // namespace

uint8_t luminance(uint8_t red, uint8_t green, uint8_t blue) {
  const std::array<uint8_t, 3> pixel = {red, green, blue};
  return greyOf(tables(), pixel.data());
}

void luminanceRow(const uint8_t* pixels, size_t channels, size_t count, uint8_t* grey) {
  const Tables& all = tables();
  for (size_t x = 0; x < count; ++x, pixels += channels) grey[x] = greyOf(all, pixels);
}

}  // namespace documents
