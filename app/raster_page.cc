// SPDX-License-Identifier: Apache-2.0
#include "app/raster_page.h"

#include <algorithm>
#include <cstring>

#include "app/media.h"

namespace app {
namespace {

// As a number: a raster may state one that the type cannot hold.
uint32_t colourSpaceOf(const cups_page_header2_t& header) {
  uint32_t space = 0;
  static_assert(sizeof header.cupsColorSpace == sizeof space);
  std::memcpy(&space, &header.cupsColorSpace, sizeof space);
  return space;
}

const char* faultOf(const cups_page_header2_t& header, const PrinterModel& model) {
  if (header.cupsBitsPerPixel != 8 || header.cupsNumColors > 1) return "it is not 8-bit grey";
  const uint32_t space = colourSpaceOf(header);
  if (space != CUPS_CSPACE_K && space != CUPS_CSPACE_W && space != CUPS_CSPACE_SW)
    return "its colour space is not grey";
  const auto dpi = static_cast<unsigned>(model.resolution);
  if (header.HWResolution[0] != dpi || header.HWResolution[1] != dpi)
    return "its resolution is not the printer's";
  if (header.cupsWidth == 0 || header.cupsHeight == 0) return "it is empty";
  if (header.cupsHeight > mostRows(model)) return "it is longer than 3 m";
  if (header.cupsWidth > 2 * uint64_t(widestPaper(model)) * dpi / 2540)
    return "it is wider than any paper";
  if (header.cupsBytesPerLine != header.cupsWidth) return "its rows are not as long as it is wide";
  return nullptr;
}

}  // namespace

const char* RasterPage::begin(const cups_page_header2_t& header, const PrinterModel& model,
                              const std::string& paper) {
  rows_ = 0;
  header_ = header;
  const char* fault = faultOf(header, model);
  if (fault == nullptr && !pixels_.growTo(uint64_t{header.cupsBytesPerLine} * header.cupsHeight))
    fault = "there is no memory for it";
  if (fault != nullptr) {
    header_.cupsHeight = 0;
    return fault;
  }
  isWhite_ = header.cupsColorSpace != CUPS_CSPACE_K;
  header_.cupsColorSpace = CUPS_CSPACE_K;
  std::memset(header_.cupsPageSizeName, 0, sizeof header_.cupsPageSizeName);
  paper.copy(header_.cupsPageSizeName, sizeof header_.cupsPageSizeName - 1);
  return nullptr;
}

void RasterPage::takeRow(const uint8_t* levels) {
  if (rows_ >= header_.cupsHeight) return;
  const uint32_t width = header_.cupsBytesPerLine;
  const uint8_t turn = isWhite_ ? 0xFF : 0;  // 255 - level, bit by bit
  std::transform(levels, levels + width, pixels_.data() + size_t{rows_} * width,
                 [turn](uint8_t level) { return static_cast<uint8_t>(level ^ turn); });
  ++rows_;
}

}  // namespace app
