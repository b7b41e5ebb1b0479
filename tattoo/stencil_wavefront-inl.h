// SPDX-License-Identifier: Apache-2.0
// The error diffusion of the stencils in vectors. For stencil_simd.cc, which
// compiles it for every vector target.
//
// A wavefront: each lane holds one row and lags the row above by kLag columns. Every
// product and sum is the plain one, single precision, in the plain order; nothing is
// fused.
#if defined(TATTOO_STENCIL_WAVEFRONT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TATTOO_STENCIL_WAVEFRONT_INL_H_
#undef TATTOO_STENCIL_WAVEFRONT_INL_H_
#else
#define TATTOO_STENCIL_WAVEFRONT_INL_H_
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <vector>

#include "simd/transpose-inl.h"
#include "tattoo/error_diffusion_taps.h"
#include "tattoo/sharpened_rows-inl.h"
#include "tattoo/stencil_rows.h"

HWY_BEFORE_NAMESPACE();
namespace drav_stencil {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
namespace simd = drav_simd::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

using Floats = hn::ScalableTag<float>;
using FloatInts = hn::Rebind<int32_t, Floats>;
using FloatBytes = hn::Rebind<uint8_t, Floats>;

// Rows side by side: a byte tile's, whatever the vectors' size.
constexpr size_t kLanes = simd::kTile;
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
        columns_((steps_ + 2 * simd::kTile) * kLanes),
        errors_{std::vector<float>(planeFloats()), std::vector<float>(planeFloats())},
        spreads_{std::vector<float>(planeFloats()), std::vector<float>(planeFloats())} {}

  void run(SharpenedRows& sharpened, const RowSink& sink) {
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
    for (size_t s = 0; s < steps_; s += simd::kTile) {
      simd::transposeTile(rowOf(0) + s, rowBytes_ - kLag, columns_.data() + s * kLanes, kLanes);
    }
  }
  void toRows() {
    for (size_t s = 0; s < steps_; s += simd::kTile) {
      simd::transposeTile(columns_.data() + s * kLanes, kLanes, rowOf(0) + s, rowBytes_ - kLag);
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

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace drav_stencil
HWY_AFTER_NAMESPACE();

#endif  // TATTOO_STENCIL_WAVEFRONT_INL_H_: once for every vector target
