// SPDX-License-Identifier: Apache-2.0
#include "documents/reader/text_page.h"

#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace documents {
namespace {

// The first is what the package asks for; fontconfig finds another of even width.
constexpr const char* kFont = "DejaVu Sans Mono, monospace";
constexpr double kTrialSize = 1000;
constexpr double kMostHigh = 10'000;  // dots of a line
constexpr uint8_t kWhite = 255;

}  // namespace

TextPage::TextPage(const Paper& paper)
    : paper_(paper),
      layout_(layOutText(paper)),
      upright_(static_cast<double>(paper.dpiY) / paper.dpiX) {
  // Only to measure with; the height of a line is not known before.
  surface_.reset(cairo_image_surface_create(CAIRO_FORMAT_A8, 1, 1));
  cairo_.reset(cairo_create(surface_.get()));
  chooseFont();
  surface_.reset(cairo_image_surface_create(CAIRO_FORMAT_A8, static_cast<int>(paper_.width),
                                            static_cast<int>(lineHeight_)));
  cairo_.reset(cairo_create(surface_.get()));
}

double TextPage::widthOf(const char* text) {
  pango_layout_set_text(text_.get(), text, -1);
  int width = 0;
  pango_layout_get_size(text_.get(), &width, nullptr);
  return static_cast<double>(width) / PANGO_SCALE;
}

// Letters as wide as a column, and dots that are black or white: a head has no grey, and
// a halftone would fray the edges.
void TextPage::chooseFont() {
  context_.reset(pango_cairo_create_context(cairo_.get()));
  cairo_font_options_t* const options = cairo_font_options_create();
  cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_NONE);
  cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_FULL);
  cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  pango_cairo_context_set_font_options(context_.get(), options);
  cairo_font_options_destroy(options);
  pango_context_set_round_glyph_positions(context_.get(), 0);
  text_.reset(pango_layout_new(context_.get()));
  pango_layout_set_single_paragraph_mode(text_.get(), 1);

  const Owned<PangoFontDescription> font(pango_font_description_from_string(kFont));
  const auto setSize = [&](double dots) {
    pango_font_description_set_absolute_size(font.get(), dots * PANGO_SCALE);
    pango_layout_set_font_description(text_.get(), font.get());
  };
  setSize(kTrialSize);
  const double column = layout_.width / static_cast<double>(layout_.columns);
  const double letter = std::max(widthOf("0123456789") / 10, 1.0);
  setSize(kTrialSize * column / letter);
  const std::unique_ptr<PangoFontMetrics, void (*)(PangoFontMetrics*)> metrics(
      pango_context_get_metrics(context_.get(), font.get(), nullptr), pango_font_metrics_unref);
  const auto dots = [](int units) { return std::ceil(static_cast<double>(units) / PANGO_SCALE); };
  baseline_ = dots(pango_font_metrics_get_ascent(metrics.get()));
  const double letterHeight = baseline_ + dots(pango_font_metrics_get_descent(metrics.get()));
  lineHeight_ =
      static_cast<uint32_t>(std::clamp(std::ceil(letterHeight * upright_), 1.0, kMostHigh));
}

size_t TextPage::mostLines() const {
  const uint32_t room = paper_.height - std::min(paper_.height, layout_.top + layout_.bottom);
  return std::max<size_t>(room / lineHeight_, 1);
}

uint32_t TextPage::height(size_t lines) const {
  if (!paper_.roll) return paper_.height;
  const uint64_t wanted = uint64_t{lines} * lineHeight_ + layout_.top + layout_.bottom;
  return static_cast<uint32_t>(std::clamp<uint64_t>(wanted, 1, paper_.height));
}

void TextPage::drawLine(const TextLine& line) {
  cairo_t* const to = cairo_.get();
  cairo_set_operator(to, CAIRO_OPERATOR_CLEAR);
  cairo_paint(to);
  cairo_set_operator(to, CAIRO_OPERATOR_OVER);
  cairo_set_antialias(to, CAIRO_ANTIALIAS_NONE);
  const double column = layout_.width / static_cast<double>(layout_.columns);
  for (const TextPiece& piece : line) {
    const double room = static_cast<double>(piece.columns) * column;
    const double width = widthOf(piece.text.c_str());
    cairo_save(to);
    cairo_translate(to, layout_.left + static_cast<double>(piece.column) * column,
                    baseline_ * upright_);
    cairo_scale(to, 1, upright_);
    // Another font may be wider: nothing of the line is to be lost for it.
    if (width > room + 1) cairo_scale(to, room / width, 1);
    pango_cairo_show_layout_line(to, pango_layout_get_line_readonly(text_.get(), 0));
    cairo_restore(to);
  }
  cairo_surface_flush(surface_.get());
}

void TextPage::draw(std::span<const TextLine> lines,
                    const std::function<void(std::span<const uint8_t>)>& write) {
  const uint32_t pageHeight = height(lines.size());
  std::vector<uint8_t> row(paper_.width, kWhite);
  uint32_t done = 0;
  for (; done < std::min(layout_.top, pageHeight); ++done) write(row);
  for (const TextLine& line : lines) {
    drawLine(line);
    const uint8_t* const ink = cairo_image_surface_get_data(surface_.get());
    const int stride = cairo_image_surface_get_stride(surface_.get());
    for (uint32_t y = 0; y < lineHeight_ && done < pageHeight; ++y, ++done) {
      const uint8_t* const from = ink + static_cast<ptrdiff_t>(y) * stride;
      std::transform(from, from + row.size(), row.begin(),
                     [](uint8_t level) { return static_cast<uint8_t>(kWhite - level); });
      write(row);
    }
  }
  std::fill(row.begin(), row.end(), kWhite);
  for (; done < pageHeight; ++done) write(row);
}

}  // namespace documents
