// SPDX-License-Identifier: Apache-2.0
// The tattoo stages row by row in vectors.
//
// Blur. The plain sum is formed in double, rounded to single and then to a byte.
// Here it is a sum of 16-bit products whose distance from the plain one is bounded
// (see BlurTaps); where that leaves the byte open, about one sum in 600, a 64-bit
// sum decides, and where that does not either, the plain one.
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

// Levels are multiplied by kScale, and the taps by 2^kPointBits / kScale: of all
// numbers with which two levels together fit 16 bits, 29 is the one (with 58, its
// double) for which the taps come closest to whole numbers.
constexpr int32_t kScale = 29;
constexpr int kPointBits = 22;
constexpr int kFineBits = 40;  // behind the point of the 64-bit sum
constexpr int64_t kFineUnit = int64_t{kScale} << kFineBits;

// What the plain sum may be off by for its two roundings to single, 2^-17 each.
constexpr int64_t kPlainError = int64_t{1} << (kPointBits - 16);

// The Gaussian of the unsharp mask: exact, and in whole numbers.
struct BlurTaps {
  BlurTaps() {
    generateGaussianKernel1D(kStencilUnsharpTaps, kUnsharpSigma, exact.data());
    double above = 0.0;
    double below = 0.0;
    for (size_t k = 0; k <= kHalf; ++k) {
      const double scaled = exact[k] * (1 << kPointBits) / kScale;
      coarse[k] = static_cast<int16_t>(std::lround(scaled));
      fine[k] = std::llround(exact[k] * static_cast<double>(int64_t{1} << kFineBits));
      const double error = (coarse[k] - scaled) * kScale * (k < kHalf ? 2 * 255 : 255);
      (error > 0 ? above : below) += error;
    }
    const auto high = static_cast<int64_t>(std::ceil(above)) + kPlainError;
    const auto low = static_cast<int64_t>(std::floor(below)) - kPlainError;
    bias = static_cast<int32_t>((int64_t{1} << (kPointBits - 1)) - high);
    lastSure = static_cast<int32_t>((int64_t{1} << kPointBits) - 1 - (high - low));
  }
  std::array<double, kTaps> exact = {};
  std::array<int16_t, kHalf + 1> coarse = {};  // symmetric: the first half and the centre
  std::array<int64_t, kHalf + 1> fine = {};

  // coarse sum + bias has the byte above its kPointBits lowest bits, provided that
  // those are lastSure or less: then no error within the bounds reaches another.
  int32_t bias = 0;
  int32_t lastSure = 0;
};

// The sum in the order of the taps, as the plain blur forms it. `in`: one row of
// scaled levels a tap.
inline int16_t plainLevel(const int16_t* const* in, size_t x, const BlurTaps& taps) {
  double sum = 0.0;
  for (size_t t = 0; t < kTaps; ++t) {
    sum = static_cast<double>(in[t][x] / kScale) * taps.exact[t] + sum;
  }
  return static_cast<int16_t>(my_round(static_cast<float>(sum)) & 0xFF);
}

// The same by the 64-bit sum, whose distance from the plain one is far below
// kMargin: 2^-16 for its roundings and 11 * 255 * 2^-41 for the taps.
inline int16_t fineLevel(const int16_t* const* in, size_t x, const BlurTaps& taps) {
  constexpr int64_t kMargin = kFineUnit >> 15;
  int64_t sum = kFineUnit / 2 + taps.fine[kHalf] * in[kHalf][x];
  for (size_t k = 0; k < kHalf; ++k) {
    sum += taps.fine[k] * (int32_t{in[k][x]} + in[kTaps - 1 - k][x]);
  }
  const int64_t rest = sum % kFineUnit;
  if (rest < kMargin || rest > kFineUnit - kMargin) return plainLevel(in, x, taps);
  return static_cast<int16_t>(sum / kFineUnit);
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

// ---- Error diffusion -----------------------------------------------------------

// Rows side by side: a byte tile's, whatever the vectors' size.
constexpr size_t kLanes = kTile;
static_assert(kLanes <= SharpenedRows::kRows);
// What a row needs of the one above was computed three steps before or earlier.
constexpr size_t kLag = 5;

// Tells whether arithmetic has met denormal numbers since it was last asked, from
// the sticky flags of the SSE unit. A hint that costs nothing per step: results do
// not depend on it. Elsewhere such numbers cost nothing to speak of.
struct DustTrap {
#if HWY_ARCH_X86
  static constexpr unsigned kFlags = 0x0002U | 0x0010U;  // denormal operand, underflow
  static bool sprung() {
    const bool sprung = (_mm_getcsr() & kFlags) != 0;
    if (sprung) forget();
    return sprung;
  }
  static void forget() { _mm_setcsr(_mm_getcsr() & ~kFlags); }
#else
  static bool sprung() { return false; }
  static void forget() {}
#endif
};

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
      uint8_t* rows[kLanes];
      for (size_t i = 0; i < count; ++i) rows[i] = rowOf(i);
      sharpened.next(rows, count);
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
    V spread;              // kDotSpread where the last pixel was black
    bool settled = false;  // see isSettled
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

  // What the six sources hand on: shares from the row above, sources from left to
  // right, then from this row.
  template <class Share>
  HWY_INLINE static V carriedBy(const V* sources, const Share& share) {
    V carried = share(sources[0], kStencilTaps[5].weight);
    carried = hn::Add(share(sources[1], kStencilTaps[4].weight), carried);
    carried = hn::Add(share(sources[2], kStencilTaps[3].weight), carried);
    carried = hn::Add(share(sources[3], kStencilTaps[2].weight), carried);
    carried = hn::Add(share(sources[4], kStencilTaps[1].weight), carried);
    return hn::Add(share(sources[5], kStencilTaps[0].weight), carried);
  }

  template <bool kMasked, bool kCareful>
  HWY_INLINE void diffuseStep(const Place& at, History& history, size_t& dustSteps) const {
    const Floats d;
    if (kCareful && !kMasked && history.settled && staysSettled(at)) {
      hn::StoreU(history.last, d, at.error);
      hn::StoreU(history.spread, d, at.spread);
      ++dustSteps;
      return;
    }
    const V sources[6] = {errorAbove(at, 1),  errorAbove(at, 0),  errorAbove(at, -1),
                          errorAbove(at, -2), history.beforeLast, history.last};
    V carried;
    if (kCareful && holdsDust(sources)) {
      ++dustSteps;
      if (isBlank(at.pixels) && diffuseDust<kMasked>(at, sources, history)) return;
      carried = carriedBy(sources, mixedShare);
      history.settled = false;
    } else {
      history.settled = false;
      carried = carriedBy(sources, [&](V source, float weight)
                                       HWY_ATTR { return hn::Mul(source, hn::Set(d, weight)); });
    }
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
    uint64_t levels[(HWY_LANES(float) + 7) / 8] = {};
    std::memcpy(levels, pixels, hn::Lanes(Floats()));
    return std::all_of(std::begin(levels), std::end(levels),
                       [](uint64_t eight) { return eight == 0; });
  }

  // ---- Dust
  // On blank paper the errors of distant ink fade into denormal numbers and never
  // out of them (half of the smallest rounds to itself), and processors that trap
  // to microcode for products of those would spend most of a page's time there. A
  // denormal is a whole number of 2^-149: its share is the product in double,
  // rounded to the nearest whole number, ties to even, which is what single
  // precision gives. Numbers below kDustEnd, 2^-125, are written as their count of
  // 2^-149 too, and so is any share of them.
  static constexpr int32_t kDustEnd = 0x01000000;

  HWY_INLINE static hn::Vec<FloatInts> magnitudeOf(V number) {
    const FloatInts di;
    return hn::And(hn::BitCast(di, number), hn::Set(di, 0x7FFFFFFF));
  }

  // True when a lane of a source is below kDustEnd but not 0.
  HWY_INLINE static bool holdsDust(const V* sources) {
    const FloatInts di;
    auto smallest = hn::Set(di, 0x7FFFFFFF);  // of the magnitudes less 1; 0 becomes large
    for (size_t i = 0; i < 6; ++i) {
      const auto lessOne = hn::Sub(magnitudeOf(sources[i]), hn::Set(di, 1));
      smallest = hn::Min(smallest, hn::And(lessOne, hn::Set(di, 0x7FFFFFFF)));
    }
    return !hn::AllFalse(di, hn::Lt(smallest, hn::Set(di, kDustEnd - 1)));
  }

  // Shares of sources below kDustEnd, in units of 2^-149.
  HWY_INLINE static hn::Vec<FloatInts> dustShare(V source, float weight) {
    const FloatInts di;
    const hn::Repartition<double, FloatInts> dd;
    const hn::Rebind<int32_t, decltype(dd)> dh;
    const auto roundToWhole = hn::Set(dd, 6755399441055744.0);  // 1.5 * 2^52
    const auto factor = hn::Set(dd, static_cast<double>(weight));
    const auto sign = hn::ShiftRight<31>(hn::BitCast(di, source));
    const auto units = hn::Sub(hn::Xor(magnitudeOf(source), sign), sign);
    const auto share = [&](hn::Vec<decltype(dh)> half) HWY_ATTR {
      const auto product = hn::Mul(hn::PromoteTo(dd, half), factor);
      return hn::DemoteTo(dh, hn::Sub(hn::Add(product, roundToWhole), roundToWhole));
    };
    return hn::Combine(di, share(hn::UpperHalf(dh, units)), share(hn::LowerHalf(dh, units)));
  }

  HWY_INLINE static V fromUnits(hn::Vec<FloatInts> units) {
    const FloatInts di;
    const auto sign = hn::And(units, hn::Set(di, std::numeric_limits<int32_t>::min()));
    return hn::BitCast(Floats(), hn::Or(sign, hn::Abs(units)));
  }

  // The share of a source of any size, without a trap for those below kDustEnd.
  HWY_INLINE static V mixedShare(V source, float weight) {
    const Floats d;
    const FloatInts di;
    const auto dust = hn::RebindMask(d, hn::Lt(magnitudeOf(source), hn::Set(di, kDustEnd)));
    const V whole = hn::Mul(hn::IfThenZeroElse(dust, source), hn::Set(d, weight));
    const V fine = fromUnits(dustShare(hn::IfThenElseZero(dust, source), weight));
    return hn::IfThenElse(dust, fine, whole);
  }

  // Dust soon settles: each row goes on with one and the same error. Then the next
  // step has the same sources, and the same result, unless the row above brings
  // another error or the paper ends.
  HWY_INLINE static bool isSettled(const V* sources, V error) {
    const FloatInts di;
    const auto differs = [&](V a, V b)
                             HWY_ATTR { return hn::Xor(hn::BitCast(di, a), hn::BitCast(di, b)); };
    auto bits = hn::Or(differs(sources[0], sources[1]), differs(sources[1], sources[2]));
    bits = hn::Or(bits, differs(sources[2], sources[3]));
    bits = hn::Or(bits, differs(sources[4], sources[5]));
    bits = hn::Or(bits, differs(sources[5], error));
    return hn::AllTrue(di, hn::Eq(bits, hn::Zero(di)));
  }

  // The sources move on by a column: only the rightmost one above is new.
  HWY_INLINE static bool staysSettled(const Place& at) {
    const FloatInts di;
    return isBlank(at.pixels) && hn::AllTrue(di, hn::Eq(hn::BitCast(di, errorAbove(at, -2)),
                                                        hn::BitCast(di, errorAbove(at, -1))));
  }

  // A step of a blank vector whose sources are all dust or 0. False, with nothing
  // done, when they are not, or when a pixel would not stay black.
  template <bool kMasked>
  HWY_INLINE bool diffuseDust(const Place& at, const V* sources, History& history) const {
    const Floats d;
    const FloatInts di;
    auto bits = hn::Zero(di);
    for (size_t i = 0; i < 6; ++i) bits = hn::Or(bits, magnitudeOf(sources[i]));
    if (!hn::AllTrue(di, hn::Lt(bits, hn::Set(di, kDustEnd / 2)))) return false;
    constexpr size_t kOrder[6] = {5, 4, 3, 2, 1, 0};
    auto dust = hn::Zero(di);
    for (size_t i = 0; i < 6; ++i) {
      dust = hn::Add(dust, dustShare(sources[i], kStencilTaps[kOrder[i]].weight));
    }
    // Sums of what has grown out of the denormals are not exact.
    if (!hn::AllTrue(di, hn::Lt(hn::Abs(dust), hn::Set(di, kDustEnd / 2)))) return false;
    if (threshold_ < 0.0F) return false;
    if (threshold_ == 0.0F && !hn::AllTrue(di, hn::Lt(dust, hn::Set(di, 1)))) return false;
    V error = fromUnits(dust);
    if constexpr (kMasked) error = hn::And(error, maskOf(at, 0));
    history.settled = !kMasked && isSettled(sources, error);
    history.beforeLast = history.last;
    history.last = error;
    history.spread = hn::Set(d, kDotSpread);
    hn::StoreU(error, d, at.error);
    hn::StoreU(history.spread, d, at.spread);
    return true;  // the pixels are 0 already, which is black
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

  // Returns the number of steps of a vector that had dust to care for.
  template <bool kMasked, bool kCareful>
  size_t diffuseSteps(size_t from, size_t to, Histories& kept) {
    size_t dustSteps = 0;
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
        diffuseStep<kMasked, kCareful>({s, lane, error + lane, spread + lane, pixels + lane,
                                        error + 1 + lane, spread + 1 + lane},
                                       histories[v], dustSteps);
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
    return dustSteps;
  }

  // In short runs, so that dust that begins or ends is noticed soon.
  template <bool kMasked>
  void diffuseRuns(size_t from, size_t to, Histories& histories) {
    constexpr size_t kRun = 32;
    while (from < to) {
      const size_t end = std::min(to, from + kRun);
      if (careful_) {
        careful_ = diffuseSteps<kMasked, true>(from, end, histories) != 0;
        DustTrap::forget();
      } else {
        diffuseSteps<kMasked, false>(from, end, histories);
        careful_ = DustTrap::sprung();
      }
      from = end;
    }
  }

  void diffuseBlock() {
    Histories histories;
    const size_t head = std::min(kLag * (kLanes - 1) + 1, steps_);
    const size_t tail = std::max(head, std::max<size_t>(width_, 1) - 1);
    diffuseRuns<true>(0, head, histories);
    diffuseRuns<false>(head, tail, histories);
    diffuseRuns<true>(tail, steps_, histories);
  }

  const float threshold_;
  bool careful_ = false;  // dust was met lately
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
#if defined(DRAV_ALL_VECTORS) && (HWY_TARGETS & HWY_EMU128)
  variants.push_back({"emu128", drav_stencil::N_EMU128::stencil});
#endif
#if HWY_TARGETS & HWY_SSSE3
  if (drav_stencil::hasSsse3()) variants.push_back({"ssse3", drav_stencil::N_SSSE3::stencil});
#endif
#if HWY_TARGETS & HWY_SSE4
  if (drav_stencil::hasSse4()) variants.push_back({"sse4", drav_stencil::N_SSE4::stencil});
#endif
#if HWY_TARGETS & HWY_AVX2
  if (drav_stencil::hasAvx2()) variants.push_back({"avx2", drav_stencil::N_AVX2::stencil});
#endif
#if HWY_TARGETS & HWY_AVX3
  if (drav_stencil::hasAvx512()) variants.push_back({"avx512", drav_stencil::N_AVX3::stencil});
#endif
#if HWY_TARGETS & HWY_AVX3_DL
  if (drav_stencil::hasAvx512Dl())
    variants.push_back({"avx512dl", drav_stencil::N_AVX3_DL::stencil});
#endif
#if HWY_TARGETS & HWY_NEON
  variants.push_back({"neon", drav_stencil::N_NEON::stencil});
#endif
}
#endif  // HWY_ONCE
