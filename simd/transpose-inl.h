// SPDX-License-Identifier: Apache-2.0
// Tiles of bytes turned from rows to lanes. Compiled for every vector target.
#if defined(SIMD_TRANSPOSE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef SIMD_TRANSPOSE_INL_H_
#undef SIMD_TRANSPOSE_INL_H_
#else
#define SIMD_TRANSPOSE_INL_H_
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace drav_simd {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

constexpr size_t kTile = 16;

// One 16-byte block from each of so many rows that they fill a vector, and back.
template <class D>
HWY_INLINE hn::Vec<D> loadBlocks(D d, const uint8_t* in, size_t step) {
  if constexpr (hn::MaxLanes(D()) == kTile) {
    return hn::LoadU(d, in);
  } else {
    const hn::Half<D> half;
    const size_t rows = hn::MaxLanes(half) / kTile;
    return hn::Combine(d, loadBlocks(half, in + rows * step, step), loadBlocks(half, in, step));
  }
}
template <class D>
HWY_INLINE void storeBlocks(hn::Vec<D> v, D d, uint8_t* out, size_t step) {
  if constexpr (hn::MaxLanes(D()) == kTile) {
    hn::StoreU(v, d, out);
  } else {
    const hn::Half<D> half;
    const size_t rows = hn::MaxLanes(half) / kTile;
    storeBlocks(hn::LowerHalf(half, v), half, out, step);
    storeBlocks(hn::UpperHalf(half, v), half, out + rows * step, step);
  }
}

// Four rounds of interleaving row i with row i + 8 turn rows into columns, in each block.
template <class V, class D>
HWY_INLINE void interleaveTile(V* a, D d) {
  V b[kTile];
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
}

// kTile columns of as many rows as a vector has lanes: row i is read at in + i * inStep,
// and column j becomes the vector at out + j * Lanes(d).
template <class D>
HWY_INLINE void rowsToLanes(D d, const uint8_t* HWY_RESTRICT in, size_t inStep,
                            uint8_t* HWY_RESTRICT out) {
  hn::Vec<D> a[kTile];
  for (size_t i = 0; i < kTile; ++i) a[i] = loadBlocks(d, in + i * inStep, kTile * inStep);
  interleaveTile(a, d);
  for (size_t i = 0; i < kTile; ++i) hn::StoreU(a[i], d, out + i * hn::Lanes(d));
}

// The way back: row i is written at out + i * outStep.
template <class D>
HWY_INLINE void lanesToRows(D d, const uint8_t* HWY_RESTRICT in, uint8_t* HWY_RESTRICT out,
                            size_t outStep) {
  hn::Vec<D> a[kTile];
  for (size_t i = 0; i < kTile; ++i) a[i] = hn::LoadU(d, in + i * hn::Lanes(d));
  interleaveTile(a, d);
  for (size_t i = 0; i < kTile; ++i) storeBlocks(a[i], d, out + i * outStep, kTile * outStep);
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace drav_simd
HWY_AFTER_NAMESPACE();

#endif  // SIMD_TRANSPOSE_INL_H_: once for every vector target
