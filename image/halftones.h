// SPDX-License-Identifier: Apache-2.0
// The halftones: one table, a row each. docs/adding-a-halftone.md shows how to add one.
#ifndef IMAGE_HALFTONES_H_
#define IMAGE_HALFTONES_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <tuple>

#include "image/diffusion_kernels.h"
#include "image/threshold_patterns.h"

// Halftone of a page. Values 0 to 7 go unchanged to PaletteImage::Dither as its
// method number. Its methods are one position away from these names:
// "FloydSteinberg" runs the ordered 4 x 4 matrix, "Ordered" runs Burkes, and so
// on. Installed queues rely on these pairs: they must not change.
enum class DitherType : int32_t {
  None = 0,
  FloydSteinberg = 1,
  Ordered = 2,
  Burkes = 3,
  Stucki = 4,
  JarvisJudiceNinke = 5,
  Sierra = 6,
  StevensonArce = 7,
  Tattoo = 8,
  Tattoo_X8 = 9,
};

// Which code makes the dots of a page.
enum class HalftonePipeline {
  rows,      // image/halftone_rows.h
  tattoo,    // the stencil stages of tattoo/ with the lifted curve
  tattooX8,  // the same with the curve around the page's own threshold
};

// What a row of the table runs. `run` does it with one implementation's `Kernels`,
// which has two static functions, `threshold(pattern, page...)` and
// `diffuse<kernel>(page...)`.
template <const ThresholdPattern& kPattern>
struct Threshold {
  static constexpr HalftonePipeline kPipeline = HalftonePipeline::rows;
  template <class Kernels, class... Page>
  static void run(Page&... page) {
    Kernels::threshold(kPattern, page...);
  }
};

template <const auto& kKernel>
struct Diffusion {
  static constexpr HalftonePipeline kPipeline = HalftonePipeline::rows;
  template <class Kernels, class... Page>
  static void run(Page&... page) {
    Kernels::template diffuse<kKernel>(page...);
  }
};

// What the row code runs for every number that is not its own.
using OtherNumbers = Diffusion<kFloydSteinberg>;

template <HalftonePipeline kRuns>
struct Stencil : OtherNumbers {
  static constexpr HalftonePipeline kPipeline = kRuns;
};

template <class Runs>
struct HalftoneRow {
  DitherType type;
  const char* name;  // the choice of the PPD option "HalftoneType"
  Runs runs;
  const char* label;  // the choice's English text: what runs, and what it is for
};
template <class Runs>
HalftoneRow(DitherType, const char*, Runs, const char*) -> HalftoneRow<Runs>;

// In the order of the types.
inline constexpr std::tuple kHalftoneTable = {
    HalftoneRow{DitherType::None, "None", Threshold<kFixedPattern>(),
                "Threshold (text, bar codes, pure black and white)"},
    HalftoneRow{DitherType::FloydSteinberg, "FloydSteinberg", Threshold<kOrderedPattern>(),
                "Ordered 4x4 (receipts with grey areas and logos)"},
    HalftoneRow{DitherType::Ordered, "Ordered", Diffusion<kBurkes>(),
                "Burkes (photos, light grain)"},
    HalftoneRow{DitherType::Burkes, "Burkes", Diffusion<kStucki>(), "Stucki (photos, crisp)"},
    HalftoneRow{DitherType::Stucki, "Stucki", Diffusion<kJarvisJudiceNinke>(),
                "Jarvis, Judice and Ninke (photos, smooth)"},
    HalftoneRow{DitherType::JarvisJudiceNinke, "JarvisJudiceNinke", Diffusion<kSierra>(),
                "Sierra (photos, smooth and even)"},
    HalftoneRow{DitherType::Sierra, "Sierra", Diffusion<kStevensonArce>(),
                "Stevenson and Arce (photos, coarse grain)"},
    HalftoneRow{DitherType::StevensonArce, "StevensonArce", Threshold<kBayerPattern>(),
                "Bayer (flat greys in an even pattern)"},
    HalftoneRow{DitherType::Tattoo, "Tattoo", Stencil<HalftonePipeline::tattoo>(),
                "Tattoo stencil (line work, dark and bold)"},
    HalftoneRow{DitherType::Tattoo_X8, "Tattoo_X8", Stencil<HalftonePipeline::tattooX8>(),
                "Tattoo stencil X8 (shading as even, fine dots)"},
};

inline constexpr int32_t kHalftoneTypeCount = std::tuple_size_v<decltype(kHalftoneTable)>;

// Runs the halftone of a method's number, see PaletteImage::Dither.
template <class Kernels, class... Page>
void runHalftone(long method, Page&... page) {
  const auto runIfAsked = [&](const auto& row) {
    if (static_cast<long>(row.type) != method) return false;
    row.runs.template run<Kernels>(page...);
    return true;
  };
  const bool found =
      std::apply([&](const auto&... row) { return (runIfAsked(row) || ...); }, kHalftoneTable);
  if (!found) OtherNumbers::run<Kernels>(page...);
}

// A row as those see it who list the halftones.
struct Halftone {
  DitherType type;
  const char* name;
  HalftonePipeline pipeline;
  const char* label;
};
// Indexed by the type.
std::span<const Halftone, kHalftoneTypeCount> halftones();

// How to print a page of `type`; values outside the table are the row code's.
HalftonePipeline halftonePipeline(DitherType type);

// Name of `type`, a static text; "None" for values outside the table.
const char* dravHalftoneTypeToStr(DitherType type);

// Type whose name equals `text` exactly (case counts); None for any other text
// and for a null pointer.
DitherType dravHalftoneTypeFromStr(const char* text);

#endif  // IMAGE_HALFTONES_H_
