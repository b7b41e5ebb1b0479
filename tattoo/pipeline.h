// SPDX-License-Identifier: Apache-2.0
// The two tattoo-stencil halftones. Both are the same chain: grey, moment
// threshold, piecewise gamma, unsharp mask, error diffusion; they differ in the
// gamma curve alone. They keep no state and are reentrant.
#ifndef TATTOO_PIPELINE_H_
#define TATTOO_PIPELINE_H_

#include <array>
#include <cstdint>

#include "tattoo/qz_image.h"

// "Tattoo": a fixed curve that lifts the whole range, levels from 64 up most.
// Returns a grey image of bytes 0 and 255; an image without area comes back as
// a copy. The argument is only read. Throws std::bad_alloc.
QZImage qzTattooDithering(const QZImage& image);

// "Tattoo_X8": a curve that pulls every level toward the image's own threshold.
QZImage qzTattooDitheringX8(const QZImage& image);

// The two curves, for callers that hand the page over row by row
// (tattoo/stencil_rows.h).
enum class StencilCurve { lifted, aroundThreshold };
std::array<uint8_t, 256> stencilCurveTable(StencilCurve curve, int32_t threshold);

#endif  // TATTOO_PIPELINE_H_
