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

#include "tattoo/blur_taps.h"
#include "tattoo/stencil_rows.h"
#include "tattoo/transpose-inl.h"

HWY_BEFORE_NAMESPACE();
namespace drav_stencil {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

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

// Forms one row of `width` blurred levels from the rows of the 11 taps (or one row
// at 11 offsets) and hands each vector of them to `finish`. Reads up to the next
// multiple of a vector.
template <class Finish>
HWY_INLINE void blurRow(const int16_t* const* in, size_t width, const BlurTaps& taps,
                        const Finish& finish) {
  const Shorts d;
  const Ints d32;
  const size_t lanes = hn::Lanes(d);
  const auto bias = hn::Set(d32, taps.bias);
  const auto fraction = hn::Set(d32, (1 << kPointBits) - 1);
  const auto lastSure = hn::Set(d32, taps.lastSure);
  for (size_t x = 0; x < width; x += lanes) {
    hn::Vec<Shorts> s[kHalf + 1];
    for (size_t k = 0; k < kHalf; ++k) {
      s[k] = hn::Add(hn::LoadU(d, in[k] + x), hn::LoadU(d, in[kTaps - 1 - k] + x));
    }
    s[kHalf] = hn::LoadU(d, in[kHalf] + x);
    PairSums sums = {bias, bias};
    for (size_t k = 0; k <= kHalf; k += 2) {
      sums = addPair(sums, s[k], s[k + 1], taps.coarse[k], taps.coarse[k + 1]);
    }
    // The halves of each block go back to their places.
    auto levels = hn::ReorderDemote2To(d, hn::ShiftRight<kPointBits>(sums.lower),
                                       hn::ShiftRight<kPointBits>(sums.upper));
    const auto unsureLower = hn::Gt(hn::And(sums.lower, fraction), lastSure);
    const auto unsureUpper = hn::Gt(hn::And(sums.upper, fraction), lastSure);
    if (HWY_UNLIKELY(!hn::AllFalse(d32, hn::Or(unsureLower, unsureUpper)))) {
      int16_t patched[HWY_MAX_BYTES / sizeof(int16_t)];
      int16_t unsure[HWY_MAX_BYTES / sizeof(int16_t)];
      hn::StoreU(levels, d, patched);
      hn::StoreU(hn::ReorderDemote2To(d, hn::VecFromMask(d32, unsureLower),
                                      hn::VecFromMask(d32, unsureUpper)),
                 d, unsure);
      const size_t end = std::min(lanes, width - x);
      for (size_t i = 0; i < end; ++i) {
        if (unsure[i] != 0) patched[i] = fineLevel(in, x + i, taps);
      }
      levels = hn::LoadU(d, patched);
    }
    finish(x, levels);
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

// The sharpened rows, in order. Holds the last rows of the page that the taps of
// kRows rows reach, and of its first blur as scaled 16-bit levels.
class SharpenedRows {
 public:
  static constexpr size_t kRows = kTile;

  SharpenedRows(uint32_t width, uint32_t height, const GreyRowSource& source)
      : width_(width),
        height_(height),
        source_(source),
        rowLevels_(width + 2 * kHalf + 2 * hn::Lanes(Shorts())),
        grey_(rowLevels_ * kRing),
        scaled_(rowLevels_),
        blurred_(rowLevels_ * kRing) {}

  // Gives the next rows, at most kRows. Writes up to a vector behind `width` bytes.
  void next(uint8_t* const* out, size_t rows) {
    while (ready_ < std::min<size_t>(height_, row_ + rows + kHalf)) prepare(ready_++);
    for (size_t x = 0; x < width_; x += kStrip) {
      for (size_t i = 0; i < rows; ++i) {
        sharpen(row_ + i, x, std::min(kStrip, width_ - x), out[i] + x);
      }
    }
    row_ += rows;
  }

 private:
  template <class T>
  T* slot(std::vector<T>& ring, size_t y) {
    return ring.data() + y % kRing * rowLevels_;
  }

  // 4 * grey - 3 * blurred, clamped: the weighted sum of the unsharp mask is a whole
  // number.
  void sharpen(size_t y, size_t from, size_t width, uint8_t* out) {
    const int16_t* in[kTaps];
    for (size_t t = 0; t < kTaps; ++t) {
      const auto wanted = static_cast<int64_t>(y + t) - static_cast<int64_t>(kHalf);
      const auto row = std::clamp<int64_t>(wanted, 0, static_cast<int64_t>(height_) - 1);
      in[t] = slot(blurred_, static_cast<size_t>(row)) + from;
    }
    const uint8_t* grey = slot(grey_, y) + from;
    blurRow(in, width, taps_, [&](size_t x, hn::Vec<Shorts> blurred) HWY_ATTR {
      const auto thrice = hn::Add(hn::Add(blurred, blurred), blurred);
      const auto sum = hn::Sub(hn::ShiftLeft<2>(loadLevels(grey + x)), thrice);
      hn::StoreU(hn::DemoteTo(HalfBytes(), sum), HalfBytes(), out + x);
    });
  }

  // Fetches row y, repeats its edge pixels, and blurs it.
  void prepare(size_t y) {
    uint8_t* grey = slot(grey_, y);
    source_(static_cast<uint32_t>(y), grey);
    int16_t* pixels = scaled_.data() + kHalf;
    scaleRow(grey, width_, pixels);
    std::fill_n(scaled_.data(), kHalf, pixels[0]);
    std::fill_n(pixels + width_, kHalf, pixels[width_ - 1]);
    const int16_t* in[kTaps];
    for (size_t t = 0; t < kTaps; ++t) in[t] = scaled_.data() + t;
    int16_t* out = slot(blurred_, y);
    const Shorts d;
    const auto scale = hn::Set(d, int16_t{kScale});
    blurRow(in, width_, taps_, [&](size_t x, hn::Vec<Shorts> levels) HWY_ATTR {
      hn::StoreU(hn::Mul(levels, scale), d, out + x);
    });
  }

  static constexpr size_t kRing = kRows + kTaps - 1;
  static constexpr size_t kStrip = 512;  // columns whose rows fit the first cache together

  const size_t width_;
  const size_t height_;
  const GreyRowSource& source_;
  const BlurTaps taps_;
  const size_t rowLevels_;
  std::vector<uint8_t> grey_;
  std::vector<int16_t> scaled_;  // the row in work
  std::vector<int16_t> blurred_;
  size_t row_ = 0;    // next row to hand out
  size_t ready_ = 0;  // rows prepared
};

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace drav_stencil
HWY_AFTER_NAMESPACE();

#endif  // TATTOO_SHARPENED_ROWS_INL_H_: once for every vector target
