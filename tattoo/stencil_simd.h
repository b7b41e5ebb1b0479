// SPDX-License-Identifier: Apache-2.0
// Vector variants of the tattoo stages.
#ifndef TATTOO_STENCIL_SIMD_H_
#define TATTOO_STENCIL_SIMD_H_

#include <vector>

#include "tattoo/stencil_rows.h"

// Appends the variants that this machine can run, the fastest last.
void appendVectorStencils(std::vector<StencilVariant>& variants);

#endif  // TATTOO_STENCIL_SIMD_H_
