// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/draw/text_strip.h"

#include <algorithm>
#include <cmath>

#include "tools/drav/draw/cairo_handles.h"

namespace {

constexpr double kLineHeight = 1.4;  // of the letters' size
constexpr double kSmallest = 6;

// Size at which the text is as wide as it may be, and no larger than wanted.
double fittingSize(cairo_t* context, const std::string& text, double width, double wanted) {
  cairo_set_font_size(context, wanted);
  cairo_text_extents_t extents = {};
  cairo_text_extents(context, text.c_str(), &extents);
  const double size = extents.x_advance > width ? wanted * width / extents.x_advance : wanted;
  return std::max(kSmallest, size);
}

void prepare(cairo_t* context) {
  cairo_select_font_face(context, "sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_BOLD);
  cairo_font_options_t* options = cairo_font_options_create();
  cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  cairo_set_font_options(context, options);
  cairo_font_options_destroy(options);
}

}  // namespace

TextStrip makeTextStrip(const std::vector<std::string>& lines, uint32_t width, double textHeight) {
  const auto columns = static_cast<int>(width);
  const double margin = textHeight / 2;
  std::vector<double> sizes;
  {
    const CairoSurface probe = makeImageSurface(CAIRO_FORMAT_A8, 1, 1);
    const CairoContext context = makeContext(probe);
    prepare(context.get());
    for (const std::string& line : lines)
      sizes.push_back(
          fittingSize(context.get(), line, std::max(1.0, columns - 2 * margin), textHeight));
  }
  double height = margin;
  for (const double size : sizes) height += size * kLineHeight;
  const int rows = static_cast<int>(std::ceil(height));

  const CairoSurface surface = makeImageSurface(CAIRO_FORMAT_A8, columns, rows);
  {
    const CairoContext context = makeContext(surface);
    prepare(context.get());
    double baseline = margin / 2;
    for (size_t i = 0; i < lines.size(); ++i) {
      baseline += sizes[i] * kLineHeight;
      cairo_set_font_size(context.get(), sizes[i]);
      cairo_move_to(context.get(), margin, baseline - sizes[i] * (kLineHeight - 1));
      cairo_show_text(context.get(), lines[i].c_str());
    }
  }
  cairo_surface_flush(surface.get());

  TextStrip strip{static_cast<uint32_t>(rows), (width + 7) / 8, {}};
  strip.dots.assign(size_t{strip.rows} * strip.bytesPerRow, 0);
  const unsigned char* levels = cairo_image_surface_get_data(surface.get());
  const int stride = cairo_image_surface_get_stride(surface.get());
  for (uint32_t y = 0; y < strip.rows; ++y)
    for (uint32_t x = 0; x < width; ++x)
      if (levels[static_cast<size_t>(stride) * y + x] < 128)
        strip.dots[size_t{y} * strip.bytesPerRow + x / 8] |= static_cast<uint8_t>(0x80U >> x % 8);
  return strip;
}
