// SPDX-License-Identifier: Apache-2.0
// Draws lines of plain text in a font of even width, in black and white alone.
#ifndef DOCUMENTS_READER_TEXT_PAGE_H_
#define DOCUMENTS_READER_TEXT_PAGE_H_

#include <cairo.h>
#include <pango/pango.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include "documents/page_request.h"
#include "documents/reader/text_lines.h"
#include "documents/text_layout.h"

namespace documents {

class TextPage {
 public:
  explicit TextPage(const Paper& paper);

  size_t columns() const { return layout_.columns; }
  // Lines that fit on the longest page, at least one.
  size_t mostLines() const;
  // Of a page with so many lines.
  uint32_t height(size_t lines) const;

  // Calls `write` with each row of the page in turn: 0 black, 255 white.
  void draw(std::span<const TextLine> lines,
            const std::function<void(std::span<const uint8_t>)>& write);

 private:
  struct Release {
    void operator()(PangoContext* one) const { g_object_unref(one); }
    void operator()(PangoLayout* one) const { g_object_unref(one); }
    void operator()(PangoFontDescription* one) const { pango_font_description_free(one); }
    void operator()(cairo_surface_t* one) const { cairo_surface_destroy(one); }
    void operator()(cairo_t* one) const { cairo_destroy(one); }
  };
  template <typename Type>
  using Owned = std::unique_ptr<Type, Release>;

  void chooseFont();
  void drawLine(const TextLine& line);
  double widthOf(const char* text);  // dots

  Paper paper_;
  TextLayout layout_;
  double upright_;                  // a dot's width by its height
  Owned<cairo_surface_t> surface_;  // one line
  Owned<cairo_t> cairo_;
  Owned<PangoContext> context_;
  Owned<PangoLayout> text_;
  uint32_t lineHeight_ = 1;
  double baseline_ = 0;  // in dots as high as wide
};

}  // namespace documents

#endif  // DOCUMENTS_READER_TEXT_PAGE_H_
