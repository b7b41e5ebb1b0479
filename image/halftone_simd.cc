// SPDX-License-Identifier: Apache-2.0
// The classic halftones row by row, once for every vector target.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "image/halftone_simd.cc"
#include "simd/targets.h"
// clang-format off: the target list comes before the vector library
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
// clang-format on

#include <cstring>
#include <vector>

#include "image/diffusion_wavefront-inl.h"
#include "image/halftone_simd.h"
#include "image/halftones.h"
#include "simd/variants.h"

HWY_BEFORE_NAMESPACE();
namespace drav_vector {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

template <const auto& kKernel>
void diffuseRows(uint32_t width, uint32_t height, const RowSource& source, const RowSink& sink) {
  if (width == 0 || height == 0) return;
  Wavefront<kKernel>(width, height).run(source, sink);
}

void thresholdRows(const ThresholdPattern& pattern, uint32_t width, uint32_t height,
                   const RowSource& source, const RowSink& sink) {
  const Bytes d;
  const size_t lanes = hn::Lanes(d);
  std::vector<uint8_t> row((width + lanes) / lanes * lanes);
  for (uint32_t y = 0; y < height; ++y) {
    source(y, row.data());
    uint32_t places = 0;
    std::memcpy(&places, pattern[y & 3].data(), sizeof places);
    const auto least = hn::BitCast(d, hn::Set(hn::Repartition<uint32_t, Bytes>(), places));
    const auto one = hn::Set(d, uint8_t{1});
    for (size_t x = 0; x < width; x += lanes) {
      const auto level = hn::LoadU(d, row.data() + x);
      const auto white = hn::VecFromMask(d, hn::Eq(hn::Max(level, least), level));
      hn::StoreU(hn::And(white, one), d, row.data() + x);
    }
    sink(y, row.data());
  }
}

struct VectorKernels {
  static constexpr auto threshold = thresholdRows;
  template <const auto& kKernel, class... Page>
  static void diffuse(const Page&... page) {
    diffuseRows<kKernel>(page...);
  }
};

void halftone(long method, uint32_t width, uint32_t height, const RowSource& source,
              const RowSink& sink) {
  runHalftone<VectorKernels>(method, width, height, source, sink);
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace drav_vector
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
void appendVectorHalftones(std::vector<HalftoneVariant>& variants) {
#define ADD_HALFTONE(name, space) variants.push_back({name, drav_vector::space::halftone})
  SIMD_VARIANTS(ADD_HALFTONE)
}
#endif  // HWY_ONCE
