// SPDX-License-Identifier: Apache-2.0
#include "tattoo/stencil_rows.h"

#include "simd/variant_list.h"
#include "tattoo/error_diffusion.h"
#include "tattoo/stencil_simd.h"
#include "tattoo/unsharp.h"

namespace {

void stencilPlain(int32_t threshold, uint32_t width, uint32_t height, const RowSource& source,
                  const RowSink& sink) {
  QZImage grey(static_cast<int32_t>(width), static_cast<int32_t>(height), QZ_IMG_GRAY);
  for (uint32_t y = 0; y < height; ++y) source(y, grey.data + size_t{y} * width);
  const QZImage sharpened = enh_unsharp_mask(grey, kStencilUnsharpPercent, kStencilUnsharpTaps);
  const QZImage stencil = edf_cus(sharpened, threshold);
  for (uint32_t y = 0; y < height; ++y) sink(y, stencil.data + size_t{y} * width);
}

}  // namespace

std::span<const StencilVariant> stencilVariants() {
  static const auto variants =
      variantList(StencilVariant{"plain", stencilPlain}, appendVectorStencils);
  return variants;
}

void stencilRows(int32_t threshold, uint32_t width, uint32_t height, const RowSource& source,
                 const RowSink& sink) {
  stencilVariants().back().run(threshold, width, height, source, sink);
}
