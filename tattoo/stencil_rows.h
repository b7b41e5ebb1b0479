// SPDX-License-Identifier: Apache-2.0
// The tattoo stages behind the tone curve as a stream of rows: unsharp mask and
// error diffusion, with no more rows held than the stages look at.
#ifndef TATTOO_STENCIL_ROWS_H_
#define TATTOO_STENCIL_ROWS_H_

#include <cstdint>
#include <functional>
#include <span>

// Fills `row`, `width` bytes, with the levels of row y, the tone curve applied.
using GreyRowSource = std::function<void(uint32_t y, uint8_t* row)>;
// Takes row y: `width` bytes, 0 for black and 255 for white.
using StencilRowSink = std::function<void(uint32_t y, const uint8_t* row)>;

// Asks for the grey rows and hands out the stencil's rows, each from the first to
// the last. `threshold` is -1 to 255. Throws std::bad_alloc, and what the callbacks throw.
using StencilRows = void (*)(int32_t threshold, uint32_t width, uint32_t height,
                             const GreyRowSource& source, const StencilRowSink& sink);

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
void stencilRows(int32_t threshold, uint32_t width, uint32_t height, const GreyRowSource& source,
                 const StencilRowSink& sink);

// The unsharp mask of the stencils.
inline constexpr float kStencilUnsharpPercent = 300.0F;
inline constexpr int kStencilUnsharpTaps = 11;

#endif  // TATTOO_STENCIL_ROWS_H_
