// SPDX-License-Identifier: Apache-2.0
// Frame around the paper's printable area that keeps stencil paper flat.
#include <cups/raster.h>

#include <algorithm>
#include <cstdint>
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

// Tenths of dots are rounded to dots; 254 hundredths of a millimetre are a tenth
// of an inch.
uint32_t roundedDots(uint32_t scaledLength) { return (scaledLength / 254 + 5) / 10; }

// The page size name of a header from outside, which need not be terminated.
std::string_view pageSizeName(const cups_page_header2_t& header) {
  const char* name = header.cupsPageSizeName;
  return {name, strnlen(name, sizeof header.cupsPageSizeName)};
}

struct Size {
  uint32_t width;
  uint32_t height;
};

// Columns [left, right) and rows [top, bottom).
struct Band {
  int left;
  int right;
  int top;
  int bottom;
};

// Sets index 255 on the band's dots inside the image. `column` and `row` end up
// as the counters of a plain loop over the whole band would, since they are
// logged: the column keeps its value when there is no row.
void fillBand(PaletteImage& image, const Band& band, int& column, int& row) {
  const int64_t lastColumn = std::min<int64_t>(band.right, image.GetWidth());
  const int64_t lastRow = std::min<int64_t>(band.bottom, image.GetHeight());
  for (int64_t y = std::max(band.top, 0); y < lastRow; ++y) {
    for (int64_t x = std::max(band.left, 0); x < lastColumn; ++x) {
      image.SetPixelIndex(static_cast<long>(x), static_cast<long>(y), 255);
    }
  }
  if (band.top < band.bottom) column = std::max(band.left, band.right);
  row = std::max(band.top, band.bottom);
}

int signedOf(uint32_t value) { return static_cast<int>(value); }

// Frame of bands `lineV` wide and `lineH` high along the canvas's edge, whose
// corner lies at (x, y).
void drawFrame(PaletteImage& image, int x, int y, Size canvas, uint32_t lineV, uint32_t lineH) {
  const auto at = [](int origin, uint32_t distance) {
    return signedOf(static_cast<uint32_t>(origin) + distance);
  };
  const int right = at(x, canvas.width);
  const int bottom = at(y, canvas.height);
  struct NamedBand {
    Band band;
    const char* logFormat;
  };
  const NamedBand bands[] = {
      {{x, at(x, lineV), y, bottom}, "EnableAntiWrink: Drawing left line. point(%d, %d, %d, %d)"},
      {{x, right, y, at(y, lineH)}, "EnableAntiWrink: Drawing top line. point(%d, %d, %d, %d)"},
      {{at(x, canvas.width - lineV), right, y, bottom},
       "EnableAntiWrink: Drawing right line. point(%d, %d, %d, %d)"},
      {{x, right, at(y, canvas.height - lineH), bottom},
       "EnableAntiWrink: Drawing bottom line. point(%d, %d, %d, %d)"},
  };
  int column = 0;
  int row = 0;
  for (const NamedBand& named : bands) {
    fillBand(image, named.band, column, row);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"  // literals of the table above
    dravLogCommon(kLogDebug, named.logFormat, named.band.left, named.band.top, column, row);
#pragma GCC diagnostic pop
  }
}

// Canvas of the named paper with room for the frame; 0 x 0 for other names.
Size canvasSize(std::string_view paperName, uint32_t resolution, uint32_t lineV, uint32_t lineH) {
  for (const PaperArea& paper : kPapers) {
    if (paper.name != paperName) continue;
    const Size canvas = {roundedDots(resolution * paper.width) + 2 * lineV,
                         roundedDots(resolution * paper.height) + 2 * lineH};
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"  // literals of the table above
    dravLogCommon(kLogDebug, paper.logFormat, signedOf(canvas.width), signedOf(canvas.height));
#pragma GCC diagnostic pop
    return canvas;
  }
  return {0, 0};
}

// Expands the image to the canvas where it is smaller; false when that fails.
bool expandToCanvas(PaletteImage& image, Size canvas) {
  int ex = 0;
  int ey = 0;
  const int width = signedOf(image.GetWidth());
  const int height = signedOf(image.GetHeight());
  if (width < signedOf(canvas.width)) {
    ex = (signedOf(canvas.width) - width) / 2;
    dravLogCommon(kLogDebug, "EnableAntiWrink: Image width is less than canvas width, exPoints: %d",
                  ex);
  }
  if (height < signedOf(canvas.height)) {
    ey = (signedOf(canvas.height) - height) / 2;
    dravLogCommon(kLogDebug,
                  "EnableAntiWrink: Image height is less than canvas height, eyPoints: %d", ey);
  }
  if (ex == 0 && ey == 0) return true;
  constexpr tagRGBQUAD kWhite = {0xFF, 0xFF, 0xFF, 0};
  if (!image.Expand(ex, ey, ex, ey, kWhite)) {
    dravLogCommon(kLogDebug, "EnableAntiWrink: Failed to expand image, returning.");
    return false;
  }
  dravLogCommon(kLogDebug, "EnableAntiWrink: Image expanded successfully.");
  return true;
}

}  // namespace

void DravPrinter::EnableAntiWrink(PaletteImage& image) const {
  if (!image.IsValid() || pageHdr_ == nullptr) {
    dravLogCommon(kLogDebug, "EnableAntiWrink: Image or pageHdr_ is not valid, returning.");
    return;
  }
  const auto resolution = static_cast<uint32_t>(resolution_);
  const uint32_t lineH = roundedDots(resolution * 100);
  const uint32_t lineV = roundedDots(static_cast<uint32_t>(antiWrinkle_) * 100 * resolution);
  dravLogCommon(kLogDebug,
                "EnableAntiWrink: AntiWrinkle level: %d, line_v: %d points, line_h: %d points.",
                antiWrinkle_, signedOf(lineV), signedOf(lineH));
  const Size canvas = canvasSize(pageSizeName(*pageHdr_), resolution, lineV, lineH);
  if (!expandToCanvas(image, canvas)) return;

  int x = 0;
  int y = 0;
  const int width = signedOf(image.GetWidth());
  const int height = signedOf(image.GetHeight());
  if (width > signedOf(canvas.width)) {
    x = (width - signedOf(canvas.width)) / 2;
    dravLogCommon(kLogDebug,
                  "EnableAntiWrink: Image width is greater than canvas width, offset.x: %d", x);
  }
  if (height > signedOf(canvas.height)) {
    y = (height - signedOf(canvas.height)) / 2;
    dravLogCommon(kLogDebug,
                  "EnableAntiWrink: Image height is greater than canvas height, offset.y: %d", y);
  }
  drawFrame(image, x, y, canvas, lineV, lineH);
}
