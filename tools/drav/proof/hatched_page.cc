// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/proof/hatched_page.h"

#include <algorithm>

#include "tools/drav/job/paper_scale.h"

namespace {

constexpr double kMarginMillimetres = 3;
constexpr uint32_t kGap = 4;         // dots between page and hatching
constexpr uint32_t kStep = 12;       // from one slanted line to the next
constexpr uint32_t kLine = 4;        // its thickness
constexpr uint32_t kLeastSeen = 24;  // length of the hatching

uint32_t marginOf(uint32_t dotsPerInch) {
  const double dots =
      kMarginMillimetres * (dotsPerInch == 0 ? 203 : dotsPerInch) / kMillimetresPerInch;
  return (static_cast<uint32_t>(dots) + 7) / 8 * 8;
}

struct Rectangle {
  uint32_t left, top, right, bottom;
};

// Where to hatch for one side; empty when what is lost lies beside rows that do not print.
Rectangle placeOf(const LostInk& lost, const HatchedPage& page, const DotPage& dots) {
  const bool isAcross = lost.side == Side::left || lost.side == Side::right;
  const uint32_t skipped = isAcross ? dots.firstRow : 0;
  const uint32_t length = isAcross ? dots.rows : dots.width();
  const uint32_t start = isAcross ? page.margins.top : page.margins.left;
  const auto along = [skipped, length](uint32_t at) {
    return std::min(at - std::min(at, skipped), length);
  };
  const uint32_t from = start + along(lost.from);
  const uint32_t to = std::min(start + length, std::max(start + along(lost.to), from + kLeastSeen));
  const uint32_t right = page.margins.left + dots.width() + kGap;
  const uint32_t bottom = page.margins.top + dots.rows + kGap;
  switch (lost.side) {
    case Side::left:
      return {0, from, page.margins.left - kGap, to};
    case Side::top:
      return {from, 0, to, page.margins.top - kGap};
    case Side::right:
      return {right, from, page.width(), to};
    case Side::bottom:
      break;
  }
  return {from, bottom, to, page.rows};
}

void hatch(HatchedPage& page, const Rectangle& place) {
  for (uint32_t y = place.top; y < place.bottom; ++y)
    for (uint32_t x = place.left; x < place.right; ++x)
      if ((x + y) % kStep < kLine)
        page.dots[size_t{y} * page.bytesPerRow + x / 8] |= static_cast<uint8_t>(0x80U >> x % 8);
}

}  // namespace

std::string Margins::text() const {
  return std::to_string(left) + " " + std::to_string(top) + " " + std::to_string(right) + " " +
         std::to_string(bottom);
}

HatchedPage hatchLostInk(const DotPage& page, std::span<const LostInk> lost) {
  HatchedPage hatched;
  Margins& margins = hatched.margins;
  for (const LostInk& one : lost) {
    if (one.side == Side::left) margins.left = marginOf(page.dotsPerInchX);
    if (one.side == Side::right) margins.right = marginOf(page.dotsPerInchX);
    if (one.side == Side::top) margins.top = marginOf(page.dotsPerInchY);
    if (one.side == Side::bottom) margins.bottom = marginOf(page.dotsPerInchY);
  }
  hatched.bytesPerRow = page.bytesPerRow + (margins.left + margins.right) / 8;
  hatched.rows = margins.top + page.rows + margins.bottom;
  hatched.dots.resize(size_t{hatched.rows} * hatched.bytesPerRow);
  for (uint32_t y = 0; y < page.rows; ++y)
    std::copy_n(page.dots.begin() + static_cast<std::ptrdiff_t>(size_t{y} * page.bytesPerRow),
                page.bytesPerRow,
                hatched.dots.begin() +
                    static_cast<std::ptrdiff_t>(size_t{margins.top + y} * hatched.bytesPerRow +
                                                margins.left / 8));
  for (const LostInk& one : lost) hatch(hatched, placeOf(one, hatched, page));
  return hatched;
}
