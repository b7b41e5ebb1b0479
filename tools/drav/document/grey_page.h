// SPDX-License-Identifier: Apache-2.0
// A page as it reaches the filter, and where pages come from.
#ifndef TOOLS_DRAV_DOCUMENT_GREY_PAGE_H_
#define TOOLS_DRAV_DOCUMENT_GREY_PAGE_H_

#include <cups/raster.h>

#include <cstdint>
#include <string>
#include <vector>

#include "common/lost_ink.h"

// No page of a raster file may have more bytes: 4.5 m of A4-wide paper at 300 dpi.
inline constexpr uint64_t kMaxPageBytes = uint64_t{1} << 27U;

// One page of CUPS raster. As documents come it is 8-bit K: a byte a pixel, 0 for no
// ink. A raster file may hold anything that libcups reads.
struct GreyPage {
  cups_page_header2_t header = {};
  std::vector<uint8_t> pixels;     // header.cupsHeight rows of header.cupsBytesPerLine
  std::vector<std::string> notes;  // what the user should know, one line each
  std::vector<LostInk> lost;       // beyond the page
  bool lostIsAll = false;          // `lost` has what lies beyond the head, too
};

// Hands out pages in order.
class PageSource {
 public:
  enum class Step {
    page,    // here it is
    end,     // there are no more
    failed,  // one line in `error`
  };

  PageSource() = default;
  virtual ~PageSource() = default;
  PageSource(const PageSource&) = delete;
  PageSource& operator=(const PageSource&) = delete;
  PageSource(PageSource&&) = delete;
  PageSource& operator=(PageSource&&) = delete;

  // `error` does not name the document.
  virtual Step next(GreyPage& page, std::string& error) = 0;

  // How much of the document has been used, from 0 to 1; below 0 when nobody knows.
  virtual double share() const { return -1; }
};

#endif  // TOOLS_DRAV_DOCUMENT_GREY_PAGE_H_
