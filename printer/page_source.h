// SPDX-License-Identifier: Apache-2.0
// The first step of a page: its grey rows, turned and with their tone.
#ifndef PRINTER_PAGE_SOURCE_H_
#define PRINTER_PAGE_SOURCE_H_

#include <cstdint>
#include <vector>

#include "image/row_ops.h"
#include "printer/page_settings.h"

// Rows of the page as it is to be printed. Writes the log lines of its steps when
// it is made.
class PageRowSource {
 public:
  PageRowSource(const PagePixels& page, const PageSettings& settings);

  const PagePixels& page() const { return page_; }
  const LevelTable& tone() const { return tone_; }

  // Row y with the tone applied.
  void read(uint32_t y, uint8_t* row) const;
  // Row y with each level replaced by `table` instead.
  void read(uint32_t y, const LevelTable& table, uint8_t* row) const;

 private:
  const uint8_t* turnedRow(uint32_t y) const;

  PagePixels page_;
  bool toned_;
  bool upsideDown_;
  bool reversed_;
  LevelTable tone_;
};

// The rows as the stencils take them: the picture lies in rows of `stride` bytes
// with blanks behind it, and is cut every `width` bytes. Where the two differ, it
// comes out skewed, and always has.
class RunTogetherRows {
 public:
  // Replaces the picture's levels by `table`.
  RunTogetherRows(const PageRowSource& source, const LevelTable& table, uint8_t blank);

  void read(uint32_t y, uint8_t* row);

 private:
  const PageRowSource& source_;
  const LevelTable table_;
  std::vector<uint8_t> held_;  // row heldRow_ of `stride` bytes
  uint64_t heldRow_ = UINT64_MAX;
};

#endif  // PRINTER_PAGE_SOURCE_H_
