// SPDX-License-Identifier: Apache-2.0
// Vector variants of the classic halftones.
#ifndef IMAGE_HALFTONE_SIMD_H_
#define IMAGE_HALFTONE_SIMD_H_

#include <vector>

#include "image/halftone_rows.h"

// Appends the variants that this machine can run, the fastest last.
void appendVectorHalftones(std::vector<HalftoneVariant>& variants);

#endif  // IMAGE_HALFTONE_SIMD_H_
