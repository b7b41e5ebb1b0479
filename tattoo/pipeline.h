// SPDX-License-Identifier: Apache-2.0
// The two tattoo-stencil halftones. Both are the same chain: grey, moment
// threshold, piecewise gamma, unsharp mask, error diffusion; they differ in the
// gamma curve alone. They keep no state and are reentrant.
#ifndef TATTOO_PIPELINE_H_
#define TATTOO_PIPELINE_H_

#include "tattoo/qz_image.h"

// "Tattoo": a fixed curve that lifts the whole range, levels from 64 up most.
// Returns a grey image of bytes 0 and 255; an image without area comes back as
// a copy. The argument is only read. Throws std::bad_alloc.
QZImage qzTattooDithering(const QZImage& image);

// "Tattoo_X8": a curve that pulls every level toward the image's own threshold.
QZImage qzTattooDitheringX8(const QZImage& image);

#endif  // TATTOO_PIPELINE_H_
