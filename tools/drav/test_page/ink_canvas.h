// SPDX-License-Identifier: Apache-2.0
// A page of grey pixels that is drawn on dot by dot, without smoothed edges.
#ifndef TOOLS_DRAV_TEST_PAGE_INK_CANVAS_H_
#define TOOLS_DRAV_TEST_PAGE_INK_CANVAS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "tools/drav/draw/cairo_handles.h"
#include "tools/drav/engine/page_engine.h"

enum class TextSide : uint8_t { left, middle, right };  // of the text, where `x` is

class InkCanvas {
 public:
  // White. Throws std::bad_alloc.
  InkCanvas(uint32_t width, uint32_t height);

  uint32_t width() const { return width_; }
  uint32_t height() const { return height_; }

  // 0 is no ink, 255 black. What lies outside the page is left out.
  void fill(int x, int y, int width, int height, uint8_t ink = 255);
  void setPixel(int x, int y, uint8_t ink) { fill(x, y, 1, 1, ink); }
  uint8_t pixel(uint32_t x, uint32_t y) const;

  // Each dot a black pixel, each other a white one.
  void putDots(int x, int y, const DotPage& dots, uint32_t columns);

  // One line with its baseline at `y` and letters of `size` pixels.
  void text(double x, double y, double size, const std::string& text,
            TextSide side = TextSide::left, bool bold = false);

  // The text in lines that are no wider than `room`, as far as its words let them be.
  std::vector<std::string> wrap(const std::string& text, double size, double room,
                                bool bold = false) const;

  // The upper rows of another canvas of the same width.
  void copyRows(const InkCanvas& from, uint32_t rows);

  // All pixels, row by row.
  std::vector<uint8_t> pixels() const;

 private:
  uint8_t* row(uint32_t y) const;

  uint32_t width_;
  uint32_t height_;
  CairoSurface surface_;
};

#endif  // TOOLS_DRAV_TEST_PAGE_INK_CANVAS_H_
