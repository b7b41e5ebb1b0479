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

// Buffers of one page, for vectors of `lanes` rows.
//
// A record is one step of a block of rows: `depth` slots for the lowest rows of
// the block above, then a byte for each lane. What the block's own lowest lanes
// compute goes to the slots of the next block's records.
struct WaveBuffers {
  WaveBuffers(size_t lanes, size_t width, size_t weights, size_t lag, size_t depth)
      : steps(width + lag * (lanes - 1)),
        front(lag * lanes + 16),
        recordBytes(lanes + depth),
        planeBytes((front + steps + 16) * recordBytes + lanes),
        margin(lag * lanes + 64),
        rowBytes(margin + width + margin),
        shares{std::vector<uint8_t>(planeBytes * weights + lanes),
               std::vector<uint8_t>(planeBytes * weights + lanes)},
        rows(rowBytes * lanes),
        columns((steps + 32) * lanes) {}

  size_t steps;  // a block's steps: the last lane starts lag * (lanes - 1) late
  size_t front;  // records before step 0
  size_t recordBytes;
  size_t planeBytes;  // records of one weight
  size_t margin;      // bytes around a row
  size_t rowBytes;
  std::array<std::vector<uint8_t>, 2> shares;  // this block's and the next one's
  std::vector<uint8_t> rows;                   // grey rows in, finished rows out
  std::vector<uint8_t> columns;                // the same with a lane a byte
  std::vector<uint8_t> valid;                  // 0xFF a lane inside its row, edge steps alone
};

template <const auto& kKernel>
class Wavefront {
  using Plan = KernelPlan<kKernel>;
  static constexpr size_t kWeights = Plan::kWeightCount;
  static constexpr size_t kDepth = Plan::kDepth;
  static constexpr size_t kLag = Plan::kLag;

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
      for (size_t i = 0; i < rows; ++i) {
        source(static_cast<uint32_t>(y + i), b_.rows.data() + i * b_.rowBytes + b_.margin);
      }
      toColumns();
      diffuseBlock();
      toRows();
      for (size_t i = 0; i < rows; ++i) {
        sink(static_cast<uint32_t>(y + i), b_.rows.data() + i * b_.rowBytes + b_.margin);
      }
      std::swap(b_.shares[0], b_.shares[1]);
    }
  }

 private:
  // Lane i is at column step - kLag * i. Steps below `head_` and from `tail_` on
  // have lanes outside the row.
  void makeMasks() {
    head_ = std::min(kLag * (lanes_ - 1), b_.steps);
    tail_ = std::max<size_t>(head_, width_);
    b_.valid.assign((head_ + b_.steps - tail_) * lanes_, 0);
    for (size_t s = 0; s < b_.steps; ++s) {
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

  // Row i moves right by kLag * i, then rows become lanes.
  void toColumns() {
    for (size_t group = 0; group < lanes_; group += simd::kTile) {
      for (size_t s = 0; s < b_.steps; s += simd::kTile) {
        const uint8_t* in = b_.rows.data() + group * b_.rowBytes + b_.margin + s - kLag * group;
        simd::transposeTile(in, b_.rowBytes - kLag, b_.columns.data() + s * lanes_ + group, lanes_);
      }
    }
  }

  void toRows() {
    for (size_t group = 0; group < lanes_; group += simd::kTile) {
      for (size_t s = 0; s < b_.steps; s += simd::kTile) {
        uint8_t* out = b_.rows.data() + group * b_.rowBytes + b_.margin + s - kLag * group;
        simd::transposeTile(b_.columns.data() + s * lanes_ + group, lanes_, out,
                            b_.rowBytes - kLag);
      }
    }
  }

  uint8_t* record(size_t which, size_t weight, size_t step) {
    return b_.shares[which].data() + weight * b_.planeBytes + (b_.front + step) * b_.recordBytes +
           lanes_;
  }

  using V = hn::Vec<SignedBytes>;

  // The shares of the last two steps, for the taps in the same row.
  struct History {
    // Written out: a generated constructor would lack the target's attribute.
    History() {
      for (size_t w = 0; w < kWeights; ++w) last[w] = beforeLast[w] = hn::Zero(SignedBytes());
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

  template <bool kMasked>
  HWY_INLINE void diffuseSteps(size_t from, size_t to, History& history) {
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
    auto* pixels = reinterpret_cast<int8_t*>(b_.columns.data() + from * lanes_);
    for (size_t s = from; s < to; ++s) {
      V level = hn::Xor(hn::LoadU(d, pixels), flip);
      level = addTaps(level, own, history, kTaps);
      const V white = hn::VecFromMask(d, hn::Gt(level, zero));
      // 255 - level where white, level where black.
      const auto error = hn::BitCast(d16, hn::Xor(hn::Xor(level, flip), white));
      V valid = zero;
      if constexpr (kMasked) {
        valid = hn::LoadU(d, reinterpret_cast<const int8_t*>(maskOf(s)));
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
  }

  void diffuseBlock() {
    History history;
    diffuseSteps<true>(0, head_, history);
    diffuseSteps<false>(head_, tail_, history);
    diffuseSteps<true>(tail_, b_.steps, history);
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
