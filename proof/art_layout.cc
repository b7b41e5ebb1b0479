// SPDX-License-Identifier: Apache-2.0
#include "proof/art_layout.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "documents/placing.h"

namespace {

using documents::Paper;
using documents::Position;
using documents::PrintScaling;
using documents::Turn;

Turn turnOf(unsigned degreesClockwise) {
  constexpr std::array kTurns = {Turn::kNone, Turn::kRight, Turn::kHalf, Turn::kLeft};
  return kTurns.at(degreesClockwise / 90 % kTurns.size());
}

// Of the dots that `size` leaves of `reach`.
int64_t shareOf(int64_t reach, int64_t size, Position position) {
  const int64_t room = reach - size;
  return std::array<int64_t, 3>{0, room / 2, room}.at(static_cast<size_t>(position));
}

bool fits(const Area& reach, uint32_t width, uint32_t height) {
  return width <= reach.width && height <= reach.height;
}

// How many windows of `size`, `step` apart, cover `length`.
uint32_t windowsOver(uint32_t length, uint32_t size, uint32_t step) {
  return length <= size ? 1 : 1 + (length - size + step - 1) / step;
}

}  // namespace

uint32_t dotsOfMillimetres(double millimetres, uint32_t dotsPerInch) {
  const double dots = std::floor(millimetres * dotsPerInch / documents::kMillimetresPerInch + 0.5);
  return static_cast<uint32_t>(std::clamp(dots, 0.0, documents::kMostDots));
}

Area reachOf(const Paper& paper) {
  return {paper.left, paper.top, paper.width - paper.left - paper.right,
          paper.height - paper.top - paper.bottom};
}

ArtRequest artRequest(const ArtWish& wish, const Paper& paper) {
  ArtRequest request;
  request.box.dpiX = paper.dpiX;
  request.box.dpiY = paper.dpiY;
  request.box.width = documents::kMostWidth;
  request.box.height = documents::kMostHeight;
  request.wish.across = request.wish.along = Position::kStart;
  request.wish.colour = wish.lines && !wish.clean;
  // Only a picture that is to fit the paper may be turned for it.
  const bool mayTurn =
      wish.width == 0 && wish.height == 0 && !wish.crop && !wish.tile && !wish.turn;
  if (!mayTurn) request.wish.turn = turnOf(wish.turn.value_or(0));
  if (wish.width > 0 || wish.height > 0) {
    if (wish.width > 0) request.box.width = std::max(1U, dotsOfMillimetres(wish.width, paper.dpiX));
    if (wish.height > 0)
      request.box.height = std::max(1U, dotsOfMillimetres(wish.height, paper.dpiY));
    request.wish.scaling = PrintScaling::kFit;
    return request;
  }
  if (wish.dpi > 0) request.wish.ppi = documents::Density{wish.dpi, wish.dpi};
  if (wish.crop || wish.tile) {
    request.wish.scaling = PrintScaling::kNone;
    return request;
  }
  const Area reach = reachOf(paper);
  request.box.width = reach.width;
  request.box.height = reach.height;
  request.wish.scaling = PrintScaling::kAutoFit;
  return request;
}

Area cropArea(const ArtWish& wish, const Paper& paper, uint32_t width, uint32_t height) {
  if (!wish.crop) return {0, 0, width, height};
  const auto edge = [](double at, uint32_t dpi, uint32_t most) {
    return std::min(dotsOfMillimetres(at, dpi), most);
  };
  const uint32_t left = edge(wish.crop->x, paper.dpiX, width);
  const uint32_t right = edge(wish.crop->x + wish.crop->width, paper.dpiX, width);
  const uint32_t top = edge(wish.crop->y, paper.dpiY, height);
  const uint32_t bottom = edge(wish.crop->y + wish.crop->height, paper.dpiY, height);
  if (left >= right || top >= bottom) return {};
  return {left, top, right - left, bottom - top};
}

ArtPlace placeArt(const ArtWish& wish, const Paper& paper, uint32_t width, uint32_t height) {
  const Area reach = reachOf(paper);
  ArtPlace place;
  place.x = reach.left + shareOf(reach.width, width, wish.across);
  place.y = reach.top;
  place.pageHeight = paper.height;
  if (paper.roll)
    place.pageHeight = paper.top + std::min(height, reach.height) + paper.bottom;
  else
    place.y += shareOf(reach.height, height, wish.along);
  return place;
}

bool planSheets(const ArtWish& wish, const Paper& paper, uint32_t width, uint32_t height,
                SheetPlan& plan, std::string& error) {
  plan = {};
  plan.window = reachOf(paper);
  if (fits(plan.window, width, height)) return true;
  const uint32_t bandX = dotsOfMillimetres(kMarkBandMm, paper.dpiX);
  const uint32_t bandY = dotsOfMillimetres(kMarkBandMm, paper.dpiY);
  const uint32_t caption = dotsOfMillimetres(kCaptionMm, paper.dpiY);
  plan.overlapX = dotsOfMillimetres(wish.overlap, paper.dpiX);
  plan.overlapY = dotsOfMillimetres(wish.overlap, paper.dpiY);
  // Twice the overlap, so that no place lies on more than two sheets of a row.
  if (plan.window.width <= 2 * (bandX + plan.overlapX) ||
      plan.window.height <= 2 * (bandY + plan.overlapY) + caption) {
    error =
        "the paper is too small for sheets that overlap so much; choose a lower --overlap or "
        "another --paper";
    return false;
  }
  plan.window.left += bandX;
  plan.window.top += bandY;
  plan.window.width -= 2 * bandX;
  plan.window.height -= 2 * bandY + caption;
  plan.stepX = plan.window.width - plan.overlapX;
  plan.stepY = plan.window.height - plan.overlapY;
  plan.columns = windowsOver(width, plan.window.width, plan.stepX);
  plan.rows = windowsOver(height, plan.window.height, plan.stepY);
  if (uint64_t{plan.columns} * plan.rows <= kMostSheets) return true;
  error = "would need " + std::to_string(uint64_t{plan.columns} * plan.rows) + " sheets; at most " +
          std::to_string(kMostSheets) + " are made";
  return false;
}

Area artOnSheet(const SheetPlan& plan, uint32_t sheet, uint32_t width, uint32_t height) {
  const uint32_t left = sheet % plan.columns * plan.stepX;
  const uint32_t top = sheet / plan.columns * plan.stepY;
  return {left, top, std::min(plan.window.width, width - left),
          std::min(plan.window.height, height - top)};
}
