// SPDX-License-Identifier: Apache-2.0
// drav sheet: one page with every choice of an option, side by side.
#ifndef TOOLS_DRAV_SHEET_SHEET_H_
#define TOOLS_DRAV_SHEET_SHEET_H_

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/drav/engine/page_run.h"

struct SheetRequest {
  PageRequest pages;  // page 0 means the first
  std::string out;    // ".png" or ".pdf"; empty: made from the input's name
  std::vector<std::string> options = {"HalftoneType", "Brightness"};  // a sheet for each
  // Top left corner of the part that is shown dot by dot, in millimetres; if it is not
  // given, the part with the most detail is shown.
  std::optional<std::pair<double, double>> detail;
};

// Prints the page once for each choice that the driver has, in the driver's order and
// under its labels, which name the method that runs. Draws each result twice: the whole
// page reduced, every pixel the mean of the dots below it, and a part of it dot by dot. A
// PDF has a page for each option. As PNG the first option's sheet is `out` itself, the
// others are "out-brightness.png" and so on. `written` gets their names. False with one line in
// `error`; no file is then new or changed.
[[nodiscard]] bool makeSheets(const SheetRequest& request, std::vector<std::string>& written,
                              PageFacts& facts, std::string& error);

#endif  // TOOLS_DRAV_SHEET_SHEET_H_
