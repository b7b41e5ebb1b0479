// SPDX-License-Identifier: Apache-2.0
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/row_ops_simd.cc"
#include "simd/targets.h"
// clang-format off: the target list comes before the vector library
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// clang-format on

#include <algorithm>
#include <cstring>
#include <vector>

#include "image/row_ops_simd.h"
#include "simd/variants.h"

HWY_BEFORE_NAMESPACE();
namespace drav_vector {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

using RowBytes = hn::ScalableTag<uint8_t>;
using RowBlock = hn::FixedTag<uint8_t, 16>;

// The pixels of each packed byte in reverse: the first one's mask bit is the
// lowest, and belongs to the top.
alignas(16) constexpr uint8_t kReversedEights[16] = {7,  6,  5,  4,  3,  2,  1, 0,
                                                     15, 14, 13, 12, 11, 10, 9, 8};

alignas(16) constexpr uint8_t kReversed[16] = {15, 14, 13, 12, 11, 10, 9, 8,
                                               7,  6,  5,  4,  3,  2,  1, 0};

size_t pack(const uint8_t* row, size_t width, uint8_t* out) {
  const RowBytes d;
  const size_t lanes = hn::Lanes(d);
  const auto order = hn::LoadDup128(d, kReversedEights);
  const auto zero = hn::Zero(d);
  uint8_t* end = out;
  const auto packVector = [&](const uint8_t* pixels) HWY_ATTR {
    const auto bytes = hn::TableLookupBytes(hn::LoadU(d, pixels), order);
    uint8_t bits[8] = {};  // StoreMaskBits may write eight bytes
    hn::StoreMaskBits(d, hn::Ne(bytes, zero), bits);
    std::memcpy(end, bits, lanes / 8);
  };
  size_t x = 0;
  for (; x + lanes <= width; x += lanes) {
    packVector(row + x);
    end += lanes / 8;
  }
  if (x == width) return static_cast<size_t>(end - out);
  // The rest through a padded copy, whose bits beyond the row are 0.
  uint8_t rest[64] = {};
  uint8_t bits[8] = {};
  std::memcpy(rest, row + x, width - x);
  uint8_t* const tail = end;
  end = bits;
  packVector(rest);
  std::memcpy(tail, bits, (width - x + 7) / 8);
  return (width + 7) / 8;
}

// Brightness alone gives a table that adds one number and saturates. Finds it:
// true when table[x] is x + shift, cut to 0 ... 255, for every x.
bool isShift(const LevelTable& table, int& shift) {
  const RowBytes d;
  shift = table[0] > 0 ? table[0] : table[255] - 255;
  const auto up = hn::Set(d, static_cast<uint8_t>(std::max(shift, 0)));
  const auto down = hn::Set(d, static_cast<uint8_t>(std::max(-shift, 0)));
  for (size_t x = 0; x < table.size(); x += hn::Lanes(d)) {
    const auto level = hn::Iota(d, static_cast<uint8_t>(x));
    const auto moved = hn::SaturatedSub(hn::SaturatedAdd(level, up), down);
    if (!hn::AllTrue(d, hn::Eq(moved, hn::LoadU(d, table.data() + x)))) return false;
  }
  return true;
}

void shiftLevels(const uint8_t* row, size_t width, const LevelTable& table, int shift,
                 uint8_t* out) {
  const RowBytes d;
  const auto up = hn::Set(d, static_cast<uint8_t>(std::max(shift, 0)));
  const auto down = hn::Set(d, static_cast<uint8_t>(std::max(-shift, 0)));
  size_t x = 0;
  for (; x + hn::Lanes(d) <= width; x += hn::Lanes(d)) {
    const auto level = hn::LoadU(d, row + x);
    hn::StoreU(hn::SaturatedSub(hn::SaturatedAdd(level, up), down), d, out + x);
  }
  for (; x < width; ++x) out[x] = table[row[x]];
}

// A table in parts of sixteen entries, which one instruction looks up. Each part, but for
// the first of either half, holds its difference (exclusive or) to the part before. Taking
// 16 off an index again and again, with saturation, turns it negative as soon as its
// own part has been looked up, and a negative index looks up 0: what has been gathered is
// the entry itself.
class PartedTable {
 public:
  explicit PartedTable(const LevelTable& table) {
    const RowBlock d;
    for (size_t part = 0; part < table.size(); part += kPart) {
      auto entries = hn::LoadU(d, table.data() + part);
      if (part % kHalf != 0) entries = hn::Xor(entries, hn::LoadU(d, table.data() + part - kPart));
      hn::Store(entries, d, parts_ + part);
    }
  }

  HWY_INLINE hn::Vec<RowBytes> at(hn::Vec<RowBytes> levels) const {
    const RowBytes d;
    const hn::RebindToSigned<RowBytes> ds;
    const auto step = hn::Set(ds, int8_t{kPart});
    // A level is negative in all of one half.
    auto lower = hn::BitCast(ds, levels);
    auto upper = hn::BitCast(ds, hn::Xor(levels, hn::Set(d, uint8_t{kHalf})));
    auto entries = hn::Zero(d);
    HWY_UNROLL(8)
    for (size_t part = 0; part < kHalf; part += kPart) {
      entries = hn::Xor(entries, hn::Xor(entriesOf(part, lower), entriesOf(kHalf + part, upper)));
      lower = hn::SaturatedSub(lower, step);
      upper = hn::SaturatedSub(upper, step);
    }
    return entries;
  }

 private:
  static constexpr size_t kPart = 16;
  static constexpr size_t kHalf = 128;

  HWY_INLINE hn::Vec<RowBytes> entriesOf(size_t part,
                                         hn::Vec<hn::RebindToSigned<RowBytes>> index) const {
    const RowBytes d;
    auto local = hn::BitCast(d, index);
#if !HWY_ARCH_X86 || HWY_TARGET == HWY_EMU128
    // x86 minds the low four bits and the sign; NEON looks 0 up for 16 and above.
    local = hn::And(local, hn::Set(d, uint8_t{0x8F}));
#endif
    return hn::TableLookupBytesOr0(hn::LoadDup128(d, parts_ + part), local);
  }

  alignas(64) uint8_t parts_[256] = {};
};

void replace(const uint8_t* row, size_t width, const LevelTable& table, uint8_t* out) {
  int shift = 0;
  if (width >= 2 * table.size() && isShift(table, shift)) {
    shiftLevels(row, width, table, shift, out);
    return;
  }
  size_t x = 0;
#if HWY_TARGET != HWY_SSSE3 && HWY_TARGET != HWY_SSE4  // one look-up at a time is faster there
  const RowBytes d;
  const size_t lanes = hn::Lanes(d);
  const PartedTable parts(table);
  for (; x + lanes <= width; x += lanes) {
    const auto levels = hn::LoadU(d, row + x);
    const auto first = hn::Set(d, row[x]);
    const bool flat = hn::AllTrue(d, hn::Eq(levels, first));  // as most of a drawing is
    hn::StoreU(flat ? hn::Set(d, table[row[x]]) : parts.at(levels), d, out + x);
  }
#endif
  for (; x < width; ++x) out[x] = table[row[x]];
}

void reverse(uint8_t* row, size_t width) {
  const RowBytes d;
  const auto order = hn::LoadDup128(d, kReversed);
  const auto turned = [&](hn::Vec<RowBytes> bytes) HWY_ATTR {
    return hn::ReverseBlocks(d, hn::TableLookupBytes(bytes, order));
  };
  const size_t lanes = hn::Lanes(d);
  uint8_t* first = row;
  uint8_t* end = row + width;
  for (; static_cast<size_t>(end - first) >= 2 * lanes; first += lanes) {
    end -= lanes;
    const auto left = hn::LoadU(d, first);
    const auto right = hn::LoadU(d, end);
    hn::StoreU(turned(right), d, first);
    hn::StoreU(turned(left), d, end);
  }
  std::reverse(first, end);
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace drav_vector
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
void appendVectorRowOps(std::vector<RowOpsVariant>& variants) {
#define ADD_ROW_OPS(name, space) \
  variants.push_back(            \
      {name, drav_vector::space::pack, drav_vector::space::replace, drav_vector::space::reverse})
  SIMD_VARIANTS(ADD_ROW_OPS)
}
#endif  // HWY_ONCE
