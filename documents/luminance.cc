// SPDX-License-Identifier: Apache-2.0
#include "documents/luminance.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace documents {
namespace {

// Linear light of an encoded value from 0 to 1.
double linear(double encoded) {
  return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

struct Tables {
  std::array<double, 256> light{};  // of each level
  std::array<double, 255> above{};  // light from which on the next level is nearer
};

Tables makeTables() {
  Tables tables;
  for (size_t level = 0; level < tables.light.size(); ++level)
    tables.light.at(level) = linear(static_cast<double>(level) / 255);
  for (size_t level = 0; level < tables.above.size(); ++level)
    tables.above.at(level) = linear((static_cast<double>(level) + 0.5) / 255);
  return tables;
}

}  // namespace

uint8_t luminance(uint8_t red, uint8_t green, uint8_t blue) {
  if (red == green && green == blue) return red;
  static const Tables tables = makeTables();
  const double light =
      0.2126 * tables.light[red] + 0.7152 * tables.light[green] + 0.0722 * tables.light[blue];
  const auto next = std::upper_bound(tables.above.begin(), tables.above.end(), light);
  return static_cast<uint8_t>(next - tables.above.begin());
}

}  // namespace documents
