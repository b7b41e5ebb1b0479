// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/sheet/sheet_drawing.h"

#include <algorithm>

#include "tools/drav/draw/cairo_handles.h"

namespace {

constexpr int kColumns = 2;
constexpr int kMargin = 40;
constexpr int kGap = 36;        // between cells
constexpr int kInnerGap = 14;   // between overview and crop
constexpr int kLabelRoom = 58;  // two lines above the pictures
constexpr double kTitleSize = 30;
constexpr double kTextSize = 19;
constexpr double kLabelSize = 21;
constexpr double kDetailSize = 17;
constexpr double kHatchWidth = 9;
constexpr double kHatchStep = 5;  // between its lines

struct Color {
  double red;
  double green;
  double blue;
};
constexpr Color kInk = {0.1, 0.1, 0.12};
constexpr Color kQuiet = {0.38, 0.38, 0.42};
constexpr Color kAccent = {0.75, 0.1, 0.15};

void setColor(cairo_t* context, const Color& color) {
  cairo_set_source_rgb(context, color.red, color.green, color.blue);
}

// One line with its baseline at `y`, made smaller when it is wider than `room`.
void drawText(cairo_t* context, double x, double y, double size, double room, bool bold,
              const std::string& text) {
  cairo_select_font_face(context, "sans", CAIRO_FONT_SLANT_NORMAL,
                         bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(context, size);
  cairo_text_extents_t extents = {};
  cairo_text_extents(context, text.c_str(), &extents);
  if (extents.x_advance > room) cairo_set_font_size(context, size * room / extents.x_advance);
  cairo_move_to(context, x, y);
  cairo_show_text(context, text.c_str());
}

CairoSurface surfaceOf(const SheetImage& image) {
  CairoSurface surface = makeImageSurface(CAIRO_FORMAT_RGB24, static_cast<int>(image.width),
                                          static_cast<int>(image.height));
  unsigned char* bytes = cairo_image_surface_get_data(surface.get());
  const int stride = cairo_image_surface_get_stride(surface.get());
  for (uint32_t y = 0; y < image.height; ++y) {
    auto* row = reinterpret_cast<uint32_t*>(bytes + static_cast<size_t>(stride) * y);
    for (uint32_t x = 0; x < image.width; ++x)
      row[x] = image.levels[size_t{y} * image.width + x] * 0x010101U;
  }
  cairo_surface_mark_dirty(surface.get());
  return surface;
}

// Pixel for pixel, with a hairline around it.
void drawImage(cairo_t* context, double x, double y, const SheetImage& image) {
  const CairoSurface surface = surfaceOf(image);
  cairo_set_source_surface(context, surface.get(), x, y);
  cairo_pattern_set_filter(cairo_get_source(context), CAIRO_FILTER_NEAREST);
  cairo_rectangle(context, x, y, image.width, image.height);
  cairo_fill(context);
  setColor(context, kQuiet);
  cairo_set_line_width(context, 1);
  cairo_rectangle(context, x - 0.5, y - 0.5, image.width + 1.0, image.height + 1.0);
  cairo_stroke(context);
}

int cellWidth(const SheetPage& page) {
  const SheetCell& cell = page.cells.front();
  return static_cast<int>(cell.overview.width + cell.crop.width) + kInnerGap;
}

int cellHeight(const SheetPage& page) {
  const SheetCell& cell = page.cells.front();
  return static_cast<int>(std::max(cell.overview.height, cell.crop.height)) + kLabelRoom;
}

int titleRoom(const SheetPage& page) {
  return static_cast<int>(kTitleSize * 1.5 +
                          kTextSize * 1.5 * static_cast<double>(page.titles.size() - 1)) +
         kGap / 2;
}

// Where the crop lies in the overview.
void drawMark(cairo_t* context, double x, double y, const SheetImage& overview,
              const SheetPage& page) {
  const double acrossX = static_cast<double>(overview.width) / page.pageWidth;
  const double acrossY = static_cast<double>(overview.height) / page.pageHeight;
  setColor(context, kAccent);
  cairo_set_line_width(context, 1.5);
  cairo_rectangle(context, x + page.crop.x * acrossX, y + page.crop.y * acrossY,
                  page.crop.width * acrossX, page.crop.height * acrossY);
  cairo_stroke(context);
}

// Slanted lines beside the overview, where ink is lost.
void drawHatch(cairo_t* context, double x, double y, const SheetImage& overview,
               const SheetPage& page, const LostInk& lost) {
  const bool isAcross = lost.side == Side::left || lost.side == Side::right;
  const double along = isAcross ? static_cast<double>(overview.height) / page.pageHeight
                                : static_cast<double>(overview.width) / page.pageWidth;
  const double from = lost.from * along;
  const double length = std::max(kHatchWidth, (lost.to - lost.from) * along);
  double left = x + from;
  double top = y + from;
  if (lost.side == Side::left) left = x - kHatchWidth;
  if (lost.side == Side::right) left = x + overview.width;
  if (lost.side == Side::top) top = y - kHatchWidth;
  if (lost.side == Side::bottom) top = y + overview.height;
  cairo_save(context);
  cairo_rectangle(context, left, top, isAcross ? kHatchWidth : length,
                  isAcross ? length : kHatchWidth);
  cairo_clip(context);
  setColor(context, kAccent);
  cairo_set_line_width(context, 1.5);
  const auto lines = static_cast<int>((length + kHatchWidth) / kHatchStep) + 1;
  for (int line = 0; line < lines; ++line) {
    const double at = line * kHatchStep;
    cairo_move_to(context, left + (isAcross ? 0 : at), top + (isAcross ? at : 0));
    cairo_rel_line_to(context, isAcross ? kHatchWidth : -kHatchWidth,
                      isAcross ? -kHatchWidth : kHatchWidth);
  }
  cairo_stroke(context);
  cairo_restore(context);
}

void drawCell(cairo_t* context, int x, int y, const SheetPage& page, const SheetCell& cell) {
  const int room = cellWidth(page);
  setColor(context, kInk);
  drawText(context, x, y + 20, kLabelSize, room, true, cell.label);
  setColor(context, cell.current ? kAccent : kQuiet);
  drawText(context, x, y + 44, kDetailSize, room, false,
           cell.detail + (cell.current ? ", this job's choice" : ""));
  const int top = y + kLabelRoom;
  drawImage(context, x, top, cell.overview);
  drawMark(context, x, top, cell.overview, page);
  for (const LostInk& lost : page.lost) drawHatch(context, x, top, cell.overview, page, lost);
  drawImage(context, x + static_cast<int>(cell.overview.width) + kInnerGap, top, cell.crop);
}

void drawTitles(cairo_t* context, const SheetPage& page, double room) {
  double baseline = kMargin + kTitleSize;
  setColor(context, kInk);
  for (size_t i = 0; i < page.titles.size(); ++i) {
    if (page.warns && i + 1 == page.titles.size()) setColor(context, kAccent);
    drawText(context, kMargin, baseline, i == 0 ? kTitleSize : kTextSize, room, i == 0,
             page.titles[i]);
    baseline += kTextSize * 1.5 + (i == 0 ? 4 : 0);
    setColor(context, kQuiet);
  }
}

}  // namespace

SheetSize sheetSize(const SheetPage& page) {
  const int rows = (static_cast<int>(page.cells.size()) + kColumns - 1) / kColumns;
  return {2 * kMargin + kColumns * cellWidth(page) + (kColumns - 1) * kGap,
          2 * kMargin + titleRoom(page) + rows * cellHeight(page) + (rows - 1) * kGap};
}

void drawSheet(cairo_t* context, const SheetPage& page) {
  const SheetSize size = sheetSize(page);
  cairo_set_source_rgb(context, 1, 1, 1);
  cairo_paint(context);
  drawTitles(context, page, size.width - 2 * kMargin);
  for (size_t i = 0; i < page.cells.size(); ++i) {
    const int column = static_cast<int>(i) % kColumns;
    const int row = static_cast<int>(i) / kColumns;
    drawCell(context, kMargin + column * (cellWidth(page) + kGap),
             kMargin + titleRoom(page) + row * (cellHeight(page) + kGap), page, page.cells[i]);
  }
}
