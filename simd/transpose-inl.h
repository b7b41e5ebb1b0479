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

using Block = hn::FixedTag<uint8_t, 16>;

constexpr size_t kTile = 16;

// Transposes 16 rows of 16 bytes: row i is read at in + i * inStep and column j
// written to out + j * outStep.
HWY_INLINE void transposeTile(const uint8_t* HWY_RESTRICT in, size_t inStep,
                              uint8_t* HWY_RESTRICT out, size_t outStep) {
  const Block d;
  hn::Vec<Block> a[kTile];
  hn::Vec<Block> b[kTile];
  for (size_t i = 0; i < kTile; ++i) a[i] = hn::LoadU(d, in + i * inStep);
  // Four rounds of interleaving row i with row i + 8 turn rows into columns.
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

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace drav_simd
HWY_AFTER_NAMESPACE();

#endif  // SIMD_TRANSPOSE_INL_H_: once for every vector target
