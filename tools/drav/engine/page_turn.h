// SPDX-License-Identifier: Apache-2.0
// Which way a page lies on the paper, and what the paper lacks of it.
#ifndef TOOLS_DRAV_ENGINE_PAGE_TURN_H_
#define TOOLS_DRAV_ENGINE_PAGE_TURN_H_

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "common/lost_ink.h"
#include "tools/drav/document/grey_page.h"
#include "tools/drav/driver/driver_file.h"

struct PageTurn {
  bool mirrored = false;  // StencilMirror
  bool halfTurn = false;  // HalfTurn

  // Whether left and right change places.
  bool isReversed() const { return mirrored != halfTurn; }
  bool operator==(const PageTurn&) const = default;
};

// Options of a page's look, and the choices with which they change no dot.
inline constexpr std::array<std::pair<const char*, const char*>, 6> kNeutralChoices = {
    {{"StencilMirror", "False"},
     {"HalfTurn", "False"},
     {"InvertPage", "False"},
     {"Contrast", "0"},
     {"PaperFrame", "0"},
     {"TrimPaper", "None"}}};

// As the job asks for it.
PageTurn turnOf(const DriverFile& driver);

// The page as it lies on the paper. REQUIRES: the filter takes it: a byte a pixel.
GreyPage turnedPage(const GreyPage& page, const PageTurn& turn);

// Ink of the page that does not reach the paper: beyond the page, then beyond the head. The
// sides are those of the drawing, before the filter turns it.
std::vector<LostInk> lostInkOf(const GreyPage& page, const DriverFile& driver);

// The same side as the drawing lies on the paper.
LostInk onPaper(LostInk lost, const cups_page_header2_t& header, const PageTurn& turn);

// What the user should know of this page with the job's options, one line each.
std::vector<std::string> pageNotes(const GreyPage& page, const DriverFile& driver);

#endif  // TOOLS_DRAV_ENGINE_PAGE_TURN_H_
