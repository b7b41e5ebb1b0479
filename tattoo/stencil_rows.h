// SPDX-License-Identifier: Apache-2.0
// The tattoo stages behind the tone curve as a stream of rows: unsharp mask and
// error diffusion, with no more rows held than the stages look at.
#ifndef TATTOO_STENCIL_ROWS_H_
#define TATTOO_STENCIL_ROWS_H_

#include <cstdint>
#include <span>

#include "simd/rows.h"

// Asks for the grey rows, the tone curve applied, and hands out the stencil's rows, 0
// for black and 255 for white. `threshold` is -1 to 255. Throws std::bad_alloc, and
// what the callbacks throw.
using StencilRows = void (*)(int32_t threshold, uint32_t width, uint32_t height,
                             const RowSource& source, const RowSink& sink);

// One implementation. All give the same bytes for every input.
struct StencilVariant {
  const char* name;
  StencilRows run;
};

// Those that this machine can run: the plain reference, which is the stages of
// unsharp.h and error_diffusion.h one after the other on a whole image,
// first; the one that stencilRows uses last.
std::span<const StencilVariant> stencilVariants();

// The fastest variant.
void stencilRows(int32_t threshold, uint32_t width, uint32_t height, const RowSource& source,
                 const RowSink& sink);

// The unsharp mask of the stencils.
inline constexpr float kStencilUnsharpPercent = 300.0F;
inline constexpr int kStencilUnsharpTaps = 11;

#endif  // TATTOO_STENCIL_ROWS_H_
