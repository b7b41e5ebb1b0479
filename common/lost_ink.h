// SPDX-License-Identifier: Apache-2.0
// Ink of a drawing that does not reach the paper: how much, on which side, and the words for it.
#ifndef COMMON_LOST_INK_H_
#define COMMON_LOST_INK_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

enum class Side : uint8_t { left, top, right, bottom };

// What lies beyond one side. Lengths are dots.
struct LostInk {
  Side side = Side::right;
  uint32_t beyond = 0;  // from that side to the outermost ink
  uint32_t from = 0;    // where along the side it lies, `to` being behind it
  uint32_t to = 0;
  uint64_t ink = 0;  // the sum of its levels; a corner counts for both sides
  uint64_t all = 0;  // that of the drawing
};

// Lighter levels do not count: the white of a JPEG is seldom quite white.
inline constexpr uint8_t kLeastInk = 8;

// Counts the ink of a drawing row by row.
class LostInkCount {
 public:
  // Columns from `left` to before `right` reach the paper, in rows from `top` to before
  // `bottom`.
  LostInkCount(uint32_t left, uint32_t top, uint32_t right, uint32_t bottom)
      : left_(left), top_(top), right_(right), bottom_(bottom) {}

  // A row of grey levels, 0 for no ink. REQUIRES: at least `right` of them.
  void addRow(uint32_t y, std::span<const uint8_t> levels);

  // The sides that lose ink.
  std::vector<LostInk> lost() const;

 private:
  void add(Side side, uint64_t ink, uint32_t beyond, uint32_t from, uint32_t to);

  uint32_t left_;
  uint32_t top_;
  uint32_t right_;
  uint32_t bottom_;
  uint64_t ink_ = 0;
  std::array<LostInk, 4> sides_{};
};

// "ink lost at the right: 6.8 mm, 1.3 % of the ink", with more sides behind "; ". Lengths are
// dots where the drawing has no resolution. REQUIRES: `lost` is not empty.
std::string lostInkText(std::span<const LostInk> lost, uint32_t dotsPerInchX,
                        uint32_t dotsPerInchY);

#endif  // COMMON_LOST_INK_H_
