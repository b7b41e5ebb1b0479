// SPDX-License-Identifier: Apache-2.0
// Error diffusion as a wavefront. Along a row each pixel waits for the one before
// it, but rows can run side by side: each lane of a vector holds one row and lags
// the lane above by `kLag` columns, so that everything a pixel gets from the rows
// above has been computed some steps ago. Every addition and clamp happens in the
// order of the plain scan, so the bytes are the same.
//
// Levels are kept with their top bit flipped: a saturating signed addition then is
// the clamp to 0..255. A pixel's error has at most 255 values; its share for each
// weight of the kernel is an exact multiply-high (diffusion_plan.h).
#if defined(IMAGE_DIFFUSION_WAVEFRONT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef IMAGE_DIFFUSION_WAVEFRONT_INL_H_
#undef IMAGE_DIFFUSION_WAVEFRONT_INL_H_
#else
#define IMAGE_DIFFUSION_WAVEFRONT_INL_H_
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>
#include <vector>

#include "image/diffusion_plan.h"
#include "simd/rows.h"
#include "simd/transpose-inl.h"

HWY_BEFORE_NAMESPACE();
namespace drav_vector {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
namespace simd = drav_simd::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

using Bytes = hn::ScalableTag<uint8_t>;
using SignedBytes = hn::ScalableTag<int8_t>;
using Words = hn::Repartition<uint16_t, Bytes>;

constexpr size_t kRun = 4 * simd::kTile;  // steps of a run
constexpr size_t kBlock = 64;             // columns that are blank together or not

// Buffers of one page, for vectors of `lanes` rows.
//
// A record is one step of a block of rows: `depth` slots for the lowest rows of
// the block above, then a byte for each lane. What the block's own lowest lanes
// compute goes to the slots of the next block's records.
struct WaveBuffers {
  WaveBuffers(size_t lanes, size_t width, size_t weights, size_t lag, size_t depth)
      : runs((width + lag * (lanes - 1) + kRun - 1) / kRun),
        front(lag * lanes + 16),
        recordBytes(lanes + depth),
        planeBytes((front + runs * kRun + 16) * recordBytes + lanes),
        margin(lag * lanes + 64),
        rowBytes(margin + width + margin),
        shares{std::vector<uint8_t>(planeBytes * weights + lanes),
               std::vector<uint8_t>(planeBytes * weights + lanes)},
        rows(rowBytes * lanes),
        pixels(kRun * lanes),
        blank((width + kBlock - 1) / kBlock),
        handsOn(runs) {}

  size_t runs;   // of a block; the last lane starts lag * (lanes - 1) steps late
  size_t front;  // records before step 0
  size_t recordBytes;
  size_t planeBytes;  // records of one weight
  size_t margin;      // bytes around a row
  size_t rowBytes;
  std::array<std::vector<uint8_t>, 2> shares;  // this block's and the next one's
  std::vector<uint8_t> rows;                   // grey rows in, finished rows out
  std::vector<uint8_t> pixels;                 // a run of them with a lane a byte
  std::vector<uint8_t> blank;                  // blocks of columns that are 0 in all rows
  std::vector<uint8_t> handsOn;                // runs whose lowest lanes had errors
  std::vector<uint8_t> valid;                  // 0xFF a lane inside its row, edge steps alone
};

template <const auto& kKernel>
class Wavefront {
  using Plan = KernelPlan<kKernel>;
  static constexpr size_t kWeights = Plan::kWeightCount;
  static constexpr size_t kDepth = Plan::kDepth;
  static constexpr size_t kLag = Plan::kLag;
  // Steps that the farthest tap looks back.
  static constexpr size_t kReach = kLag * kDepth + static_cast<size_t>(kKernel.reach());
  static_assert(kReach <= kRun);

 public:
  Wavefront(uint32_t width, uint32_t height)
      : lanes_(hn::Lanes(Bytes())),
        width_(width),
        height_(height),
        b_(lanes_, width, kWeights, kLag, kDepth) {
    makeMasks();
  }

  void run(const RowSource& source, const RowSink& sink) {
    for (size_t y = 0; y < height_; y += lanes_) {
      const size_t rows = std::min<size_t>(lanes_, height_ - y);
      std::fill(b_.blank.begin(), b_.blank.end(), uint8_t{1});
      for (size_t i = 0; i < rows; ++i) {
        source(static_cast<uint32_t>(y + i), rowOf(i));
        findInk(rowOf(i));
      }
      diffuseBlock();
      for (size_t i = 0; i < rows; ++i) sink(static_cast<uint32_t>(y + i), rowOf(i));
      std::swap(b_.shares[0], b_.shares[1]);
    }
  }

 private:
  uint8_t* rowOf(size_t lane) { return b_.rows.data() + lane * b_.rowBytes + b_.margin; }

  // Lane i is at column step - kLag * i. Steps below `head_` and from `tail_` on are those
  // of runs that have lanes outside the row.
  void makeMasks() {
    const size_t steps = b_.runs * kRun;
    head_ = std::min((kLag * (lanes_ - 1) + kRun - 1) / kRun * kRun, steps);
    tail_ = std::max<size_t>(head_, width_ / kRun * kRun);
    b_.valid.assign((head_ + steps - tail_) * lanes_, 0);
    for (size_t s = 0; s < steps; ++s) {
      if (s >= head_ && s < tail_) continue;
      uint8_t* mask = maskOf(s);
      for (size_t i = 0; i < lanes_; ++i) {
        const bool inside = s >= kLag * i && s - kLag * i < width_;
        mask[i] = inside ? 0xFF : 0;
      }
    }
  }
  uint8_t* maskOf(size_t step) {
    return b_.valid.data() + (step < head_ ? step : step - tail_ + head_) * lanes_;
  }

  void findInk(const uint8_t* row) {
    const Bytes d;
    for (size_t k = 0; k < b_.blank.size(); ++k) {
      if (b_.blank[k] == 0) continue;  // by a row above
      const uint8_t* block = row + k * kBlock;
      const size_t columns = std::min(kBlock, width_ - k * kBlock);
      if (columns < kBlock) {
        if (std::any_of(block, block + columns, [](uint8_t level) { return level != 0; })) {
          b_.blank[k] = 0;
        }
        return;
      }
      auto any = hn::Zero(d);
      for (size_t x = 0; x < kBlock; x += lanes_) any = hn::Or(any, hn::LoadU(d, block + x));
      if (!hn::AllTrue(d, hn::Eq(any, hn::Zero(d)))) b_.blank[k] = 0;
    }
  }

  // Lane i of a step is kLag * i columns behind: rows become lanes, and lanes rows.
  void toLanes(size_t from) {
    for (size_t s = 0; s < kRun; s += simd::kTile) {
      simd::rowsToLanes(Bytes(), rowOf(0) + from + s, b_.rowBytes - kLag,
                        b_.pixels.data() + s * lanes_);
    }
  }
  void toRows(size_t from) {
    for (size_t s = 0; s < kRun; s += simd::kTile) {
      simd::lanesToRows(Bytes(), b_.pixels.data() + s * lanes_, rowOf(0) + from + s,
                        b_.rowBytes - kLag);
    }
  }

  // Records before step 0 need no clearing between blocks: of them the first lane alone
  // is read, by the columns beside the edge, and the lanes that spill over from the
  // block above begin behind the slots.
  uint8_t* record(size_t which, size_t weight, size_t step) {
    return b_.shares[which].data() + weight * b_.planeBytes + (b_.front + step) * b_.recordBytes +
           lanes_;
  }

  using V = hn::Vec<SignedBytes>;

  // The shares of the last two steps, for the taps in the same row.
  struct History {
    // From the records before `own`. A first step has no such pixels: its one lane
    // inside its row finds zeros, and the others are masked.
    HWY_INLINE explicit History(uint8_t* const* own) {
      const SignedBytes d;
      for (size_t w = 0; w < kWeights; ++w) {
        const auto* records = reinterpret_cast<const int8_t*>(own[w] + kDepth);
        const auto back = static_cast<ptrdiff_t>(recordBytes());
        last[w] = hn::LoadU(d, records - back);
        beforeLast[w] = hn::LoadU(d, records - 2 * back);
      }
    }
    V last[kWeights];
    V beforeLast[kWeights];
  };

  template <size_t kTap>
  HWY_INLINE V addTap(V level, const uint8_t* const* planes, const History& history) const {
    constexpr auto kCell = Plan::kTaps[kTap];
    if constexpr (kCell.dy == 0) {
      static_assert(kCell.dx == 1 || kCell.dx == 2);
      return hn::SaturatedAdd(
          level, kCell.dx == 1 ? history.last[kCell.weight] : history.beforeLast[kCell.weight]);
    } else {
      constexpr auto kBack =
          static_cast<ptrdiff_t>(kCell.dx) + static_cast<ptrdiff_t>(kLag) * kCell.dy;
      static_assert(kBack >= 3);
      const uint8_t* at = planes[kCell.weight] - kBack * static_cast<ptrdiff_t>(recordBytes()) +
                          static_cast<ptrdiff_t>(kDepth) - kCell.dy;
      return hn::SaturatedAdd(level, hn::LoadU(SignedBytes(), reinterpret_cast<const int8_t*>(at)));
    }
  }

  HWY_INLINE static size_t recordBytes() { return hn::Lanes(Bytes()) + kDepth; }

  template <size_t... kTaps>
  HWY_INLINE V addTaps(V level, const uint8_t* const* planes, const History& history,
                       std::index_sequence<kTaps...> /*taps*/) const {
    ((level = addTap<kTaps>(level, planes, history)), ...);
    return level;
  }

  template <size_t kWeight>
  HWY_INLINE V shareOf(hn::Vec<Words> even, hn::Vec<Words> odd, V white) const {
    const Words d16;
    const auto factor = hn::Set(d16, static_cast<uint16_t>(Plan::multiplier(kWeight)));
    const auto low = hn::MulHigh(even, factor);
    const auto high = hn::ShiftLeft<8>(hn::MulHigh(odd, factor));
    const V magnitude = hn::BitCast(SignedBytes(), hn::Or(low, high));
    return hn::Sub(hn::Xor(magnitude, white), white);  // negated where white
  }

  template <bool kMasked, size_t... kWeightIndex>
  HWY_INLINE void storeShares(hn::Vec<Words> even, hn::Vec<Words> odd, V white, V valid,
                              uint8_t* const* own, uint8_t* const* next, History& history,
                              std::index_sequence<kWeightIndex...> /*weights*/) const {
    (storeShare<kMasked, kWeightIndex>(even, odd, white, valid, own, next, history), ...);
  }

  template <bool kMasked, size_t kWeight>
  HWY_INLINE void storeShare(hn::Vec<Words> even, hn::Vec<Words> odd, V white, V valid,
                             uint8_t* const* own, uint8_t* const* next, History& history) const {
    const SignedBytes d;
    V share = shareOf<kWeight>(even, odd, white);
    if constexpr (kMasked) share = hn::And(share, valid);
    hn::StoreU(share, d, reinterpret_cast<int8_t*>(own[kWeight] + kDepth));
    // The last kDepth lanes land on the next block's slots; the others on lanes
    // that it writes itself before it reads them.
    hn::StoreU(share, d, reinterpret_cast<int8_t*>(next[kWeight] + kDepth - hn::Lanes(d)));
    history.beforeLast[kWeight] = history.last[kWeight];
    history.last[kWeight] = share;
  }

  // One run. Returns the errors of its lanes, put together: 0 where there were none.
  template <bool kMasked>
  HWY_NOINLINE V diffuseRun(size_t from) {
    const SignedBytes d;
    const Words d16;
    const V flip = hn::Set(d, static_cast<int8_t>(-128));
    const V zero = hn::Zero(d);
    const auto lowByte = hn::Set(d16, uint16_t{0xFF});
    constexpr auto kTaps = std::make_index_sequence<kKernel.kTapCount>();
    constexpr auto kWeightList = std::make_index_sequence<kWeights>();
    uint8_t* own[kWeights];
    uint8_t* next[kWeights];
    for (size_t w = 0; w < kWeights; ++w) {
      own[w] = record(0, w, from);
      next[w] = record(1, w, 0) +
                static_cast<ptrdiff_t>(b_.recordBytes) *
                    (static_cast<ptrdiff_t>(from) - static_cast<ptrdiff_t>(kLag * lanes_));
    }
    auto* pixels = reinterpret_cast<int8_t*>(b_.pixels.data());
    History history(own);
    V any = zero;
    for (size_t s = from; s < from + kRun; ++s) {
      V level = hn::Xor(hn::LoadU(d, pixels), flip);
      level = addTaps(level, own, history, kTaps);
      const V white = hn::VecFromMask(d, hn::Gt(level, zero));
      // 255 - level where white, level where black.
      const auto error = hn::BitCast(d16, hn::Xor(hn::Xor(level, flip), white));
      V valid = zero;
      if constexpr (kMasked) {
        valid = hn::LoadU(d, reinterpret_cast<const int8_t*>(maskOf(s)));
        any = hn::Or(any, hn::And(hn::BitCast(d, error), valid));
      } else {
        any = hn::Or(any, hn::BitCast(d, error));
      }
      storeShares<kMasked>(hn::And(error, lowByte), hn::ShiftRight<8>(error), white, valid, own,
                           next, history, kWeightList);
      hn::StoreU(hn::And(white, hn::Set(d, int8_t{1})), d, pixels);
      pixels += lanes_;
      for (size_t w = 0; w < kWeights; ++w) {
        own[w] += recordBytes();
        next[w] += recordBytes();
      }
    }
    return any;
  }

  // Whether a run is blank and receives nothing from the rows above the block. The first
  // of its steps still receives from kReach steps before it.
  bool isQuiet(size_t run) const {
    const size_t from = run * kRun;
    const size_t late = kLag * (lanes_ - 1);
    const size_t first = (from - std::min(from, late)) / kBlock;
    const size_t last = std::min((from + kRun - 1) / kBlock, b_.blank.size() - 1);
    for (size_t k = first; k <= last; ++k) {
      if (b_.blank[k] == 0) return false;
    }
    // The block above was kLag * lanes_ steps ahead at the same columns.
    static_assert(kReach < kLag * simd::kTile);
    const size_t firstAbove = (from + kLag * lanes_ - kReach) / kRun;
    const size_t lastAbove = (from + kRun - 1 + kLag * lanes_) / kRun;
    for (size_t r = firstAbove; r <= std::min(lastAbove, b_.runs - 1); ++r) {
      if (b_.handsOn[r] != 0) return false;
    }
    return true;
  }

  // What a quiet run hands on: the pixels are black already.
  void skipRun(size_t from) {
    for (size_t w = 0; w < kWeights; ++w) {
      uint8_t* slots = record(1, w, 0) +
                       static_cast<ptrdiff_t>(recordBytes()) *
                           (static_cast<ptrdiff_t>(from) - static_cast<ptrdiff_t>(kLag * lanes_));
      for (size_t s = 0; s < kRun; ++s) std::memset(slots + s * recordBytes(), 0, kDepth);
    }
  }

  // The records that the steps from `from` on look back at, of runs that were skipped.
  void clearRecordsBefore(size_t from) {
    for (size_t w = 0; w < kWeights; ++w) {
      std::memset(record(0, w, from) - kReach * recordBytes(), 0, kReach * recordBytes());
    }
  }

  void diffuseBlock() {
    const SignedBytes d;
    bool atRest = true;  // no errors in the run before
    bool skipped = false;
    for (size_t run = 0; run < b_.runs; ++run) {
      const size_t from = run * kRun;
      if (atRest && isQuiet(run)) {
        skipRun(from);
        b_.handsOn[run] = 0;
        skipped = true;
        continue;
      }
      if (skipped) {
        clearRecordsBefore(from);
        skipped = false;
      }
      toLanes(from);
      const bool edge = from < head_ || from >= tail_;
      const V errors = edge ? diffuseRun<true>(from) : diffuseRun<false>(from);
      toRows(from);
      atRest = hn::AllTrue(d, hn::Eq(errors, hn::Zero(d)));
      int8_t lanes[HWY_MAX_BYTES];
      hn::StoreU(errors, d, lanes);
      b_.handsOn[run] = 0;
      for (size_t i = lanes_ - kDepth; i < lanes_; ++i) b_.handsOn[run] |= lanes[i] != 0 ? 1 : 0;
    }
  }

  size_t lanes_;
  size_t width_;
  size_t height_;
  size_t head_ = 0;
  size_t tail_ = 0;
  WaveBuffers b_;
};

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace drav_vector
HWY_AFTER_NAMESPACE();

#endif  // IMAGE_DIFFUSION_WAVEFRONT_INL_H_: once for every vector target
