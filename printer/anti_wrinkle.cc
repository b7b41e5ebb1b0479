// SPDX-License-Identifier: Apache-2.0
#include "printer/anti_wrinkle.h"

#include <cups/raster.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include "common/log.h"
#include "printer/drav_printer.h"

namespace {

// Inner area of a paper size in hundredths of a millimetre.
struct PaperArea {
  std::string_view name;
  uint32_t width;
  uint32_t height;
  const char* logFormat;
};

constexpr PaperArea kPapers[] = {
    {"A4", 20000, 27500, "EnableAntiWrink: Page size is A4, CanvasWidth: %d, CanvasHeight: %d"},
    {"Letter", 21000, 25700,
     "EnableAntiWrink: Page size is Letter, CanvasWidth: %d, CanvasHeight: %d"},
    {"Tattoo_A5", 20000, 11800,
     "EnableAntiWrink: Page size is Tattoo_A5, CanvasWidth: %d, CanvasHeight: %d"},
    {"Tattoo_A6", 10000, 11800,
     "EnableAntiWrink: Page size is Tattoo_A6, CanvasWidth: %d, CanvasHeight: %d"},
};

constexpr std::array<const char*, 4> kBandLogFormats = {
    "EnableAntiWrink: Drawing left line. point(%d, %d, %d, %d)",
    "EnableAntiWrink: Drawing top line. point(%d, %d, %d, %d)",
    "EnableAntiWrink: Drawing right line. point(%d, %d, %d, %d)",
    "EnableAntiWrink: Drawing bottom line. point(%d, %d, %d, %d)",
};

// Tenths of dots are rounded to dots; 254 hundredths of a millimetre are a tenth
// of an inch.
uint32_t roundedDots(uint32_t scaledLength) { return (scaledLength / 254 + 5) / 10; }

// The page size name of a header from outside, which need not be terminated.
std::string_view pageSizeName(const cups_page_header2_t& header) {
  const char* name = header.cupsPageSizeName;
  return {name, strnlen(name, sizeof header.cupsPageSizeName)};
}

int signedOf(uint32_t value) { return static_cast<int>(value); }

// Canvas of the paper with room for the frame; 0 x 0 for other papers.
void setCanvas(std::string_view paperName, uint32_t resolution, FrameGeometry& frame) {
  for (const PaperArea& paper : kPapers) {
    if (paper.name != paperName) continue;
    frame.canvasWidth = roundedDots(resolution * paper.width) + 2 * frame.lineV;
    frame.canvasHeight = roundedDots(resolution * paper.height) + 2 * frame.lineH;
    frame.canvasLogFormat = paper.logFormat;
    return;
  }
}

// Bands along the canvas's edge, whose corner lies at (x, y).
void setBands(FrameGeometry& frame) {
  const auto at = [](int origin, uint32_t distance) {
    return signedOf(static_cast<uint32_t>(origin) + distance);
  };
  const int right = at(frame.x, frame.canvasWidth);
  const int bottom = at(frame.y, frame.canvasHeight);
  frame.bands = {{
      {frame.x, at(frame.x, frame.lineV), frame.y, bottom},
      {frame.x, right, frame.y, at(frame.y, frame.lineH)},
      {at(frame.x, frame.canvasWidth - frame.lineV), right, frame.y, bottom},
      {frame.x, right, at(frame.y, frame.canvasHeight - frame.lineH), bottom},
  }};
}

// Sets index 255 on the band's dots inside the image.
void fillBand(PaletteImage& image, const FrameBand& band) {
  const int64_t lastColumn = std::min<int64_t>(band.right, image.GetWidth());
  const int64_t lastRow = std::min<int64_t>(band.bottom, image.GetHeight());
  for (int64_t y = std::max(band.top, 0); y < lastRow; ++y) {
    for (int64_t x = std::max(band.left, 0); x < lastColumn; ++x) {
      image.SetPixelIndex(static_cast<long>(x), static_cast<long>(y), 255);
    }
  }
}

// Expands the image by the frame's margins; false when that fails.
bool expandToCanvas(PaletteImage& image, const FrameGeometry& frame) {
  if (frame.ex == 0 && frame.ey == 0) return true;
  constexpr tagRGBQUAD kWhite = {0xFF, 0xFF, 0xFF, 0};
  if (!image.Expand(frame.ex, frame.ey, frame.ex, frame.ey, kWhite)) {
    dravLogCommon(kLogDebug, "EnableAntiWrink: Failed to expand image, returning.");
    return false;
  }
  dravLogCommon(kLogDebug, "EnableAntiWrink: Image expanded successfully.");
  return true;
}

}  // namespace

FrameGeometry frameGeometry(const PageSettings& settings, const cups_page_header2_s& header,
                            int width, int height) {
  const auto resolution = static_cast<uint32_t>(settings.resolution);
  FrameGeometry frame = {};
  frame.level = settings.antiWrinkle;
  frame.lineH = roundedDots(resolution * 100);
  frame.lineV = roundedDots(static_cast<uint32_t>(settings.antiWrinkle) * 100 * resolution);
  setCanvas(pageSizeName(header), resolution, frame);

  const int canvasWidth = signedOf(frame.canvasWidth);
  const int canvasHeight = signedOf(frame.canvasHeight);
  frame.narrow = width < canvasWidth;
  frame.low = height < canvasHeight;
  frame.wide = width > canvasWidth;
  frame.high = height > canvasHeight;
  if (frame.narrow) frame.ex = (canvasWidth - width) / 2;
  if (frame.low) frame.ey = (canvasHeight - height) / 2;
  if (frame.wide) frame.x = (width - canvasWidth) / 2;
  if (frame.high) frame.y = (height - canvasHeight) / 2;
  setBands(frame);
  return frame;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"  // literals of the tables above
void reportFrameCanvas(const FrameGeometry& frame) {
  dravLogCommon(kLogDebug,
                "EnableAntiWrink: AntiWrinkle level: %d, line_v: %d points, line_h: %d points.",
                frame.level, signedOf(frame.lineV), signedOf(frame.lineH));
  if (frame.canvasLogFormat != nullptr) {
    dravLogCommon(kLogDebug, frame.canvasLogFormat, signedOf(frame.canvasWidth),
                  signedOf(frame.canvasHeight));
  }
  if (frame.narrow) {
    dravLogCommon(kLogDebug, "EnableAntiWrink: Image width is less than canvas width, exPoints: %d",
                  frame.ex);
  }
  if (frame.low) {
    dravLogCommon(kLogDebug,
                  "EnableAntiWrink: Image height is less than canvas height, eyPoints: %d",
                  frame.ey);
  }
}

// A band's line ends with the counters of a plain loop over all its dots: the column
// keeps its value when there is no row.
void reportFrameDrawn(const FrameGeometry& frame) {
  if (frame.wide) {
    dravLogCommon(kLogDebug,
                  "EnableAntiWrink: Image width is greater than canvas width, offset.x: %d",
                  frame.x);
  }
  if (frame.high) {
    dravLogCommon(kLogDebug,
                  "EnableAntiWrink: Image height is greater than canvas height, offset.y: %d",
                  frame.y);
  }
  int column = 0;
  for (size_t i = 0; i < frame.bands.size(); ++i) {
    const FrameBand& band = frame.bands[i];
    if (band.top < band.bottom) column = std::max(band.left, band.right);
    dravLogCommon(kLogDebug, kBandLogFormats[i], band.left, band.top, column,
                  std::max(band.top, band.bottom));
  }
}
#pragma GCC diagnostic pop

void reportFrameWithoutPage() {
  dravLogCommon(kLogDebug, "EnableAntiWrink: Image or pageHdr_ is not valid, returning.");
}

void reportFrameLeftOut(const FrameGeometry& frame, uint32_t width, uint32_t height) {
  dravLogCommon(kLogWarning,
                "The frame of %u x %u dots does not fit the %u x %u dots that print, it is left "
                "out!",
                frame.canvasWidth, frame.canvasHeight, width, height);
}

void drawFrameRow(const FrameGeometry& frame, uint32_t y, uint32_t width, uint8_t* row) {
  for (const FrameBand& band : frame.bands) {
    if (y < int64_t{band.top} || y >= int64_t{band.bottom}) continue;
    const int64_t left = std::max(band.left, 0);
    const int64_t right = std::min<int64_t>(band.right, width);
    if (left < right) std::fill(row + left, row + right, uint8_t{255});
  }
}

void DravPrinter::EnableAntiWrink(PaletteImage& image) const {
  if (!image.IsValid() || pageHdr_ == nullptr) {
    reportFrameWithoutPage();
    return;
  }
  const FrameGeometry frame =
      frameGeometry(settings_, *pageHdr_, signedOf(image.GetWidth()), signedOf(image.GetHeight()));
  reportFrameCanvas(frame);
  if (!expandToCanvas(image, frame)) return;
  for (const FrameBand& band : frame.bands) fillBand(image, band);
  reportFrameDrawn(frame);
}
