// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/prepare/sheet_marks.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>

#include "documents/placing.h"
#include "tools/drav/draw/cairo_handles.h"

namespace {

constexpr double kMarkMm = 4;  // across, less than the band
constexpr double kRingMm = 2.4;
constexpr double kLineMm = 0.25;
constexpr double kPlanWidthMm = 30;  // at most
constexpr double kPlanGapMm = 2;
constexpr double kTextMm = 2.5;

// A drawing in millimetres.
Stamp drawStamp(const documents::Paper& paper, uint32_t width, uint32_t height,
                const std::function<void(cairo_t*)>& draw) {
  Stamp stamp{0, 0, width, height, {}};
  const CairoSurface surface =
      makeImageSurface(CAIRO_FORMAT_A8, static_cast<int>(width), static_cast<int>(height));
  {
    const CairoContext context = makeContext(surface);
    cairo_scale(context.get(), paper.dpiX / documents::kMillimetresPerInch,
                paper.dpiY / documents::kMillimetresPerInch);
    cairo_set_line_width(context.get(), kLineMm);
    draw(context.get());
  }
  cairo_surface_flush(surface.get());
  const unsigned char* levels = cairo_image_surface_get_data(surface.get());
  const auto stride = static_cast<size_t>(cairo_image_surface_get_stride(surface.get()));
  for (size_t y = 0; y < height; ++y)
    stamp.ink.insert(stamp.ink.end(), levels + y * stride, levels + y * stride + width);
  return stamp;
}

// A ring with a cross through it.
void drawMark(cairo_t* context) {
  const double middle = kMarkMm / 2;
  cairo_move_to(context, 0, middle);
  cairo_line_to(context, kMarkMm, middle);
  cairo_move_to(context, middle, 0);
  cairo_line_to(context, middle, kMarkMm);
  cairo_new_sub_path(context);
  cairo_arc(context, middle, middle, kRingMm / 2, 0, 2 * std::numbers::pi);
  cairo_stroke(context);
}

// The sheets as they lie together, this one filled. Returns the width.
double drawPlan(cairo_t* context, const SheetPlan& plan, uint32_t sheet) {
  const double shape = static_cast<double>(plan.window.width) / plan.window.height;
  const double height = kCaptionMm - 2 * kLineMm;
  const double cellHeight = std::min(height / plan.rows, kPlanWidthMm / (shape * plan.columns));
  const double cellWidth = cellHeight * shape;
  for (uint32_t i = 0; i < plan.sheets(); ++i) {
    const uint32_t column = i % plan.columns;
    const uint32_t row = i / plan.columns;
    cairo_rectangle(context, kLineMm + column * cellWidth, kLineMm + row * cellHeight, cellWidth,
                    cellHeight);
    if (i == sheet) cairo_fill_preserve(context);
    cairo_stroke(context);
  }
  return cellWidth * plan.columns + 2 * kLineMm;
}

void drawCaption(cairo_t* context, const SheetPlan& plan, uint32_t sheet, double width,
                 const std::string& text) {
  const double left = drawPlan(context, plan, sheet) + kPlanGapMm;
  cairo_select_font_face(context, "sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(context, kTextMm);
  cairo_text_extents_t extents = {};
  cairo_text_extents(context, text.c_str(), &extents);
  const double room = std::max(1.0, width - left);
  if (extents.x_advance > room)
    cairo_set_font_size(context, std::max(0.5, kTextMm * room / extents.x_advance));
  cairo_move_to(context, left, (kCaptionMm + kTextMm) / 2);
  cairo_show_text(context, text.c_str());
}

}  // namespace

std::vector<MarkPlace> markPlaces(const SheetPlan& plan, uint32_t sheet, const Area& part,
                                  const documents::Paper& paper) {
  const uint32_t column = sheet % plan.columns;
  const uint32_t row = sheet / plan.columns;
  const uint32_t halfX = dotsOfMillimetres(kMarkBandMm / 2, paper.dpiX);
  const uint32_t halfY = dotsOfMillimetres(kMarkBandMm / 2, paper.dpiY);
  std::vector<MarkPlace> places;
  const auto addColumn = [&](uint32_t x) {
    places.push_back({x, plan.window.top - halfY});
    places.push_back({x, plan.window.top + part.height + halfY});
  };
  const auto addRow = [&](uint32_t y) {
    places.push_back({plan.window.left - halfX, y});
    places.push_back({plan.window.left + part.width + halfX, y});
  };
  if (column > 0) addColumn(plan.window.left + plan.overlapX / 2);
  if (column + 1 < plan.columns) addColumn(plan.window.left + plan.stepX + plan.overlapX / 2);
  if (row > 0) addRow(plan.window.top + plan.overlapY / 2);
  if (row + 1 < plan.rows) addRow(plan.window.top + plan.stepY + plan.overlapY / 2);
  return places;
}

std::vector<Stamp> sheetStamps(const SheetPlan& plan, uint32_t sheet, const Area& part,
                               const documents::Paper& paper, const std::string& text) {
  std::vector<Stamp> stamps;
  if (plan.sheets() == 1) return stamps;
  const Stamp mark = drawStamp(paper, dotsOfMillimetres(kMarkMm, paper.dpiX),
                               dotsOfMillimetres(kMarkMm, paper.dpiY), drawMark);
  for (const MarkPlace& place : markPlaces(plan, sheet, part, paper)) {
    stamps.push_back(mark);
    stamps.back().left = place.x - mark.width / 2;
    stamps.back().top = place.y - mark.height / 2;
  }
  const double perMm = paper.dpiX / documents::kMillimetresPerInch;
  Stamp caption = drawStamp(paper, plan.window.width, dotsOfMillimetres(kCaptionMm, paper.dpiY),
                            [&](cairo_t* context) {
                              drawCaption(context, plan, sheet, plan.window.width / perMm, text);
                            });
  caption.left = plan.window.left;
  caption.top = plan.window.top + part.height + dotsOfMillimetres(kMarkBandMm, paper.dpiY);
  stamps.push_back(std::move(caption));
  return stamps;
}
