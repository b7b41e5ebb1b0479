// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/html/original.h"

#include <algorithm>
#include <vector>

#include "proof/area_average.h"
#include "tools/drav/html/png_data.h"

namespace {

// 0 is no ink, but for pages of these colour spaces, where 0 is black.
bool zeroIsBlack(const cups_page_header2_t& header) {
  return header.cupsColorSpace == CUPS_CSPACE_W || header.cupsColorSpace == CUPS_CSPACE_SW;
}

std::vector<uint8_t> levelsOf(const GreyPage& page, uint32_t width, uint32_t height) {
  const uint8_t flip = zeroIsBlack(page.header) ? 0 : 255;
  std::vector<uint8_t> levels(size_t{width} * height);
  for (uint32_t y = 0; y < height; ++y)
    std::transform(
        page.pixels.begin() + static_cast<std::ptrdiff_t>(size_t{y} * page.header.cupsBytesPerLine),
        page.pixels.begin() +
            static_cast<std::ptrdiff_t>(size_t{y} * page.header.cupsBytesPerLine + width),
        levels.begin() + static_cast<std::ptrdiff_t>(size_t{y} * width),
        [flip](uint8_t value) { return static_cast<uint8_t>(value ^ flip); });
  return levels;
}

}  // namespace

bool makeOriginal(const GreyPage& page, Original& original, std::string& error) {
  const uint32_t width = std::min(page.header.cupsWidth, page.header.cupsBytesPerLine);
  const uint32_t height = page.header.cupsHeight;
  if (width == 0 || height == 0 || page.header.cupsBitsPerPixel != 8) {
    error = "the page is not 8-bit grey";
    return false;
  }
  original = {width, height, 1, {}};
  const std::vector<uint8_t> levels = levelsOf(page, width, height);
  if (!pngData(PngKind::kLevels, levels, width, width, height, original.data, error)) return false;
  while (original.data.size() > kMostOriginalBytes) {
    original.shrink *= 2;
    const uint32_t columns = (width + original.shrink - 1) / original.shrink;
    const uint32_t rows = (height + original.shrink - 1) / original.shrink;
    const auto smaller = areaAverage(levels, original.width, original.height, columns, rows);
    if (!pngData(PngKind::kLevels, smaller, columns, columns, rows, original.data, error))
      return false;
  }
  return true;
}
