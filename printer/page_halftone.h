// SPDX-License-Identifier: Apache-2.0
// The second step of a page: from grey rows to rows of dots.
#ifndef PRINTER_PAGE_HALFTONE_H_
#define PRINTER_PAGE_HALFTONE_H_

#include <cstdint>

#include "image/halftone_rows.h"
#include "image/halftones.h"
#include "printer/page_source.h"

// Writes the log lines of its step when it is made.
class PageHalftone {
 public:
  PageHalftone(const PageRowSource& source, const PageSettings& settings);

  // A dot of the rows that `run` hands out: 1, or 255 from the stencils.
  uint8_t dot() const { return tattoo_ ? 255 : 1; }

  // Throws std::bad_alloc, and what the sink throws.
  void run(const RowSink& sink) const;

 private:
  void runStencil(const RowSink& sink) const;

  const PageRowSource& source_;
  DitherType type_;
  bool tattoo_;
};

#endif  // PRINTER_PAGE_HALFTONE_H_
