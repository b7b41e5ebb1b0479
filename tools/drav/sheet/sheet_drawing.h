// SPDX-License-Identifier: Apache-2.0
// How a contact sheet looks.
#ifndef TOOLS_DRAV_SHEET_SHEET_DRAWING_H_
#define TOOLS_DRAV_SHEET_SHEET_DRAWING_H_

#include <cairo.h>

#include <cstdint>
#include <string>
#include <vector>

#include "common/lost_ink.h"
#include "tools/drav/sheet/busiest_part.h"

// Levels from 0 black to 255 white.
struct SheetImage {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> levels;
};

struct SheetCell {
  std::string label;   // what runs
  std::string detail;  // how to get it, and what it comes to
  bool current = false;
  SheetImage overview;
  SheetImage crop;  // each pixel a dot
};

struct SheetPage {
  std::string name;                 // "halftones"; part of a file name
  std::vector<std::string> titles;  // the first is the largest
  bool warns = false;               // the last title is a warning
  std::vector<SheetCell> cells;     // all overviews of one size, all crops of one size
  uint32_t pageWidth = 0;           // of the printed page, in dots
  uint32_t pageHeight = 0;
  DotRectangle crop;
  std::vector<LostInk> lost;  // hatched beside the overviews
};

struct SheetSize {
  int width = 0;
  int height = 0;
};

// The crop's size in dots, and the box that the overview must fit.
inline constexpr uint32_t kSheetCropWidth = 520;
inline constexpr uint32_t kSheetCropHeight = 390;
inline constexpr uint32_t kSheetOverviewWidth = 300;
inline constexpr uint32_t kSheetOverviewHeight = 390;

// Size of the drawing in units; a unit is a dot of the crops.
SheetSize sheetSize(const SheetPage& page);

// Draws it at the origin of `context`, over whatever is there.
void drawSheet(cairo_t* context, const SheetPage& page);

#endif  // TOOLS_DRAV_SHEET_SHEET_DRAWING_H_
