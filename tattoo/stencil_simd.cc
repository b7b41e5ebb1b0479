// SPDX-License-Identifier: Apache-2.0
// The tattoo stages row by row in vectors.
//
// Blur. The plain sum is formed in double, rounded to single and then to a byte.
// Here it is a fixed-point sum with 15 bits behind the point, whose distance from
// the plain one is bounded (see kUnsure); only where that leaves the byte open is
// the plain sum formed for the pixel.
//
// Error diffusion. A wavefront: each lane holds one row and lags the row above by
// kLag columns. Every product and sum is the plain one, single precision, in the
// plain order; nothing is fused.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tattoo/stencil_simd.cc"
#include "tattoo/vector_targets.h"
// clang-format off: the target list comes before the vector library
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// clang-format on

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "tattoo/error_diffusion_taps.h"
#include "tattoo/fast_math.h"
#include "tattoo/gaussian.h"
#include "tattoo/stencil_simd.h"
#include "tattoo/unsharp.h"

#ifndef TATTOO_STENCIL_SIMD_ONCE_
#define TATTOO_STENCIL_SIMD_ONCE_
namespace drav_stencil {

constexpr size_t kTaps = kStencilUnsharpTaps;
constexpr size_t kHalf = kTaps / 2;
constexpr int kPointBits = 15;

// The Gaussian of the unsharp mask, exact and in fixed point: 30 bits behind the
// point, split into two halves of 15.
struct BlurTaps {
  BlurTaps() {
    generateGaussianKernel1D(kStencilUnsharpTaps, kUnsharpSigma, exact.data());
    for (size_t k = 0; k <= kHalf; ++k) {
      const auto fixed = static_cast<int32_t>(std::lround(exact[k] * (1 << (2 * kPointBits))));
      high[k] = static_cast<int16_t>(fixed >> kPointBits);
      low[k] = static_cast<int16_t>(fixed & ((1 << kPointBits) - 1));
    }
  }
  std::array<double, kTaps> exact = {};
  std::array<int16_t, kHalf + 1> high = {};  // symmetric: the first half and the centre
  std::array<int16_t, kHalf + 1> low = {};
};

// The fixed-point sum, cut to 15 bits, is at most 1 unit of 2^-15 low, and off by
// 11 * 255 * 2^-31 for the taps; the plain sum is off by 2^-17 for each of its two
// roundings to single, half a unit together. A fraction this many units away from
// a whole number on either side decides the byte.
constexpr int kUnsure = 4;

inline int16_t plainLevel(const int16_t* const* in, size_t x, const BlurTaps& taps) {
  double sum = 0.0;
  for (size_t t = 0; t < kTaps; ++t) sum = static_cast<double>(in[t][x]) * taps.exact[t] + sum;
  return static_cast<int16_t>(my_round(static_cast<float>(sum)) & 0xFF);
}

}  // namespace drav_stencil
#endif  // TATTOO_STENCIL_SIMD_ONCE_

HWY_BEFORE_NAMESPACE();
namespace drav_stencil {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

using Bytes = hn::ScalableTag<uint8_t>;
using Block = hn::FixedTag<uint8_t, 16>;
using Shorts = hn::ScalableTag<int16_t>;
using HalfBytes = hn::Rebind<uint8_t, Shorts>;
using Ints = hn::Repartition<int32_t, Shorts>;
using Floats = hn::ScalableTag<float>;
using FloatInts = hn::Rebind<int32_t, Floats>;
using FloatBytes = hn::Rebind<uint8_t, Floats>;

constexpr size_t kTile = 16;

// Transposes 16 rows of 16 bytes: row i is read at in + i * inStep and column j
// written to out + j * outStep.
HWY_INLINE void transposeTile(const uint8_t* HWY_RESTRICT in, size_t inStep,
                              uint8_t* HWY_RESTRICT out, size_t outStep) {
  const Block d;
  hn::Vec<Block> a[kTile];
  hn::Vec<Block> b[kTile];
  for (size_t i = 0; i < kTile; ++i) a[i] = hn::LoadU(d, in + i * inStep);
  for (int round = 0; round < 2; ++round) {
    for (size_t i = 0; i < 8; ++i) {
      b[2 * i] = hn::InterleaveLower(d, a[i], a[i + 8]);
      b[2 * i + 1] = hn::InterleaveUpper(d, a[i], a[i + 8]);
    }
    for (size_t i = 0; i < 8; ++i) {
      a[2 * i] = hn::InterleaveLower(d, b[i], b[i + 8]);
      a[2 * i + 1] = hn::InterleaveUpper(d, b[i], b[i + 8]);
    }
  }
  for (size_t i = 0; i < kTile; ++i) hn::StoreU(a[i], d, out + i * outStep);
}

// ---- Blur --------------------------------------------------------------------

// a * ta + b * tb of 16-bit lanes as 32-bit sums, for the lower and upper halves
// of each 128-bit block.
struct PairSums {
  hn::Vec<Ints> lower;
  hn::Vec<Ints> upper;
};

#if HWY_ARCH_X86
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

// The sum with 15 bits behind the point, plus a half.
HWY_INLINE hn::Vec<Ints> combine(hn::Vec<Ints> high, hn::Vec<Ints> low) {
  const Ints d;
  return hn::Add(hn::Add(high, hn::ShiftRight<kPointBits>(low)), hn::Set(d, 1 << (kPointBits - 1)));
}

// True in lanes whose fraction decides the byte.
HWY_INLINE hn::Mask<Ints> isSure(hn::Vec<Ints> value) {
  const Ints d;
  const auto fraction = hn::And(value, hn::Set(d, (1 << kPointBits) - 1));
  const auto centred = hn::Abs(hn::Sub(fraction, hn::Set(d, 1 << (kPointBits - 1))));
  return hn::Lt(centred, hn::Set(d, (1 << (kPointBits - 1)) - kUnsure));
}

// One output row of `width` levels from the rows of the 11 taps (or one row at 11
// offsets). Reads and writes up to the next multiple of a vector.
HWY_INLINE void blurRow(const int16_t* const* in, size_t width, const BlurTaps& taps,
                        int16_t* HWY_RESTRICT out) {
  const Shorts d;
  const Ints d32;
  const size_t lanes = hn::Lanes(d);
  for (size_t x = 0; x < width; x += lanes) {
    hn::Vec<Shorts> s[kHalf + 1];
    for (size_t k = 0; k < kHalf; ++k) {
      s[k] = hn::Add(hn::LoadU(d, in[k] + x), hn::LoadU(d, in[kTaps - 1 - k] + x));
    }
    s[kHalf] = hn::LoadU(d, in[kHalf] + x);
    PairSums high = {hn::Zero(d32), hn::Zero(d32)};
    PairSums low = high;
    for (size_t k = 0; k <= kHalf; k += 2) {
      high = addPair(high, s[k], s[k + 1], taps.high[k], taps.high[k + 1]);
      low = addPair(low, s[k], s[k + 1], taps.low[k], taps.low[k + 1]);
    }
    const auto lower = combine(high.lower, low.lower);
    const auto upper = combine(high.upper, low.upper);
    // The halves of each block go back to their places.
    hn::StoreU(hn::ReorderDemote2To(d, hn::ShiftRight<kPointBits>(lower),
                                    hn::ShiftRight<kPointBits>(upper)),
               d, out + x);
    if (HWY_UNLIKELY(!hn::AllTrue(d32, hn::And(isSure(lower), isSure(upper))))) {
      const size_t end = std::min(width, x + lanes);
      for (size_t i = x; i < end; ++i) out[i] = plainLevel(in, i, taps);
    }
  }
}

HWY_INLINE void widenRow(const uint8_t* row, size_t width, int16_t* HWY_RESTRICT out) {
  const Shorts d;
  for (size_t x = 0; x < width; x += hn::Lanes(d)) {
    hn::StoreU(hn::PromoteTo(d, hn::LoadU(HalfBytes(), row + x)), d, out + x);
  }
}

// 4 * grey - 3 * blurred, clamped: the weighted sum of the unsharp mask is a whole
// number.
HWY_INLINE void sharpenRow(const int16_t* grey, const int16_t* blurred, size_t width,
                           uint8_t* out) {
  const Shorts d;
  for (size_t x = 0; x < width; x += hn::Lanes(d)) {
    const auto g = hn::LoadU(d, grey + x);
    const auto b = hn::LoadU(d, blurred + x);
    const auto sum = hn::Sub(hn::ShiftLeft<2>(g), hn::Add(hn::Add(b, b), b));
    hn::StoreU(hn::DemoteTo(HalfBytes(), sum), HalfBytes(), out + x);
  }
}

// The sharpened rows, in order. Holds the last 11 rows of the page and of its first
// blur, as 16-bit levels.
class SharpenedRows {
 public:
  SharpenedRows(uint32_t width, uint32_t height, const GreyRowSource& source)
      : width_(width),
        height_(height),
        source_(source),
        rowLevels_(width + 2 * kHalf + 2 * hn::Lanes(Shorts())),
        bytes_(rowLevels_),
        grey_(rowLevels_ * kTaps),
        blurred_(rowLevels_ * kTaps),
        scratch_(rowLevels_) {}

  // Writes up to a vector behind `width` bytes.
  void next(uint8_t* out) {
    while (ready_ < std::min<size_t>(height_, row_ + kHalf + 1)) prepare(ready_++);
    const int16_t* in[kTaps];
    for (size_t t = 0; t < kTaps; ++t) {
      const auto wanted = static_cast<int64_t>(row_ + t) - static_cast<int64_t>(kHalf);
      const auto y = std::clamp<int64_t>(wanted, 0, static_cast<int64_t>(height_) - 1);
      in[t] = slot(blurred_, static_cast<size_t>(y));
    }
    blurRow(in, width_, taps_, scratch_.data());
    sharpenRow(slot(grey_, row_) + kHalf, scratch_.data(), width_, out);
    ++row_;
  }

 private:
  int16_t* slot(std::vector<int16_t>& ring, size_t y) {
    return ring.data() + y % kTaps * rowLevels_;
  }

  // Fetches row y, repeats its edge pixels, and blurs it.
  void prepare(size_t y) {
    source_(static_cast<uint32_t>(y), bytes_.data());
    int16_t* row = slot(grey_, y);
    int16_t* pixels = row + kHalf;
    widenRow(bytes_.data(), width_, pixels);
    std::fill_n(row, kHalf, pixels[0]);
    std::fill_n(pixels + width_, kHalf, pixels[width_ - 1]);
    const int16_t* in[kTaps];
    for (size_t t = 0; t < kTaps; ++t) in[t] = row + t;
    blurRow(in, width_, taps_, slot(blurred_, y));
  }

  const size_t width_;
  const size_t height_;
  const GreyRowSource& source_;
  const BlurTaps taps_;
  const size_t rowLevels_;
  std::vector<uint8_t> bytes_;
  std::vector<int16_t> grey_;
  std::vector<int16_t> blurred_;
  std::vector<int16_t> scratch_;
  size_t row_ = 0;    // next row to hand out
  size_t ready_ = 0;  // rows prepared
};

// ---- Error diffusion -----------------------------------------------------------

// Rows side by side: a byte tile's, whatever the vectors' size.
constexpr size_t kLanes = kTile;
// What a row needs of the one above was computed three steps before or earlier.
constexpr size_t kLag = 5;

class StencilWavefront {
 public:
  StencilWavefront(int32_t threshold, uint32_t width, uint32_t height)
      : threshold_(static_cast<float>(threshold)),
        width_(width),
        height_(height),
        steps_(width + kLag * (kLanes - 1)),
        margin_(kLag * kLanes + 64),
        rowBytes_(margin_ + width + margin_),
        rows_(rowBytes_ * kLanes),
        columns_((steps_ + 2 * kTile) * kLanes),
        errors_{std::vector<float>(planeFloats()), std::vector<float>(planeFloats())},
        spreads_{std::vector<float>(planeFloats()), std::vector<float>(planeFloats())} {}

  void run(SharpenedRows& sharpened, const StencilRowSink& sink) {
    for (size_t y = 0; y < height_; y += kLanes) {
      const size_t count = std::min(kLanes, height_ - y);
      for (size_t i = 0; i < count; ++i) sharpened.next(rowOf(i));
      toColumns();
      clearLanesBeforeStart();
      markInnerRows(y);
      diffuseBlock();
      toRows();
      for (size_t i = 0; i < count; ++i) sink(static_cast<uint32_t>(y + i), rowOf(i));
      std::swap(errors_[0], errors_[1]);
      std::swap(spreads_[0], spreads_[1]);
    }
  }

 private:
  using V = hn::Vec<Floats>;
  static constexpr size_t kRecord = kLanes + 1;        // a slot for the row above, then the lanes
  static constexpr size_t kFront = kLag * kLanes + 8;  // records before step 0

  size_t planeFloats() const { return (kFront + steps_ + 8) * kRecord + kLanes; }
  uint8_t* rowOf(size_t lane) { return rows_.data() + lane * rowBytes_ + margin_; }

  void toColumns() {
    for (size_t s = 0; s < steps_; s += kTile) {
      transposeTile(rowOf(0) + s, rowBytes_ - kLag, columns_.data() + s * kLanes, kLanes);
    }
  }
  void toRows() {
    for (size_t s = 0; s < steps_; s += kTile) {
      transposeTile(columns_.data() + s * kLanes, kLanes, rowOf(0) + s, rowBytes_ - kLag);
    }
  }

  static float* recordOf(std::vector<float>& plane, ptrdiff_t step) {
    return plane.data() + kLanes +
           (static_cast<ptrdiff_t>(kFront) + step) * static_cast<ptrdiff_t>(kRecord);
  }

  void clearLanesBeforeStart() {
    for (ptrdiff_t r = 1; r <= static_cast<ptrdiff_t>(kLag); ++r) {
      std::memset(recordOf(errors_[0], -r) + 1, 0, kLanes * sizeof(float));
      std::memset(recordOf(spreads_[0], -r) + 1, 0, kLanes * sizeof(float));
    }
  }

  static float maskFloat(bool set) {
    const uint32_t bits = set ? 0xFFFFFFFFU : 0U;
    float value = 0.0F;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }

  void markInnerRows(size_t y) {
    for (size_t i = 0; i < kLanes; ++i) {
      innerRow_[i] = maskFloat(y + i >= 1 && y + i + 1 < height_);
    }
  }

  // The errors of the last two steps of a vector's lanes, and whether the last
  // one was black.
  struct History {
    // Written out: a generated constructor would lack the target's attribute.
    History()
        : last(hn::Zero(Floats())), beforeLast(hn::Zero(Floats())), spread(hn::Zero(Floats())) {}
    V last;
    V beforeLast;
    V spread;  // kDotSpread where the last pixel was black
  };

  // What a step reads and writes for one vector of lanes.
  struct Place {
    size_t step;
    size_t lane;             // first lane
    const float* above;      // errors of the lanes above, this step's record
    const float* aboveDots;  // their spreads
    uint8_t* pixels;         // levels in, dots out
    float* error;
    float* spread;
  };

  // Error of the lanes above at the column dx to the left of this step's.
  HWY_INLINE static V errorAbove(const Place& at, ptrdiff_t dx) {
    return hn::LoadU(
        Floats(), at.above - (dx + static_cast<ptrdiff_t>(kLag)) * static_cast<ptrdiff_t>(kRecord));
  }

  template <bool kMasked>
  HWY_INLINE void diffuseStep(const Place& at, History& history) const {
    const Floats d;
    if (isBlank(at.pixels) && diffuseDust(at, history)) return;
    // Shares from the row above, sources from left to right, then from this row.
    V carried = hn::Mul(errorAbove(at, 1), hn::Set(d, kStencilTaps[5].weight));
    carried = hn::Add(hn::Mul(errorAbove(at, 0), hn::Set(d, kStencilTaps[4].weight)), carried);
    carried = hn::Add(hn::Mul(errorAbove(at, -1), hn::Set(d, kStencilTaps[3].weight)), carried);
    carried = hn::Add(hn::Mul(errorAbove(at, -2), hn::Set(d, kStencilTaps[2].weight)), carried);
    carried = hn::Add(hn::Mul(history.beforeLast, hn::Set(d, kStencilTaps[1].weight)), carried);
    carried = hn::Add(hn::Mul(history.last, hn::Set(d, kStencilTaps[0].weight)), carried);
    const auto level =
        hn::ConvertTo(d, hn::PromoteTo(FloatInts(), hn::LoadU(FloatBytes(), at.pixels)));
    const V value = hn::Add(carried, level);
    const auto white = hn::Gt(value, hn::Set(d, threshold_));

    const V spreadAbove =
        hn::LoadU(d, at.aboveDots - static_cast<ptrdiff_t>(kLag) * static_cast<ptrdiff_t>(kRecord));
    V spread = hn::Add(history.spread, spreadAbove);
    spread = hn::And(spread, hn::LoadU(d, innerRow_ + at.lane));
    if constexpr (kMasked) spread = hn::And(spread, maskOf(at, 1));
    const V charge = hn::Mul(hn::Sub(hn::Set(d, 1.0F), spread), hn::Set(d, -255.0F));
    V error = hn::IfThenElse(white, hn::Add(charge, value), value);
    if constexpr (kMasked) error = hn::And(error, maskOf(at, 0));

    history.beforeLast = history.last;
    history.last = error;
    history.spread = hn::IfThenZeroElse(white, hn::Set(d, kDotSpread));
    hn::StoreU(error, d, at.error);
    hn::StoreU(history.spread, d, at.spread);
    const auto dots =
        hn::And(hn::BitCast(FloatInts(), hn::VecFromMask(d, white)), hn::Set(FloatInts(), 255));
    hn::StoreU(hn::DemoteTo(FloatBytes(), dots), FloatBytes(), at.pixels);
  }

  HWY_INLINE static bool isBlank(const uint8_t* pixels) {
    hn::TFromD<hn::Repartition<uint64_t, Bytes>> levels = 0;
    std::memcpy(&levels, pixels, hn::Lanes(Floats()));
    return levels == 0;
  }

  // On blank paper the errors of distant ink fade into denormal numbers and never
  // out of them (half of the smallest rounds to itself), and processors that trap
  // to microcode for those would spend most of a page's time there. A denormal is
  // a whole number of 2^-149: its share is the product in double, rounded to the
  // nearest whole number, ties to even, which is what single precision gives, and
  // the sums are exact. False, with nothing done, unless every error that the
  // lanes look at is denormal or zero and every pixel stays black.
  HWY_INLINE bool diffuseDust(const Place& at, History& history) const {
    const Floats d;
    const FloatInts di;
    const V sources[6] = {errorAbove(at, 1),  errorAbove(at, 0),  errorAbove(at, -1),
                          errorAbove(at, -2), history.beforeLast, history.last};
    auto bits = hn::Zero(di);
    for (const V& source : sources) bits = hn::Or(bits, hn::BitCast(di, source));
    const auto magnitude = hn::And(bits, hn::Set(di, 0x7FFFFFFF));
    auto dust = hn::Zero(di);
    if (!hn::AllTrue(di, hn::Eq(magnitude, hn::Zero(di)))) {
      if (!hn::AllTrue(di, hn::Lt(magnitude, hn::Set(di, 0x00800000)))) return false;
      dust = dustCarried(sources);
      // One that has grown out of the denormals is for the plain way.
      if (!hn::AllTrue(di, hn::Lt(hn::Abs(dust), hn::Set(di, 0x00800000)))) return false;
    }
    if (threshold_ < 0.0F) return false;
    if (threshold_ == 0.0F && !hn::AllTrue(di, hn::Lt(dust, hn::Set(di, 1)))) return false;
    const auto sign = hn::And(dust, hn::Set(di, std::numeric_limits<int32_t>::min()));
    const V error = hn::BitCast(d, hn::Or(sign, hn::Abs(dust)));
    history.beforeLast = history.last;
    history.last = error;
    history.spread = hn::Set(d, kDotSpread);
    hn::StoreU(error, d, at.error);
    hn::StoreU(history.spread, d, at.spread);
    return true;  // the pixels are 0 already, which is black
  }

  // Units of 2^-149 that the six sources hand on.
  HWY_INLINE static hn::Vec<FloatInts> dustCarried(const V* sources) {
    const FloatInts di;
    const hn::Repartition<double, FloatInts> dd;
    const hn::Rebind<int32_t, decltype(dd)> dh;
    const auto roundToWhole = hn::Set(dd, 6755399441055744.0);  // 1.5 * 2^52
    constexpr size_t kOrder[6] = {5, 4, 3, 2, 1, 0};
    auto lower = hn::Zero(dd);
    auto upper = hn::Zero(dd);
    for (size_t i = 0; i < 6; ++i) {
      const auto bits = hn::BitCast(di, sources[i]);
      const auto sign = hn::ShiftRight<31>(bits);
      const auto magnitude = hn::And(bits, hn::Set(di, 0x7FFFFFFF));
      const auto units = hn::Sub(hn::Xor(magnitude, sign), sign);
      const auto weight = hn::Set(dd, static_cast<double>(kStencilTaps[kOrder[i]].weight));
      const auto share = [&](hn::Vec<decltype(dh)> half) HWY_ATTR {
        const auto product = hn::Mul(hn::PromoteTo(dd, half), weight);
        return hn::Sub(hn::Add(product, roundToWhole), roundToWhole);
      };
      lower = hn::Add(lower, share(hn::LowerHalf(dh, units)));
      upper = hn::Add(upper, share(hn::UpperHalf(dh, units)));
    }
    return hn::Combine(di, hn::DemoteTo(dh, upper), hn::DemoteTo(dh, lower));
  }

  // Lanes inside their row, or inside without its first and last column.
  HWY_INLINE V maskOf(const Place& at, size_t border) const {
    const FloatInts d;
    const auto x =
        hn::Sub(hn::Set(d, static_cast<int32_t>(at.step)),
                hn::Mul(hn::Add(hn::Iota(d, 0), hn::Set(d, static_cast<int32_t>(at.lane))),
                        hn::Set(d, static_cast<int32_t>(kLag))));
    const auto first = hn::Set(d, static_cast<int32_t>(border) - 1);
    const auto end = hn::Set(d, static_cast<int32_t>(width_) - static_cast<int32_t>(border));
    return hn::BitCast(Floats(), hn::VecFromMask(d, hn::And(hn::Gt(x, first), hn::Lt(x, end))));
  }

  static constexpr size_t kVectors = kLanes / HWY_LANES(float);
  using Histories = std::array<History, kVectors>;

  template <bool kMasked>
  void diffuseSteps(size_t from, size_t to, Histories& kept) {
    constexpr size_t kWidth = HWY_LANES(float);
    Histories histories = kept;  // lives in registers
    float* error = recordOf(errors_[0], static_cast<ptrdiff_t>(from));
    float* spread = recordOf(spreads_[0], static_cast<ptrdiff_t>(from));
    // The lowest row's go to the slots of the next block, which lies
    // kLag * kLanes steps behind.
    const ptrdiff_t next = static_cast<ptrdiff_t>(from) - static_cast<ptrdiff_t>(kLag * kLanes);
    float* nextError = recordOf(errors_[1], next);
    float* nextSpread = recordOf(spreads_[1], next);
    uint8_t* pixels = columns_.data() + from * kLanes;
    for (size_t s = from; s < to; ++s) {
      HWY_UNROLL(4)
      for (size_t v = 0; v < kVectors; ++v) {
        const size_t lane = v * kWidth;
        diffuseStep<kMasked>({s, lane, error + lane, spread + lane, pixels + lane, error + 1 + lane,
                              spread + 1 + lane},
                             histories[v]);
      }
      *nextError = error[kLanes];
      *nextSpread = spread[kLanes];
      error += kRecord;
      spread += kRecord;
      nextError += kRecord;
      nextSpread += kRecord;
      pixels += kLanes;
    }
    kept = histories;
  }

  void diffuseBlock() {
    Histories histories;
    const size_t head = std::min(kLag * (kLanes - 1) + 1, steps_);
    const size_t tail = std::max(head, std::max<size_t>(width_, 1) - 1);
    diffuseSteps<true>(0, head, histories);
    diffuseSteps<false>(head, tail, histories);
    diffuseSteps<true>(tail, steps_, histories);
  }

  const float threshold_;
  const size_t width_;
  const size_t height_;
  const size_t steps_;
  const size_t margin_;
  const size_t rowBytes_;
  std::vector<uint8_t> rows_;                  // sharpened rows in, finished rows out
  std::vector<uint8_t> columns_;               // the same with a lane a byte
  std::array<std::vector<float>, 2> errors_;   // this block's and the next one's
  std::array<std::vector<float>, 2> spreads_;  // kDotSpread where a dot is black
  float innerRow_[kLanes] = {};                // all bits set but for the first and last row
};

void stencil(int32_t threshold, uint32_t width, uint32_t height, const GreyRowSource& source,
             const StencilRowSink& sink) {
  if (width == 0 || height == 0) return;
  SharpenedRows sharpened(width, height, source);
  StencilWavefront(threshold, width, height).run(sharpened, sink);
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace drav_stencil
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
void appendVectorStencils(std::vector<StencilVariant>& variants) {
#if HWY_TARGETS & HWY_SSSE3
  if (drav_stencil::hasSsse3()) variants.push_back({"ssse3", drav_stencil::N_SSSE3::stencil});
#endif
#if HWY_TARGETS & HWY_SSE4
  if (drav_stencil::hasSse4()) variants.push_back({"sse4", drav_stencil::N_SSE4::stencil});
#endif
#if HWY_TARGETS & HWY_AVX2
  if (drav_stencil::hasAvx2()) variants.push_back({"avx2", drav_stencil::N_AVX2::stencil});
#endif
#if HWY_TARGETS & HWY_NEON
  variants.push_back({"neon", drav_stencil::N_NEON::stencil});
#endif
}
#endif  // HWY_ONCE
