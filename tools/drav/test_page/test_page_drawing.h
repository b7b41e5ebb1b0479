// SPDX-License-Identifier: Apache-2.0
// What stands on the test page.
#ifndef TOOLS_DRAV_TEST_PAGE_TEST_PAGE_DRAWING_H_
#define TOOLS_DRAV_TEST_PAGE_TEST_PAGE_DRAWING_H_

#include <memory>
#include <string>

#include "tools/drav/driver/driver_file.h"
#include "tools/drav/io/progress.h"
#include "tools/drav/test_page/ink_canvas.h"

// Draws the page for the driver's width and resolution, from the top:
//  - rulers in millimetres and in dots along the top, in millimetres down the left side;
//  - the right edge: bars that tell by their numbers how far the printer reaches;
//  - a grey wedge in each halftone of the driver, in the dots that the filter makes of it,
//    and one of real grey, which the job's own halftone prints;
//  - black and white lines of 1 to 6 dots, single dots, and grey lines;
//  - a patch that tells whether the print density is right.
// All of it but the grey wedge and the grey lines is pure black and white, so that the
// halftone "None" prints it dot for dot.
//
// `paper` gets the choice of PageSize that the page is for: the job's, or the shortest of
// the same width that holds everything when the job names none. Null with one line in
// `error`.
std::unique_ptr<InkCanvas> drawTestPage(const DriverFile& driver, Progress& progress,
                                        PaperChoice& paper, std::string& error);

#endif  // TOOLS_DRAV_TEST_PAGE_TEST_PAGE_DRAWING_H_
