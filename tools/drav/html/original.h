// SPDX-License-Identifier: Apache-2.0
// The page before the filter, as people see it.
#ifndef TOOLS_DRAV_HTML_ORIGINAL_H_
#define TOOLS_DRAV_HTML_ORIGINAL_H_

#include <cstdint>
#include <string>

#include "tools/drav/document/grey_page.h"

struct Original {
  uint32_t width = 0;  // pixels of the page
  uint32_t height = 0;
  uint32_t shrink = 1;  // the picture is smaller by this factor, each pixel a mean
  std::string data;     // a PNG of 8-bit grey as a "data:" address
};

// The longest address of an original. If a page's picture is longer, it is shrunk to a
// half, a quarter and so on, until it fits.
inline constexpr size_t kMostOriginalBytes = 3'000'000;

// False with one line in `error`. REQUIRES: the filter takes the page: a byte a pixel.
[[nodiscard]] bool makeOriginal(const GreyPage& page, Original& original, std::string& error);

#endif  // TOOLS_DRAV_HTML_ORIGINAL_H_
