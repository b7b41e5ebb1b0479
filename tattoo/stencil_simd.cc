// SPDX-License-Identifier: Apache-2.0
// The tattoo stages row by row, once for every vector target.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tattoo/stencil_simd.cc"
#include "tattoo/vector_targets.h"
// clang-format off: the target list comes before the vector library
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// clang-format on

#include <vector>

#include "tattoo/sharpened_rows-inl.h"
#include "tattoo/stencil_simd.h"
#include "tattoo/stencil_wavefront-inl.h"

HWY_BEFORE_NAMESPACE();
namespace drav_stencil {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

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
