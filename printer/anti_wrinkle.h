// SPDX-License-Identifier: Apache-2.0
// Where the frame lies that keeps stencil paper flat: once for images
// (DravPrinter::EnableAntiWrink) and for rows (printer/page_finish.h).
#ifndef PRINTER_ANTI_WRINKLE_H_
#define PRINTER_ANTI_WRINKLE_H_

#include <array>
#include <cstdint>

#include "printer/page_settings.h"

struct cups_page_header2_s;

// Columns [left, right) and rows [top, bottom).
struct FrameBand {
  int left;
  int right;
  int top;
  int bottom;
};

// All lengths are dots.
struct FrameGeometry {
  int level;
  uint32_t lineV;  // thickness of the sides
  uint32_t lineH;  // thickness of top and bottom
  uint32_t canvasWidth;
  uint32_t canvasHeight;
  const char* canvasLogFormat;  // null for a paper without a frame
  bool narrow;                  // the image is narrower, lower, wider, higher than the canvas
  bool low;
  bool wide;
  bool high;
  int ex;  // margins that the image gets at either side
  int ey;
  int x;  // the canvas's corner in the image with its margins
  int y;
  std::array<FrameBand, 4> bands;  // left, top, right, bottom
};

// For an image of width x height dots on the paper that the header names.
FrameGeometry frameGeometry(const PageSettings& settings, const cups_page_header2_s& header,
                            int width, int height);

// The lines up to the margins, and those from the canvas's corner on.
void reportFrameCanvas(const FrameGeometry& frame);
void reportFrameDrawn(const FrameGeometry& frame);
void reportFrameWithoutPage();
// Where it would not print whole on a page of which `width` x `height` dots do.
void reportFrameLeftOut(const FrameGeometry& frame, uint32_t width, uint32_t height);

// Draws the frame's dots of row y, `width` dots wide, with index 255.
void drawFrameRow(const FrameGeometry& frame, uint32_t y, uint32_t width, uint8_t* row);

#endif  // PRINTER_ANTI_WRINKLE_H_
