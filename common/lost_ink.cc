// SPDX-License-Identifier: Apache-2.0
#include "common/lost_ink.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace {

constexpr uint64_t kTenthsOfMillimetresPerInch = 254;
constexpr std::array kSideNames = {"left", "top", "right", "bottom"};

// The sum of so many levels fits into 16 bits, so compilers add 8 at a time.
constexpr size_t kBlock = 256;

uint16_t inkOfBlock(const uint8_t* levels, size_t count) {
  uint16_t sum = 0;
  for (size_t i = 0; i < count; ++i)
    sum = static_cast<uint16_t>(sum + (levels[i] < kLeastInk ? 0 : levels[i]));
  return sum;
}

// Calls `take` with the place and the ink of each block.
template <typename Take>
void forEachBlock(std::span<const uint8_t> levels, const Take& take) {
  size_t at = 0;
  for (; at + kBlock <= levels.size(); at += kBlock)
    take(at, inkOfBlock(levels.data() + at, kBlock));
  if (at < levels.size()) take(at, inkOfBlock(levels.data() + at, levels.size() - at));
}

uint64_t inkOf(std::span<const uint8_t> levels) {
  uint64_t sum = 0;
  forEachBlock(levels, [&sum](size_t /*at*/, uint16_t ink) { sum += ink; });
  return sum;
}

// A fraction, rounded. Not by printf, which writes a decimal comma in some locales.
uint64_t rounded(uint64_t over, uint64_t under) { return (2 * over + under) / (2 * under); }
std::string tenths(uint64_t count) {
  return std::to_string(count / 10) + "." + std::to_string(count % 10);
}

}  // namespace

void LostInkCount::addRow(uint32_t y, std::span<const uint8_t> levels) {
  uint64_t ink = 0;
  size_t firstBlock = 0;
  size_t lastBlock = 0;
  forEachBlock(levels, [&](size_t at, uint16_t part) {
    if (part == 0) return;
    if (ink == 0) firstBlock = at;
    lastBlock = at;
    ink += part;
  });
  if (ink == 0) return;
  ink_ += ink;
  const auto isInk = [](uint8_t level) { return level >= kLeastInk; };
  const auto begin = levels.begin();
  const auto first =
      std::find_if(begin + static_cast<std::ptrdiff_t>(firstBlock), levels.end(), isInk);
  const auto end = begin + static_cast<std::ptrdiff_t>(std::min(lastBlock + kBlock, levels.size()));
  const auto last = std::find_if(std::make_reverse_iterator(end), levels.rend(), isInk).base();
  const auto from = static_cast<uint32_t>(first - begin);
  const auto to = static_cast<uint32_t>(last - begin);
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
