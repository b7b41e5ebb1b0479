// SPDX-License-Identifier: Apache-2.0
// The halftone types and their names, which are also the choice names of the
// PPD option "HalftoneType".
#ifndef COMMON_HALFTONE_NAMES_H_
#define COMMON_HALFTONE_NAMES_H_

#include <cstdint>

// Halftone of a page. Values 0 to 7 go unchanged to PaletteImage::Dither as its
// method number. Its methods are one position away from these names:
// "FloydSteinberg" runs the ordered 4 x 4 matrix, "Ordered" runs Burkes, and so
// on. Installed queues rely on these pairs: they must not change.
enum class DitherType : int32_t {
  None = 0,               // fixed threshold
  FloydSteinberg = 1,     // ordered 4 x 4
  Ordered = 2,            // Burkes
  Burkes = 3,             // Stucki
  Stucki = 4,             // Jarvis, Judice and Ninke
  JarvisJudiceNinke = 5,  // Sierra
  Sierra = 6,             // Stevenson and Arce
  StevensonArce = 7,      // Bayer table
  Tattoo = 8,             // tattoo stencil pipeline
  Tattoo_X8 = 9,          // tattoo stencil pipeline, curve around its own threshold
};

inline constexpr int32_t kHalftoneTypeCount = 10;

// Name of `type`, a static text; "None" for values outside 0 to 9.
const char* dravHalftoneTypeToStr(DitherType type);

// Type whose name equals `text` exactly (case counts); None for any other text
// and for a null pointer.
DitherType dravHalftoneTypeFromStr(const char* text);

#endif  // COMMON_HALFTONE_NAMES_H_
