// SPDX-License-Identifier: Apache-2.0
// The unsharp mask of the stencils, row by row in vectors. For stencil_simd.cc,
// which compiles it for every vector target.
//
// The plain blur sums in double, then rounds to single and to a byte. This one sums
// 16-bit products; BlurTaps bounds the difference. For about one sum in 600 the
// bound leaves two bytes possible. A 64-bit sum then decides, and if that is also
// too close to call, the plain sum does.
#if defined(TATTOO_SHARPENED_ROWS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TATTOO_SHARPENED_ROWS_INL_H_
#undef TATTOO_SHARPENED_ROWS_INL_H_
#else
#define TATTOO_SHARPENED_ROWS_INL_H_
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "simd/transpose-inl.h"
#include "tattoo/blur_taps.h"
#include "tattoo/stencil_rows.h"

HWY_BEFORE_NAMESPACE();
namespace drav_stencil {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
namespace simd = drav_simd::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

using Bytes = hn::ScalableTag<uint8_t>;
using Shorts = hn::ScalableTag<int16_t>;
using HalfBytes = hn::Rebind<uint8_t, Shorts>;
using Ints = hn::Repartition<int32_t, Shorts>;

// a * ta + b * tb of 16-bit lanes as 32-bit sums, for the lower and upper halves
// of each 128-bit block.
struct PairSums {
  hn::Vec<Ints> lower;
  hn::Vec<Ints> upper;
};

#if HWY_ARCH_X86 && HWY_TARGET != HWY_EMU128
// Interleaved pairs of samples and taps: pmaddwd.
HWY_INLINE PairSums addPair(PairSums sums, hn::Vec<Shorts> a, hn::Vec<Shorts> b, int16_t ta,
                            int16_t tb) {
  const Shorts d;
  const Ints d32;
  const uint32_t both = static_cast<uint16_t>(ta) | (static_cast<uint32_t>(tb) << 16);
  const auto factors = hn::BitCast(d, hn::Set(d32, static_cast<int32_t>(both)));
  auto unused = hn::Zero(d32);
  sums.lower =
      hn::ReorderWidenMulAccumulate(d32, hn::InterleaveLower(d, a, b), factors, sums.lower, unused);
  sums.upper =
      hn::ReorderWidenMulAccumulate(d32, hn::InterleaveUpper(d, a, b), factors, sums.upper, unused);
  return sums;
}
#else
HWY_INLINE PairSums addPair(PairSums sums, hn::Vec<Shorts> a, hn::Vec<Shorts> b, int16_t ta,
                            int16_t tb) {
  const Shorts d;
  const Ints d32;
  const auto zero = hn::Zero(d);
  const auto factorA = hn::Set(d32, int32_t{ta});
  const auto factorB = hn::Set(d32, int32_t{tb});
  // The samples are not negative: zeros extend them.
  const auto widenLower = [&](hn::Vec<Shorts> v) HWY_ATTR {
    return hn::BitCast(d32, hn::InterleaveLower(d, v, zero));
  };
  const auto widenUpper = [&](hn::Vec<Shorts> v) HWY_ATTR {
    return hn::BitCast(d32, hn::InterleaveUpper(d, v, zero));
  };
  sums.lower = hn::Add(sums.lower,
                       hn::Add(hn::Mul(widenLower(a), factorA), hn::Mul(widenLower(b), factorB)));
  sums.upper = hn::Add(sums.upper,
                       hn::Add(hn::Mul(widenUpper(a), factorA), hn::Mul(widenUpper(b), factorB)));
  return sums;
}
#endif

// The sums of one vector of blurred levels.
struct BlurSums {
  PairSums sums;

  template <class TapAt>
  HWY_INLINE void add(const TapAt& tapAt, size_t x, size_t k, const BlurTaps& taps) {
    const Shorts d;
    const auto pair = [&](size_t t) HWY_ATTR {
      return hn::Add(hn::LoadU(d, tapAt(t) + x), hn::LoadU(d, tapAt(kTaps - 1 - t) + x));
    };
    const auto second = k + 1 < kHalf ? pair(k + 1) : hn::LoadU(d, tapAt(kHalf) + x);
    sums = addPair(sums, pair(k), second, taps.coarse[k], taps.coarse[k + 1]);
  }
};

// Forms one row of `width` blurred levels, hands each vector of them to `finish`, and
// again each level that its vector could not decide. tapAt(t): the row, or the offset in
// a row, of tap t. Reads up to the next multiple of two vectors.
template <class TapAt, class Finish>
HWY_INLINE void blurRow(const TapAt& tapAt, size_t width, const BlurTaps& taps,
                        const Finish& finish) {
  const Shorts d;
  const Ints d32;
  constexpr size_t kVectors = 2;  // share the taps and the look at what is undecided
  const size_t lanes = hn::Lanes(d);
  const auto bias = hn::Set(d32, taps.bias);
  const auto fraction = hn::Set(d32, (1 << kPointBits) - 1);
  const auto lastSure = hn::Set(d32, taps.lastSure);
  for (size_t x = 0; x < width; x += kVectors * lanes) {
    // A generated constructor would lack the target's attribute.
    BlurSums blur[kVectors] = {{{bias, bias}}, {{bias, bias}}};
    HWY_UNROLL(3)
    for (size_t k = 0; k <= kHalf; k += 2) {
      HWY_UNROLL(2)
      for (size_t v = 0; v < kVectors; ++v) blur[v].add(tapAt, x + v * lanes, k, taps);
    }
    auto unsure = hn::MaskFromVec(hn::Zero(d32));
    for (size_t v = 0; v < kVectors; ++v) {
      const PairSums& sums = blur[v].sums;
      // The halves of each block go back to their places.
      finish(x + v * lanes, hn::ReorderDemote2To(d, hn::ShiftRight<kPointBits>(sums.lower),
                                                 hn::ShiftRight<kPointBits>(sums.upper)));
      unsure = hn::Or(unsure, hn::Gt(hn::And(sums.lower, fraction), lastSure));
      unsure = hn::Or(unsure, hn::Gt(hn::And(sums.upper, fraction), lastSure));
    }
    if (HWY_LIKELY(hn::AllFalse(d32, unsure))) continue;
    const int16_t* in[kTaps];
    for (size_t t = 0; t < kTaps; ++t) in[t] = tapAt(t);
    for (size_t v = 0; v < kVectors; ++v) {
      int16_t undecided[HWY_MAX_BYTES / sizeof(int16_t)];
      const PairSums& sums = blur[v].sums;
      const auto lower = hn::VecFromMask(d32, hn::Gt(hn::And(sums.lower, fraction), lastSure));
      const auto upper = hn::VecFromMask(d32, hn::Gt(hn::And(sums.upper, fraction), lastSure));
      hn::StoreU(hn::ReorderDemote2To(d, lower, upper), d, undecided);
      for (size_t i = 0; i < lanes; ++i) {
        const size_t at = x + v * lanes + i;
        if (undecided[i] != 0 && at < width) finish(at, fineLevel(in, at, taps));
      }
    }
  }
}

HWY_INLINE hn::Vec<Shorts> loadLevels(const uint8_t* levels) {
  return hn::PromoteTo(Shorts(), hn::LoadU(HalfBytes(), levels));
}

HWY_INLINE void scaleRow(const uint8_t* row, size_t width, int16_t* HWY_RESTRICT out) {
  const Shorts d;
  const auto scale = hn::Set(d, int16_t{kScale});
  for (size_t x = 0; x < width; x += hn::Lanes(d)) {
    hn::StoreU(hn::Mul(loadLevels(row + x), scale), d, out + x);
  }
}

// Where blurred levels go: to the next blur,
struct ScaleInto {
  int16_t* out;

  HWY_INLINE void operator()(size_t x, hn::Vec<Shorts> levels) const {
    hn::StoreU(hn::Mul(levels, hn::Set(Shorts(), int16_t{kScale})), Shorts(), out + x);
  }
  void operator()(size_t x, int16_t level) const { out[x] = static_cast<int16_t>(level * kScale); }
};

// or into the mask: 4 * grey - 3 * blurred, clamped. That is the weighted sum of the
// unsharp mask, a whole number.
struct SharpenInto {
  const uint8_t* grey;
  uint8_t* out;

  HWY_INLINE void operator()(size_t x, hn::Vec<Shorts> blurred) const {
    const auto thrice = hn::Add(hn::Add(blurred, blurred), blurred);
    const auto sum = hn::Sub(hn::ShiftLeft<2>(loadLevels(grey + x)), thrice);
    hn::StoreU(hn::DemoteTo(HalfBytes(), sum), HalfBytes(), out + x);
  }
  void operator()(size_t x, int16_t blurred) const {
    out[x] = static_cast<uint8_t>(std::clamp(4 * grey[x] - 3 * blurred, 0, 255));
  }
};

// The sharpened rows, in order. Holds the last rows of the page that the taps of
// kRows rows reach, and of its first blur as scaled 16-bit levels.
//
// Most of a drawing is paper, and neither blur changes a level whose neighbours all
// have it (a test of BlurTaps holds that for each level). So each row goes in blocks,
// and only those within the taps' reach of another level are blurred.
class SharpenedRows {
 public:
  static constexpr size_t kRows = simd::kTile;
  static constexpr size_t kSlack = 2 * HWY_LANES(int16_t);

  SharpenedRows(uint32_t width, uint32_t height, const RowSource& source)
      : width_(width),
        height_(height),
        source_(source),
        rowLevels_(width + 2 * kHalf + kSlack),
        grey_(rowLevels_ * kRing),
        scaled_(rowLevels_),
        blurred_(rowLevels_ * kRing),
        blocks_((width + kBlock - 1) / kBlock),
        levels_(blocks_, kMixed),
        blurredLevels_(blocks_, kMixed),
        changes_(blocks_),
        blank_(blocks_) {}

  // Gives the next rows, at most kRows. Writes up to kSlack behind `width` bytes.
  void next(uint8_t* const* out, size_t rows) {
    while (ready_ < std::min<size_t>(height_, row_ + rows + kHalf)) prepare(ready_++);
    std::fill(blank_.begin(), blank_.end(), uint8_t{1});
    for (size_t from = 0; from < blocks_; from += kStrip / kBlock) {
      const size_t end = std::min(blocks_, from + kStrip / kBlock);
      for (size_t i = 0; i < rows; ++i) sharpenBlocks(row_ + i, from, end, out[i]);
    }
    row_ += rows;
  }

  // Whether the columns from..end are 0 in all the rows that next() gave last. False for
  // some that are.
  bool isBlank(size_t from, size_t end) const {
    const auto first = blank_.begin() + static_cast<ptrdiff_t>(from / kBlock);
    const auto last = blank_.begin() + static_cast<ptrdiff_t>((end - 1) / kBlock);
    return std::all_of(first, last + 1, [](uint8_t blank) { return blank != 0; });
  }

 private:
  template <class T>
  T* slot(std::vector<T>& ring, size_t y) {
    return ring.data() + y % kRing * rowLevels_;
  }

  size_t columnsUntil(size_t block) const { return std::min(block * kBlock, width_); }

  // Hands on runs of blocks that are alike: first, last + 1, and how they are.
  template <class IsFlat, class Take>
  HWY_INLINE static void forRuns(size_t from, size_t end, const IsFlat& isFlat, const Take& take) {
    while (from < end) {
      const bool flat = isFlat(from);
      size_t last = from + 1;
      while (last < end && isFlat(last) == flat) ++last;
      take(from, last, flat);
      from = last;
    }
  }

  void sharpenBlocks(size_t y, size_t from, size_t end, uint8_t* out) {
    const size_t top = y < kHalf ? 0 : y - kHalf;
    const size_t bottom = std::min(height_ - 1, y + kHalf);
    // Changes from the row above, of the rows below `top`.
    const uint32_t window = ((1U << (bottom - top)) - 1) << (ready_ - 1 - bottom);
    const uint8_t* grey = slot(grey_, y);
    const auto isFlat = [&](size_t k) { return bottom > top && (changes_[k] & window) == 0; };
    forRuns(from, end, isFlat, [&](size_t first, size_t last, bool flat) {
      const size_t x = first * kBlock;
      const size_t columns = columnsUntil(last) - x;
      if (!flat) {
        sharpen(y, x, columns, out + x);
        std::fill_n(blank_.data() + first, last - first, uint8_t{0});
        return;
      }
      std::memcpy(out + x, grey + x, columns);
      for (size_t k = first; k < last; ++k) blank_[k] &= grey[k * kBlock] == 0 ? 1 : 0;
    });
  }

  HWY_NOINLINE void sharpen(size_t y, size_t from, size_t width, uint8_t* out) {
    const int16_t* in[kTaps];
    for (size_t t = 0; t < kTaps; ++t) {
      const auto wanted = static_cast<int64_t>(y + t) - static_cast<int64_t>(kHalf);
      const auto row = std::clamp<int64_t>(wanted, 0, static_cast<int64_t>(height_) - 1);
      in[t] = slot(blurred_, static_cast<size_t>(row)) + from;
    }
    const uint8_t* grey = slot(grey_, y) + from;
    blurRow([&](size_t t) { return in[t]; }, width, taps_, SharpenInto{grey, out});
  }

  // Fetches row y and blurs it.
  void prepare(size_t y) {
    uint8_t* grey = slot(grey_, y);
    int16_t* out = slot(blurred_, y);
    source_(static_cast<uint32_t>(y), grey);
    findFlatBlocks(grey);
    const auto isFlat = [&](size_t k) {
      return levels_[k] != kMixed && levels_[k - std::min<size_t>(k, 1)] == levels_[k] &&
             levels_[std::min(k + 1, blocks_ - 1)] == levels_[k];
    };
    forRuns(0, blocks_, isFlat, [&](size_t first, size_t last, bool flat) {
      for (size_t k = first; k < last; ++k) noteBlurred(k, flat ? levels_[k] : kMixed);
      const size_t x = first * kBlock;
      const size_t columns = columnsUntil(last) - x;
      if (flat) {  // of one level, or the next block would differ
        std::fill_n(out + x, columns, static_cast<int16_t>(levels_[first] * kScale));
      } else {
        blurAcross(grey, x, columns, out);
      }
    });
  }

  void noteBlurred(size_t block, int16_t level) {
    const bool changed = level == kMixed || level != blurredLevels_[block];
    changes_[block] = (changes_[block] << 1U) | (changed ? 1U : 0U);
    blurredLevels_[block] = level;
  }

  HWY_NOINLINE void blurAcross(const uint8_t* grey, size_t from, size_t columns, int16_t* out) {
    int16_t* pixels = scaled_.data() + kHalf;
    // What the taps reach beside the part, too; beyond the row its edge pixels again.
    const size_t start = from - std::min(from, kBlock);
    scaleRow(grey + start, std::min(width_, from + columns + kBlock) - start, pixels + start);
    if (from == 0) std::fill_n(scaled_.data(), kHalf, pixels[0]);
    if (from + columns + kHalf >= width_) std::fill_n(pixels + width_, kHalf, pixels[width_ - 1]);
    const int16_t* first = scaled_.data() + from;
    blurRow([&](size_t t) { return first + t; }, columns, taps_, ScaleInto{out + from});
  }

  void findFlatBlocks(const uint8_t* grey) {
    const hn::ScalableTag<uint8_t> d;
    for (size_t k = 0; k < blocks_; ++k) {
      const uint8_t* block = grey + k * kBlock;
      const size_t columns = columnsUntil(k + 1) - k * kBlock;
      bool flat = true;
      if (columns == kBlock) {
        const auto first = hn::Set(d, block[0]);
        auto bits = hn::Zero(d);
        for (size_t x = 0; x < kBlock; x += hn::Lanes(d)) {
          bits = hn::Or(bits, hn::Xor(first, hn::LoadU(d, block + x)));
        }
        flat = hn::AllTrue(d, hn::Eq(bits, hn::Zero(d)));
      } else {
        flat = std::all_of(block, block + columns, [&](uint8_t level) { return level == *block; });
      }
      levels_[k] = flat ? int16_t{block[0]} : kMixed;
    }
  }

  static constexpr size_t kRing = kRows + kTaps - 1;
  static constexpr size_t kBlock = 64;  // columns of a block
  static_assert(kBlock % HWY_LANES(uint8_t) == 0 && kBlock >= kHalf && kRing <= 32);
  static constexpr size_t kStrip = 512;  // columns whose rows fit the first cache together
  static constexpr int16_t kMixed = -1;  // of more than one level

  const size_t width_;
  const size_t height_;
  const RowSource& source_;
  const BlurTaps taps_;
  const size_t rowLevels_;
  std::vector<uint8_t> grey_;
  std::vector<int16_t> scaled_;  // the row in work
  std::vector<int16_t> blurred_;
  const size_t blocks_;
  std::vector<int16_t> levels_;         // of the blocks of the row in work
  std::vector<int16_t> blurredLevels_;  // the same once it is blurred
  std::vector<uint32_t> changes_;  // a bit for each row prepared, the last one lowest: set unless
                                   // the blurred block is flat and of the level above
  std::vector<uint8_t> blank_;     // blocks that are 0 in the rows given last
  size_t row_ = 0;                 // next row to hand out
  size_t ready_ = 0;               // rows prepared
};

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace drav_stencil
HWY_AFTER_NAMESPACE();

#endif  // TATTOO_SHARPENED_ROWS_INL_H_: once for every vector target
