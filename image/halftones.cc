// SPDX-License-Identifier: Apache-2.0
#include "image/halftones.h"

#include <cstring>

namespace {

constexpr auto kHalftones = std::apply(
    [](const auto&... row) {
      return std::array{Halftone{row.type, row.name, row.runs.kPipeline, row.label}...};
    },
    kHalftoneTable);

constexpr bool isInOrder() {
  for (size_t i = 0; i < kHalftones.size(); ++i) {
    if (static_cast<size_t>(kHalftones[i].type) != i) return false;
  }
  return true;
}
static_assert(isInOrder(), "the rows stand in the order of their types");

// The row of `type`, or null.
const Halftone* rowOf(DitherType type) {
  const auto index = static_cast<int32_t>(type);
  if (index < 0 || index >= kHalftoneTypeCount) return nullptr;
  return &kHalftones[static_cast<size_t>(index)];
}

}  // namespace

std::span<const Halftone, kHalftoneTypeCount> halftones() { return kHalftones; }

HalftonePipeline halftonePipeline(DitherType type) {
  const Halftone* row = rowOf(type);
  return row != nullptr ? row->pipeline : HalftonePipeline::rows;
}

const char* dravHalftoneTypeToStr(DitherType type) {
  const Halftone* row = rowOf(type);
  return row != nullptr ? row->name : kHalftones.front().name;
}

DitherType dravHalftoneTypeFromStr(const char* text) {
  if (text == nullptr) return DitherType::None;
  for (const Halftone& halftone : kHalftones) {
    if (std::strcmp(text, halftone.name) == 0) return halftone.type;
  }
  return DitherType::None;
}
