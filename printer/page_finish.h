// SPDX-License-Identifier: Apache-2.0
// The third step of a page: negative, inverting and frame on rows of dots.
#ifndef PRINTER_PAGE_FINISH_H_
#define PRINTER_PAGE_FINISH_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "printer/anti_wrinkle.h"
#include "printer/page_halftone.h"
#include "printer/page_settings.h"

struct cups_page_header2_s;

// Rows [begin, end) of a page.
struct RowRange {
  uint32_t begin = 0;
  uint32_t end = 0;
  uint32_t size() const { return end - begin; }
};

// Takes the halftone's rows and hands the finished ones on, in the same order.
// Holds one row.
// Writes the log lines of its steps when it is made.
class PageFinish {
 public:
  // Takes row y, of which the first `count` bytes are given and the others 0.
  using Sink = std::function<void(uint32_t y, const uint8_t* row, uint32_t count)>;

  // `dot` is the value of the halftone's dots. `header` may be null.
  PageFinish(const PageSettings& settings, const PagePixels& page, uint8_t dot,
             const cups_page_header2_s* header);

  // Once. Throws what the halftone and the sink throw.
  void run(const PageHalftone& halftone, const Sink& sink);

  // Rows with dots, and those between them, before inverting; none on a page
  // without dots. Measured for trimming and inverting alone.
  const RowRange& ink() const { return ink_; }
  bool isFramed() const { return frame_.has_value(); }

 private:
  void add(uint32_t y, const uint8_t* dots);
  void layFrame(const PageSettings& settings, const PagePixels& page,
                const cups_page_header2_s* header);
  bool noteInk(uint32_t y);
  void invert(uint8_t* row) const;
  void handOn(uint32_t y, std::vector<uint8_t>& row);
  void handOnWaiting(uint32_t end, bool inverted);

  const uint32_t width_;
  const uint32_t height_;
  const uint32_t printedColumns_;  // padding may be among them
  const uint8_t dot_;
  const bool negative_;
  const bool inverting_;
  const bool measuring_;
  Sink sink_;
  std::optional<FrameGeometry> frame_;
  std::vector<uint8_t> row_;  // a whole row of the page's image, padding included
  RowRange ink_;
  uint32_t waiting_ = 0;  // blank rows that wait for the page's first dot
};

#endif  // PRINTER_PAGE_FINISH_H_
