// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/prepare/lost_ink.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "documents/placing.h"

namespace {

enum Side : size_t { kLeft, kRight, kTop, kBottom, kSides };
constexpr std::array<const char*, kSides> kNames = {"left", "right", "top", "bottom"};

struct Loss {
  uint64_t ink = 0;
  int64_t reach = 0;  // dots beyond the head's reach

  void add(uint64_t more, int64_t distance) {
    if (more == 0) return;
    ink += more;
    reach = std::max(reach, distance);
  }
};

std::string lineOf(Side side, const Loss& loss, uint64_t all, uint32_t dotsPerInch) {
  const double millimetres =
      static_cast<double>(loss.reach) * documents::kMillimetresPerInch / dotsPerInch;
  const double percent = 100.0 * static_cast<double>(loss.ink) / static_cast<double>(all);
  return std::string("ink lost at the ") + kNames.at(side) + ": " + tenthsText(millimetres) +
         " mm, " + (percent < 0.05 ? "less than 0.1" : tenthsText(percent)) + " % of the ink";
}

}  // namespace

std::string tenthsText(double value) {
  const auto whole = std::llround(value * 10);
  return std::to_string(whole / 10) + "." + std::to_string(whole % 10);
}

std::vector<std::string> lostInk(const ArtPicture& art, const ArtPlace& place,
                                 const documents::Paper& paper) {
  const Area reach = reachOf(paper);
  const int64_t height = paper.roll ? place.pageHeight - paper.top - paper.bottom : reach.height;
  // The art's columns and rows within the reach.
  const auto within = [](int64_t at, int64_t size) { return std::clamp<int64_t>(at, 0, size); };
  const int64_t left = within(reach.left - place.x, art.width);
  const int64_t right = within(int64_t{reach.left} + reach.width - place.x, art.width);
  const int64_t top = reach.top - place.y;
  const int64_t bottom = top + height;
  if (left == 0 && right == art.width && top <= 0 && bottom >= art.height) return {};

  std::array<Loss, kSides> losses{};
  uint64_t all = 0;
  for (int64_t y = 0; y < art.height; ++y) {
    const uint8_t* row = &art.ink[static_cast<size_t>(y) * art.width];
    const auto gather = [row, &all](int64_t from, int64_t to, const auto& take) {
      for (int64_t x = from; x < to; ++x) take(uint64_t{row[x]}, x);
      for (int64_t x = from; x < to; ++x) all += row[x];
    };
    gather(0, left, [&](uint64_t ink, int64_t x) { losses[kLeft].add(ink, left - x); });
    gather(right, art.width,
           [&](uint64_t ink, int64_t x) { losses[kRight].add(ink, x + 1 - right); });
    uint64_t middle = 0;
    gather(left, right, [&](uint64_t ink, int64_t) { middle += ink; });
    if (y < top) losses[kTop].add(middle, top - y);
    if (y >= bottom) losses[kBottom].add(middle, y + 1 - bottom);
  }
  std::vector<std::string> lines;
  if (all == 0) return lines;
  for (const Side side : {kLeft, kRight, kTop, kBottom}) {
    const bool isAcross = side == kLeft || side == kRight;
    if (losses.at(side).ink != 0)
      lines.push_back(lineOf(side, losses.at(side), all, isAcross ? paper.dpiX : paper.dpiY));
  }
  return lines;
}
