// SPDX-License-Identifier: Apache-2.0
// The error diffusion of the stencils in vectors. For stencil_simd.cc, which
// compiles it for every vector target.
//
// A wavefront: each lane holds one row and lags the row above by kLag columns. Every
// product and sum is the plain one, single precision, in the plain order; nothing is
// fused. The steps go in runs; a run of blank paper on which the errors have come to
// rest is not computed at all.
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
#include <vector>

#include "simd/rows.h"
#include "simd/transpose-inl.h"
#include "tattoo/error_diffusion_taps.h"
#include "tattoo/faded_errors-inl.h"
#include "tattoo/sharpened_rows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace drav_stencil {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

using FloatInts = hn::Rebind<int32_t, Floats>;
using FloatBytes = hn::Rebind<uint8_t, Floats>;
using FloatShorts = hn::Repartition<int16_t, Floats>;

// Rows side by side: a byte tile's, whatever the vectors' size.
constexpr size_t kLanes = simd::kTile;
static_assert(kLanes <= SharpenedRows::kRows);
// The least lag with which what a row needs of the one above is ready before the step
// that needs it: with 3 the newest error above would come from the step just before.
constexpr size_t kLag = 4;

class StencilWavefront {
 public:
  StencilWavefront(int32_t threshold, uint32_t width, uint32_t height)
      : threshold_(static_cast<float>(threshold)),
        width_(width),
        height_(height),
        runs_((width + kDelay + kRun - 1) / kRun),
        rowBytes_(kMargin + width + kMargin),
        rows_(rowBytes_ * kLanes),
        errors_(kFront + width + kMargin),
        reliefs_(kFront + width + kMargin),
        dusty_(runs_ + 1) {}

  void run(SharpenedRows& sharpened, const RowSink& sink) {
    for (size_t y = 0; y < height_; y += kLanes) {
      const size_t count = std::min(kLanes, height_ - y);
      uint8_t* rows[kLanes];
      for (size_t i = 0; i < count; ++i) rows[i] = rowOf(i);
      sharpened.next(rows, count);
      markInnerRows(y);
      diffuseBlock(sharpened, y == 0 || y + kLanes >= height_);
      for (size_t i = 0; i < count; ++i) sink(static_cast<uint32_t>(y + i), rowOf(i));
    }
  }

 private:
  using V = hn::Vec<Floats>;
  using Dots = hn::Vec<FloatInts>;
  static constexpr size_t kWidth = HWY_LANES(float);
  static constexpr size_t kVectors = kLanes / kWidth;
  static constexpr size_t kRun = 2 * simd::kTile;        // steps of a run
  static constexpr size_t kDelay = kLag * (kLanes - 1);  // steps that the last lane lags
  static constexpr size_t kBack = kLag + 2;              // records kept of the run before
  static constexpr size_t kFront = kDelay + 4;           // columns before a row
  // A run reaches this far behind a row, and with a vector of the sharpened row.
  static constexpr size_t kMargin = kDelay + 2 * kRun;

  // What a lane keeps of its own row.
  struct History {
    // Written out: a generated constructor would lack the target's attribute.
    History()
        : last(hn::Zero(Floats())), beforeLast(hn::Zero(Floats())), relief(hn::Zero(Floats())) {}
    V last;  // errors
    V beforeLast;
    V relief;  // kRelief where the last pixel was black, else 0
  };
  using Histories = std::array<History, kVectors>;

  // What the lanes need of the rows above them, a record a step: each lane's error and
  // kRelief where its pixel was black, moved up by one lane. The first lane gets what the
  // lowest row of the block above left, kLag columns ahead.
  struct Records {
    alignas(64) float error[(kBack + kRun) * kLanes];
    alignas(64) float relief[(kBack + kRun) * kLanes];
  };

  uint8_t* rowOf(size_t lane) { return rows_.data() + lane * rowBytes_ + kMargin; }

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

  // `v` moved up by a lane, behind the last lane of `before`.
  HWY_INLINE static V movedUp(V v, V before) {
    const Floats d;
    if constexpr (kWidth == 4) {
      return hn::CombineShiftRightBytes<12>(d, v, before);
    } else if constexpr (kWidth == 8) {
      return hn::CombineShiftRightBytes<12>(d, v, hn::ConcatLowerUpper(d, v, before));
    } else {  // not shipped: the simplest way
      alignas(64) float lanes[2 * kWidth];
      hn::Store(before, d, lanes);
      hn::Store(v, d, lanes + kWidth);
      return hn::LoadU(d, lanes + kWidth - 1);
    }
  }
  HWY_INLINE static float lastLane(V v) { return hn::GetLane(hn::Reverse(Floats(), v)); }

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

  // A white pixel is charged (1 - spread) * -255, with a spread of kDotSpread for each
  // black pixel to the left and above. Each of them takes the same off, to the last bit.
  static constexpr float kCharge = -255.0F;
  static constexpr float kRelief = (1.0F - kDotSpread) * -255.0F - kCharge;
  static_assert(kCharge + kRelief == (1.0F - kDotSpread) * -255.0F);
  static_assert(kCharge + kRelief + kRelief == (1.0F - (kDotSpread + kDotSpread)) * -255.0F);

  // A step of one vector of lanes. Returns its dots: all bits set where white.
  template <bool kEdge, bool kFaded>
  HWY_INLINE Dots diffuseStep(V threshold, size_t step, size_t lane, const float* error,
                              const float* relief, const uint8_t* pixels, History& history) const {
    const Floats d;
    constexpr auto kDistance = static_cast<ptrdiff_t>(kLag);
    constexpr auto kRecord = static_cast<ptrdiff_t>(kLanes);
    const V sources[6] = {hn::Load(d, error - (kDistance + 1) * kRecord),
                          hn::Load(d, error - kDistance * kRecord),
                          hn::Load(d, error - (kDistance - 1) * kRecord),
                          hn::Load(d, error - (kDistance - 2) * kRecord),
                          history.beforeLast,
                          history.last};
    V carried;
    if constexpr (kFaded) {
      carried = carriedBy(sources, fadedShare);
    } else {
      carried = carriedBy(sources, [&](V source, float weight)
                                       HWY_ATTR { return hn::Mul(source, hn::Set(d, weight)); });
    }
    const auto level =
        hn::ConvertTo(d, hn::PromoteTo(FloatInts(), hn::LoadU(FloatBytes(), pixels)));
    const V value = hn::Add(carried, level);
    const auto white = hn::Gt(value, threshold);

    V reliefAbove = hn::Load(d, relief - kDistance * kRecord);
    V reliefLeft = history.relief;
    if constexpr (kEdge) {
      const V inner = hn::And(hn::LoadU(d, innerRow_ + lane), maskOf(step, lane, 1));
      reliefAbove = hn::And(reliefAbove, inner);
      reliefLeft = hn::And(reliefLeft, inner);
    }
    // What the pixel to the left was is known last.
    const V charge = hn::Add(hn::Add(reliefAbove, hn::Set(d, kCharge)), reliefLeft);
    V left = hn::IfThenElse(white, hn::Add(charge, value), value);
    if constexpr (kEdge) left = hn::And(left, maskOf(step, lane, 0));

    history.beforeLast = history.last;
    history.last = left;
    history.relief = hn::IfThenZeroElse(white, hn::Set(d, kRelief));
    return hn::BitCast(FloatInts(), hn::VecFromMask(d, white));
  }

  // Lanes inside their row, or inside without its first and last column.
  HWY_INLINE V maskOf(size_t step, size_t lane, size_t border) const {
    const FloatInts d;
    const auto x = hn::Sub(hn::Set(d, static_cast<int32_t>(step)),
                           hn::Mul(hn::Add(hn::Iota(d, 0), hn::Set(d, static_cast<int32_t>(lane))),
                                   hn::Set(d, static_cast<int32_t>(kLag))));
    const auto first = hn::Set(d, static_cast<int32_t>(border) - 1);
    const auto end = hn::Set(d, static_cast<int32_t>(width_) - static_cast<int32_t>(border));
    return hn::BitCast(Floats(), hn::VecFromMask(d, hn::And(hn::Gt(x, first), hn::Lt(x, end))));
  }

  // The dots of a step as bytes: 255 where white.
  HWY_INLINE static void storeDots(const Dots* white, uint8_t* pixels) {
    auto* out = reinterpret_cast<int8_t*>(pixels);
    if constexpr (kVectors == 1) {
      const hn::Rebind<int8_t, FloatInts> d8;
      hn::StoreU(hn::DemoteTo(d8, white[0]), d8, out);
      return;
    }
    const FloatShorts d16;
    const hn::Rebind<int8_t, FloatShorts> d8;
    for (size_t v = 0; v + 1 < kVectors; v += 2) {
      auto dots = hn::DemoteTo(d8, hn::ReorderDemote2To(d16, white[v], white[v + 1]));
      if constexpr (kWidth == 8) {  // the blocks of 4 lanes had changed places
        alignas(16) static constexpr int8_t kInOrder[16] = {0, 1, 2, 3, 8,  9,  10, 11,
                                                            4, 5, 6, 7, 12, 13, 14, 15};
        dots = hn::TableLookupBytes(dots, hn::Load(d8, kInOrder));
      }
      hn::StoreU(dots, d8, out + v * kWidth);
    }
  }

  template <bool kEdge, bool kFaded>
  HWY_NOINLINE void diffuseRun(size_t from, uint8_t* pixels, Histories& kept, Records& records) {
    const Floats d;
    const V threshold = hn::Set(d, threshold_);
    Histories histories = kept;  // lives in registers
    float* error = records.error + kBack * kLanes;
    float* relief = records.relief + kBack * kLanes;
    // The last lane is kDelay columns behind, on its way to become the row above the next
    // block: what it overwrites has been read.
    const float* errorAbove = errors_.data() + kFront + from + kLag;
    const float* reliefAbove = reliefs_.data() + kFront + from + kLag;
    float* lastError = errors_.data() + kFront + from - kDelay;
    float* lastRelief = reliefs_.data() + kFront + from - kDelay;
    for (size_t s = 0; s < kRun; ++s) {
      V errorBefore = hn::Set(d, errorAbove[s]);
      V reliefBefore = hn::Set(d, reliefAbove[s]);
      Dots white[kVectors];
      HWY_UNROLL(4)
      for (size_t v = 0; v < kVectors; ++v) {
        const size_t lane = v * kWidth;
        History& history = histories[v];
        white[v] = diffuseStep<kEdge, kFaded>(threshold, from + s, lane, error + lane,
                                              relief + lane, pixels + lane, history);
        hn::Store(movedUp(history.last, errorBefore), d, error + lane);
        hn::Store(movedUp(history.relief, reliefBefore), d, relief + lane);
        errorBefore = history.last;
        reliefBefore = history.relief;
      }
      storeDots(white, pixels);
      lastError[s] = lastLane(errorBefore);
      lastRelief[s] = lastLane(reliefBefore);
      error += kLanes;
      relief += kLanes;
      pixels += kLanes;
    }
    kept = histories;
    for (size_t i = 0; i < kBack * kLanes; i += kWidth) {
      hn::Store(hn::Load(d, records.error + kRun * kLanes + i), d, records.error + i);
      hn::Store(hn::Load(d, records.relief + kRun * kLanes + i), d, records.relief + i);
    }
  }

  // Whether a run of blank paper would go on as it was in every lane. Each step's sources
  // are those of the step before it when the records and each lane's last errors are
  // alike; then the outcome is, too, so that the next step's are again, as long as the
  // row above the block goes on likewise. The dots stay black.
  HWY_NOINLINE bool isAtRest(size_t from, const Histories& histories,
                             const Records& records) const {
    const Floats d;
    const FloatInts di;
    const auto differs = [&](V a, V b)
                             HWY_ATTR { return hn::Xor(hn::BitCast(di, a), hn::BitCast(di, b)); };
    const V black = hn::Set(d, kRelief);
    auto bits = hn::Zero(di);
    for (size_t v = 0; v < kVectors; ++v) {
      const float* error = records.error + v * kWidth;
      for (size_t r = 0; r < kBack; ++r) {
        bits = hn::Or(bits, differs(hn::Load(d, error), hn::Load(d, error + r * kLanes)));
        bits = hn::Or(bits, differs(black, hn::Load(d, records.relief + r * kLanes + v * kWidth)));
      }
      bits = hn::Or(bits, differs(histories[v].last, histories[v].beforeLast));
      bits = hn::Or(bits, differs(histories[v].relief, black));
    }
    const float* errorAbove = errors_.data() + kFront + from + kLag;
    const float* reliefAbove = reliefs_.data() + kFront + from + kLag;
    const V lastAbove = hn::Set(d, errorAbove[-1]);
    for (size_t s = 0; s < kRun; s += kWidth) {
      bits = hn::Or(bits, differs(lastAbove, hn::LoadU(d, errorAbove + s)));
      bits = hn::Or(bits, differs(black, hn::LoadU(d, reliefAbove + s)));
    }
    // The last lane is in no record. Its errors are compared by their bits, as the others:
    // the sign of a zero counts.
    const float* lastError = errors_.data() + kFront + from - kDelay;
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
    const int last = std::memcmp(lastError - 3, lastError - 2, 2 * sizeof(float));
    return hn::AllTrue(di, hn::Eq(bits, hn::Zero(di))) && last == 0;
  }

  void skipRun(size_t from) {
    float* lastError = errors_.data() + kFront + from - kDelay;
    std::fill_n(lastError, kRun, lastError[-1]);
    std::fill_n(reliefs_.data() + kFront + from - kDelay, kRun, kRelief);
  }

  // Lane i of step s is column s - kLag * i: rows become lanes, and lanes rows.
  using Lanes = hn::FixedTag<uint8_t, kLanes>;
  void toLanes(size_t from, uint8_t* pixels) {
    for (size_t s = 0; s < kRun; s += simd::kTile) {
      simd::rowsToLanes(Lanes(), rowOf(0) + from + s, rowBytes_ - kLag, pixels + s * kLanes);
    }
  }
  void toRows(size_t from, const uint8_t* pixels) {
    for (size_t s = 0; s < kRun; s += simd::kTile) {
      simd::lanesToRows(Lanes(), pixels + s * kLanes, rowOf(0) + from + s, rowBytes_ - kLag);
    }
  }

  void diffuseBlock(const SharpenedRows& sharpened, bool borderRows) {
    Histories histories;
    Records records = {};
    for (size_t r = 0; r < kBack; ++r) {
      const size_t above = kFront + kLag + r - kBack;
      records.error[r * kLanes] = errors_[above];
      records.relief[r * kLanes] = reliefs_[above];
    }
    alignas(64) uint8_t pixels[kRun * kLanes];
    bool met = false;  // faded errors, in the run before
    for (size_t run = 0; run < runs_; ++run) {
      const size_t from = run * kRun;
      // All lanes inside their rows, but for the first column and the last.
      const bool edge = borderRows || from <= kDelay || from + kRun >= width_;
      if (!edge && sharpened.isBlank(from - kDelay - 1, from + kRun) &&
          isAtRest(from, histories, records)) {
        skipRun(from);
        continue;
      }
      // Errors fade about where they did in the block above.
      const bool faded = met || dusty_[run] != 0 || dusty_[run + 1] != 0;
      toLanes(from, pixels);
      if (edge) {
        faded ? diffuseRun<true, true>(from, pixels, histories, records)
              : diffuseRun<true, false>(from, pixels, histories, records);
      } else {
        faded ? diffuseRun<false, true>(from, pixels, histories, records)
              : diffuseRun<false, false>(from, pixels, histories, records);
      }
      toRows(from, pixels);
      met = DustTrap::sprung();
      dusty_[run] = met ? 1 : 0;
    }
  }

  const float threshold_;
  const size_t width_;
  const size_t height_;
  const size_t runs_;
  const size_t rowBytes_;
  std::vector<uint8_t> rows_;    // sharpened rows in, finished rows out
  std::vector<float> errors_;    // of the row above the block
  std::vector<float> reliefs_;   // kRelief where its dots are black
  std::vector<uint8_t> dusty_;   // runs in which errors had faded
  float innerRow_[kLanes] = {};  // all bits set but for the first and last row
};

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace drav_stencil
HWY_AFTER_NAMESPACE();

#endif  // TATTOO_STENCIL_WAVEFRONT_INL_H_: once for every vector target
