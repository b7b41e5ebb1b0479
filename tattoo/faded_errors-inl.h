// SPDX-License-Identifier: Apache-2.0
// Errors that have faded into denormal numbers. For stencil_simd.cc, which compiles it
// for every vector target.
#if defined(TATTOO_FADED_ERRORS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TATTOO_FADED_ERRORS_INL_H_
#undef TATTOO_FADED_ERRORS_INL_H_
#else
#define TATTOO_FADED_ERRORS_INL_H_
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace drav_stencil {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

using Floats = hn::ScalableTag<float>;

// Tells whether arithmetic has met denormal numbers since it was last asked, from
// the sticky flags of the SSE unit. A hint that costs nothing per step: results do
// not depend on it. Elsewhere such numbers cost nothing to speak of.
struct DustTrap {
#if HWY_ARCH_X86
  static constexpr unsigned kFlags = 0x0002U | 0x0010U;  // denormal operand, underflow
  static bool sprung() {
    const bool sprung = (_mm_getcsr() & kFlags) != 0;
    if (sprung) _mm_setcsr(_mm_getcsr() & ~kFlags);
    return sprung;
  }
#else
  static bool sprung() { return false; }
#endif
};

// On blank paper the errors of distant ink fade into denormal numbers and never
// out of them (half of the smallest rounds to itself), and processors that trap to
// microcode for products of those would spend most of a page's time there. The
// product of two singles has 48 bits at most and an exponent far within double's:
// it is exact in double, and the one rounding to single is the one that the single
// product does, denormal results included.
HWY_INLINE hn::Vec<Floats> fadedShare(hn::Vec<Floats> source, float weight) {
  const Floats d;
  const hn::Repartition<double, Floats> dd;
  const hn::Rebind<float, decltype(dd)> half;
  const auto factor = hn::Set(dd, static_cast<double>(weight));
  const auto lower = hn::Mul(hn::PromoteTo(dd, hn::LowerHalf(half, source)), factor);
  const auto upper = hn::Mul(hn::PromoteTo(dd, hn::UpperHalf(half, source)), factor);
  return hn::Combine(d, hn::DemoteTo(half, upper), hn::DemoteTo(half, lower));
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace drav_stencil
HWY_AFTER_NAMESPACE();

#endif  // TATTOO_FADED_ERRORS_INL_H_: once for every vector target
