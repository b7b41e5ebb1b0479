// SPDX-License-Identifier: Apache-2.0
#include "tests/golden/forced_variant.h"

#include <algorithm>
#include <span>

#include "image/halftone_rows.h"
#include "image/row_ops.h"
#include "tattoo/stencil_rows.h"

namespace {

template <typename Variant>
const Variant* findVariant(std::span<const Variant> variants, const std::string& name) {
  const auto found = std::find_if(variants.begin(), variants.end(),
                                  [&name](const Variant& variant) { return variant.name == name; });
  return found == variants.end() ? nullptr : &*found;
}

// The product uses the last variant of each list. The lists are handed out as
// constant, but their elements live on the heap and are no constant objects: the
// last one may be overwritten. So the product needs no switch that only tests use.
template <typename Variant>
void putLast(std::span<const Variant> variants, const Variant& chosen) {
  const_cast<Variant&>(variants.back()) = chosen;
}

}  // namespace

bool forceVariant(const std::string& name) {
  const HalftoneVariant* halftone = findVariant(halftoneVariants(), name);
  const StencilVariant* stencil = findVariant(stencilVariants(), name);
  const RowOpsVariant* row = findVariant(rowOpsVariants(), name);
  if (halftone == nullptr || stencil == nullptr || row == nullptr) return false;
  putLast(halftoneVariants(), *halftone);
  putLast(stencilVariants(), *stencil);
  putLast(rowOpsVariants(), *row);
  return true;
}

std::string variantsInUse() {
  const std::string halftone = halftoneVariants().back().name;
  const std::string stencil = stencilVariants().back().name;
  const std::string row = rowOps().name;
  if (halftone == stencil && halftone == row) return halftone;
  return halftone + " halftones, " + stencil + " stencils, " + row + " rows";
}

std::string availableVariants() {
  std::string names;
  for (const HalftoneVariant& variant : halftoneVariants()) {
    if (!names.empty()) names += ' ';
    names += variant.name;
  }
  return names;
}
