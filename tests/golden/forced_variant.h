// SPDX-License-Identifier: Apache-2.0
// Lets the product run on another variant of its vector code than it would choose.
#ifndef TESTS_GOLDEN_FORCED_VARIANT_H_
#define TESTS_GOLDEN_FORCED_VARIANT_H_

#include <string>

// From now on halftones, stencils and row operations run as the variant of this
// name ("plain", "ssse3", "sse4", "avx2", "neon"; built with DRAV_ALL_VECTORS also
// "emu128", "avx512", "avx512dl"). False, with nothing changed,
// when this machine or this build has no such variant.
[[nodiscard]] bool forceVariant(const std::string& name);

// The names of the variants in use: one name when all three agree.
std::string variantsInUse();

// The names of all variants that this machine can run, the fastest last.
std::string availableVariants();

#endif  // TESTS_GOLDEN_FORCED_VARIANT_H_
