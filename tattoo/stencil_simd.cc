// SPDX-License-Identifier: Apache-2.0
// The tattoo stages row by row, once for every vector target.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tattoo/stencil_simd.cc"
#include "simd/targets.h"
// clang-format off: the target list comes before the vector library
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// clang-format on

#include <vector>

#include "simd/variants.h"
#include "tattoo/sharpened_rows-inl.h"
#include "tattoo/stencil_simd.h"
#include "tattoo/stencil_wavefront-inl.h"

HWY_BEFORE_NAMESPACE();
namespace drav_stencil {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

void stencil(int32_t threshold, uint32_t width, uint32_t height, const RowSource& source,
             const RowSink& sink) {
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
#define ADD_STENCIL(name, space) variants.push_back({name, drav_stencil::space::stencil})
  SIMD_VARIANTS(ADD_STENCIL)
}
#endif  // HWY_ONCE
