// SPDX-License-Identifier: Apache-2.0
// How much of a picture's ink lies where the head does not reach.
#ifndef TOOLS_DRAV_PREPARE_LOST_INK_H_
#define TOOLS_DRAV_PREPARE_LOST_INK_H_

#include <string>
#include <vector>

#include "documents/page_request.h"
#include "tools/drav/prepare/art_layout.h"
#include "tools/drav/prepare/art_picture.h"

// A line for each side at which ink is lost, such as
// "ink lost at the right: 6.8 mm, 1.3 % of the ink": how far beyond the reach the last ink
// lies, and its share of all. What lies beyond two sides counts as left or right.
std::vector<std::string> lostInk(const ArtPicture& art, const ArtPlace& place,
                                 const documents::Paper& paper);

// "6.8", rounded; not by printf, which writes a decimal comma in some locales. REQUIRES: at
// least 0.
std::string tenthsText(double value);

#endif  // TOOLS_DRAV_PREPARE_LOST_INK_H_
