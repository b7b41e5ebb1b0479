// SPDX-License-Identifier: Apache-2.0
// How a page is to be printed.
#ifndef PRINTER_PAGE_SETTINGS_H_
#define PRINTER_PAGE_SETTINGS_H_

#include "image/halftones.h"

// Blank rows that are left out.
enum class TrimPaper {
  None,
  End,   // after the last dot
  Both,  // and before the first
};

struct PageSettings {
  int brightness = 0;  // -100 to 100
  int contrast = 0;    // -100 to 100
  DitherType halftoneType = DitherType::None;
  bool negativePrint = false;
  bool mirrorPrint = false;
  bool rotate180Print = false;
  bool invertPage = false;
  int antiWrinkle = 0;                 // millimetres at the sides; 0 is no frame
  unsigned char removeBlankEdges = 0;  // bits of the edges to measure
  unsigned long skipRightPixels = 0;
  TrimPaper trimPaper = TrimPaper::None;
  bool keepPictures = true;
  int resolution = 300;  // dots per inch

  bool isTattoo() const { return halftonePipeline(halftoneType) != HalftonePipeline::rows; }
  bool adjustsTone() const { return brightness != 0 || contrast != 0; }
  int scaledBrightness() const { return brightness * 5; }  // -500 to 500 levels
  int scaledContrast() const { return contrast * 2; }      // -200 to 200 per cent
};

// A grey page: `height` rows of `stride` bytes, of which `width` are the picture.
// 0 is no ink.
struct PagePixels {
  const unsigned char* pixels;
  unsigned stride;
  unsigned width;
  unsigned height;

  // Rows of a page image are padded to a multiple of 4 bytes.
  unsigned imageRowBytes() const { return (width + 3) / 4 * 4; }
};

#endif  // PRINTER_PAGE_SETTINGS_H_
