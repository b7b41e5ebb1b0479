// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/test_page/ink_canvas.h"

#include <algorithm>
#include <sstream>

namespace {

// Letters of pure black, as wide at every size as their outlines say.
void setFont(cairo_t* context, double size, bool bold) {
  cairo_font_options_t* options = cairo_font_options_create();
  cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_NONE);
  cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
  cairo_set_font_options(context, options);
  cairo_font_options_destroy(options);
  cairo_select_font_face(context, "sans", CAIRO_FONT_SLANT_NORMAL,
                         bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(context, size);
}

double advance(cairo_t* context, const std::string& text) {
  cairo_text_extents_t extents = {};
  cairo_text_extents(context, text.c_str(), &extents);
  return extents.x_advance;
}

}  // namespace

InkCanvas::InkCanvas(uint32_t width, uint32_t height)
    : width_(width),
      height_(height),
      surface_(
          makeImageSurface(CAIRO_FORMAT_A8, static_cast<int>(width), static_cast<int>(height))) {}

uint8_t* InkCanvas::row(uint32_t y) const {
  const auto stride = static_cast<size_t>(cairo_image_surface_get_stride(surface_.get()));
  return cairo_image_surface_get_data(surface_.get()) + stride * y;
}

void InkCanvas::fill(int x, int y, int width, int height, uint8_t ink) {
  const int left = std::max(0, x);
  const int right = std::min(static_cast<int>(width_), x + width);
  const int bottom = std::min(static_cast<int>(height_), y + height);
  for (int line = std::max(0, y); line < bottom && left < right; ++line)
    std::fill(row(static_cast<uint32_t>(line)) + left, row(static_cast<uint32_t>(line)) + right,
              ink);
  cairo_surface_mark_dirty(surface_.get());
}

uint8_t InkCanvas::pixel(uint32_t x, uint32_t y) const { return row(y)[x]; }

void InkCanvas::putDots(int x, int y, const DotPage& dots, uint32_t columns) {
  for (uint32_t line = 0; line < dots.rows; ++line)
    for (uint32_t column = 0; column < std::min(columns, dots.width()); ++column)
      setPixel(x + static_cast<int>(column), y + static_cast<int>(line),
               dots.isDot(column, line) ? 255 : 0);
}

void InkCanvas::text(double x, double y, double size, const std::string& text, TextSide side,
                     bool bold) {
  const CairoContext context = makeContext(surface_);
  setFont(context.get(), size, bold);
  if (side == TextSide::middle) x -= advance(context.get(), text) / 2;
  if (side == TextSide::right) x -= advance(context.get(), text);
  cairo_move_to(context.get(), x, y);
  cairo_show_text(context.get(), text.c_str());
  cairo_surface_flush(surface_.get());
}

std::vector<std::string> InkCanvas::wrap(const std::string& text, double size, double room,
                                         bool bold) const {
  const CairoContext context = makeContext(surface_);
  setFont(context.get(), size, bold);
  std::vector<std::string> lines = {""};
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    const std::string longer = lines.back().empty() ? word : lines.back() + " " + word;
    if (lines.back().empty() || advance(context.get(), longer) <= room)
      lines.back() = longer;
    else
      lines.push_back(word);
  }
  return lines;
}

void InkCanvas::copyRows(const InkCanvas& from, uint32_t rows) {
  for (uint32_t y = 0; y < std::min({rows, height_, from.height_}); ++y)
    std::copy_n(from.row(y), std::min(width_, from.width_), row(y));
  cairo_surface_mark_dirty(surface_.get());
}

std::vector<uint8_t> InkCanvas::pixels() const {
  std::vector<uint8_t> all;
  all.reserve(size_t{width_} * height_);
  for (uint32_t y = 0; y < height_; ++y) all.insert(all.end(), row(y), row(y) + width_);
  return all;
}
