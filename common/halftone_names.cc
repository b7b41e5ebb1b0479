// SPDX-License-Identifier: Apache-2.0
#include "common/halftone_names.h"

#include <array>
#include <cstring>

namespace {

constexpr std::array<const char*, kHalftoneTypeCount> sHalftoneTypeStrTable = {
    "None",   "FloydSteinberg", "Ordered", "Burkes",   "Stucki", "JarvisJudiceNinke",
    "Sierra", "StevensonArce",  "Tattoo",  "Tattoo_X8"};

}  // namespace

const char* dravHalftoneTypeToStr(DitherType type) {
  const auto index = static_cast<int32_t>(type);
  if (index < 0 || index >= kHalftoneTypeCount) return sHalftoneTypeStrTable[0];
  return sHalftoneTypeStrTable[static_cast<size_t>(index)];
}

DitherType dravHalftoneTypeFromStr(const char* text) {
  if (text == nullptr) return DitherType::None;
  for (int32_t i = 0; i < kHalftoneTypeCount; ++i) {
    if (std::strcmp(text, sHalftoneTypeStrTable[static_cast<size_t>(i)]) == 0) {
      return static_cast<DitherType>(i);
    }
  }
  return DitherType::None;
}
