// SPDX-License-Identifier: Apache-2.0
// Writes drawings as files.
#ifndef TOOLS_DRAV_DRAW_DRAWING_FILE_H_
#define TOOLS_DRAV_DRAW_DRAWING_FILE_H_

#include <cairo.h>

#include <functional>
#include <string>
#include <vector>

#include "tools/drav/io/output_file.h"

// A drawing of `width` x `height` units.
struct Drawing {
  int width = 0;
  int height = 0;
  std::function<void(cairo_t*)> draw;
};

// Both write the whole file and leave it to be committed. False with one line in
// `error`. May throw std::bad_alloc.

// One pixel a unit, on white.
[[nodiscard]] bool writePngDrawing(OutputFile& file, const std::string& path,
                                   const Drawing& drawing, std::string& error);

// A page each, `pointsPerUnit` / 72 inch a unit.
[[nodiscard]] bool writePdfDrawings(OutputFile& file, const std::string& path,
                                    const std::vector<Drawing>& pages, double pointsPerUnit,
                                    const std::string& title, std::string& error);

#endif  // TOOLS_DRAV_DRAW_DRAWING_FILE_H_
