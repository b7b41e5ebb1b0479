// SPDX-License-Identifier: Apache-2.0
// Vector variants of the row operations.
#ifndef IMAGE_ROW_OPS_SIMD_H_
#define IMAGE_ROW_OPS_SIMD_H_

#include <vector>

#include "image/row_ops.h"

// Appends the variants that this machine can run, the fastest last.
void appendVectorRowOps(std::vector<RowOpsVariant>& variants);

#endif  // IMAGE_ROW_OPS_SIMD_H_
