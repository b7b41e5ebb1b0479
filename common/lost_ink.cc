// SPDX-License-Identifier: Apache-2.0
#include "common/lost_ink.h"

#include <algorithm>
#include <numeric>

namespace {

constexpr uint64_t kTenthsOfMillimetresPerInch = 254;
constexpr std::array kSideNames = {"left", "top", "right", "bottom"};

uint64_t inkOf(std::span<const uint8_t> levels) {
  return std::accumulate(levels.begin(), levels.end(), uint64_t{0}, [](uint64_t sum, uint8_t one) {
    return sum + (one < kLeastInk ? 0U : one);
  });
}

// A fraction, rounded. Not by printf, which writes a decimal comma in some locales.
uint64_t rounded(uint64_t over, uint64_t under) { return (2 * over + under) / (2 * under); }
std::string tenths(uint64_t count) {
  return std::to_string(count / 10) + "." + std::to_string(count % 10);
}

}  // namespace

void LostInkCount::addRow(uint32_t y, std::span<const uint8_t> levels) {
  const auto isInk = [](uint8_t level) { return level >= kLeastInk; };
  const auto first = std::find_if(levels.begin(), levels.end(), isInk);
  if (first == levels.end()) return;
  const auto last = std::find_if(levels.rbegin(), levels.rend(), isInk).base();
  const auto from = static_cast<uint32_t>(first - levels.begin());
  const auto to = static_cast<uint32_t>(last - levels.begin());
  const uint64_t ink = inkOf(levels);
  ink_ += ink;
  if (y < top_) add(Side::top, ink, top_ - y, from, to);
  if (y >= bottom_) add(Side::bottom, ink, y + 1 - bottom_, from, to);
  if (from < left_) add(Side::left, inkOf(levels.first(left_)), left_ - from, y, y + 1);
  if (to > right_) add(Side::right, inkOf(levels.subspan(right_)), to - right_, y, y + 1);
}

void LostInkCount::add(Side side, uint64_t ink, uint32_t beyond, uint32_t from, uint32_t to) {
  LostInk& of = sides_.at(static_cast<size_t>(side));
  if (of.ink == 0) of = {side, 0, from, to, 0, 0};
  of.ink += ink;
  of.beyond = std::max(of.beyond, beyond);
  of.from = std::min(of.from, from);
  of.to = std::max(of.to, to);
}

std::vector<LostInk> LostInkCount::lost() const {
  std::vector<LostInk> list;
  for (const LostInk& side : sides_) {
    if (side.ink == 0) continue;
    list.push_back(side);
    list.back().all = ink_;
  }
  return list;
}

std::string lostInkText(std::span<const LostInk> lost, uint32_t dotsPerInchX,
                        uint32_t dotsPerInchY) {
  std::string text = "ink lost ";
  for (const LostInk& one : lost) {
    if (&one != lost.data()) text += "; ";
    const bool isAcross = one.side == Side::left || one.side == Side::right;
    const uint32_t dpi = isAcross ? dotsPerInchX : dotsPerInchY;
    text += std::string("at the ") + kSideNames.at(static_cast<size_t>(one.side)) + ": ";
    text += dpi == 0 ? std::to_string(one.beyond) + " dots"
                     : tenths(rounded(one.beyond * kTenthsOfMillimetresPerInch, dpi)) + " mm";
    text +=
        ", " + tenths(std::max<uint64_t>(1, rounded(one.ink * 1000, one.all))) + " % of the ink";
  }
  return text;
}
