// SPDX-License-Identifier: Apache-2.0
#include "filter/page_geometry.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "printer/mono_pack.h"

namespace {

constexpr double kPointsPerInch = 72.0;

// Truncates toward zero, held within 64 bits.
uint64_t truncateToUint64(double value) {
  constexpr double kTwoTo64 = 18446744073709551616.0;
  if (value >= kTwoTo64) return std::numeric_limits<uint64_t>::max();
  return value > 0.0 ? static_cast<uint64_t>(value) : 0;
}

}  // namespace

uint64_t maxMediaLinePixels(double maxMediaWidth, const cups_page_header2_t& header) {
  if (!std::isfinite(maxMediaWidth) || maxMediaWidth <= 0.0) return 0;
  return truncateToUint64((maxMediaWidth / kPointsPerInch) *
                          static_cast<double>(header.HWResolution[0]));
}

uint64_t skippedRightPixels(uint64_t maxLinePixels, const cups_page_header2_t& header) {
  if (maxLinePixels == 0 || header.cupsBytesPerLine <= maxLinePixels) return 0;
  return header.cupsBytesPerLine - maxLinePixels;
}

uint32_t printedColumns(uint64_t skippedPixels, const cups_page_header2_t& header) {
  const size_t imageRow = (size_t{header.cupsWidth} + 3) / 4 * 4;
  const size_t packed = packedRowPixels(imageRow, static_cast<unsigned long>(skippedPixels));
  return static_cast<uint32_t>(std::min<size_t>(header.cupsWidth, packed));
}

uint32_t pageBytes(const cups_page_header2_t& header) {
  return header.cupsBytesPerLine * header.cupsHeight;
}

bool isUnprintable(const cups_page_header2_t& header) {
  if (header.cupsWidth > header.cupsBytesPerLine) return true;
  const uint64_t size = uint64_t{header.cupsBytesPerLine} * header.cupsHeight;
  return size > std::numeric_limits<uint32_t>::max() && pageBytes(header) != 0;
}
