// SPDX-License-Identifier: Apache-2.0
// What is printed around the art on sheets that belong together.
#ifndef TOOLS_DRAV_PREPARE_SHEET_MARKS_H_
#define TOOLS_DRAV_PREPARE_SHEET_MARKS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "documents/page_request.h"
#include "proof/art_layout.h"

// A small picture on a sheet.
struct Stamp {
  uint32_t left = 0;
  uint32_t top = 0;
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> ink;  // row by row, 255 black
};

// Middles of the register marks of a sheet, whose art takes `part`. A mark stands in the
// middle of each overlap, at both of its ends; two sheets that overlap have it at the same
// place of the art.
struct MarkPlace {
  uint32_t x = 0;
  uint32_t y = 0;
};
std::vector<MarkPlace> markPlaces(const SheetPlan& plan, uint32_t sheet, const Area& part,
                                  const documents::Paper& paper);

// The marks and the caption: a plan of the sheets with this one filled, and `text`. None for
// a single sheet. May throw std::bad_alloc.
std::vector<Stamp> sheetStamps(const SheetPlan& plan, uint32_t sheet, const Area& part,
                               const documents::Paper& paper, const std::string& text);

#endif  // TOOLS_DRAV_PREPARE_SHEET_MARKS_H_
