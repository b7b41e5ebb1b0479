// SPDX-License-Identifier: Apache-2.0
// The filter itself, run on one page in memory: what comes out are the dots that the
// printer gets, because the same code makes them.
#ifndef TOOLS_DRAV_ENGINE_PAGE_ENGINE_H_
#define TOOLS_DRAV_ENGINE_PAGE_ENGINE_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/drav/document/grey_page.h"
#include "tools/drav/driver/driver_file.h"

// The dots of a page as the printer's head gets them.
struct DotPage {
  uint32_t bytesPerRow = 0;
  uint32_t rows = 0;          // 0 for a page without ink whose blank rows are left out
  uint32_t firstRow = 0;      // the row of the page that prints first
  uint32_t pageRows = 0;      // that the page has; TrimPaper may leave some out
  uint32_t dotsPerInchX = 0;  // as the page says; 0 when it does not
  uint32_t dotsPerInchY = 0;
  std::vector<uint8_t> dots;    // a set bit is a dot; the top bit of a byte is the leftmost
  std::vector<uint32_t> bands;  // rows of each band that was sent, from the top

  uint32_t width() const { return bytesPerRow * 8; }
  bool isDot(uint32_t x, uint32_t y) const {
    return (dots[size_t{y} * bytesPerRow + x / 8] >> (7U - x % 8) & 1U) != 0;
  }
};

// Dots of the page that are set.
uint64_t countDots(const DotPage& page);

// Puts back the blank rows that TrimPaper left out.
void restoreRows(DotPage& page);

// Prints a page any number of times, each time with options of its own. Leaves no
// picture and no command record anywhere, and keeps the filter's log from standard
// error. Sets the variable PPD during a run. Only one run at a time in a process.
class PageEngine {
 public:
  // `driver` is open and must outlive this.
  explicit PageEngine(const DriverFile& driver) : driver_(driver) {}
  ~PageEngine();
  PageEngine(const PageEngine&) = delete;
  PageEngine& operator=(const PageEngine&) = delete;
  PageEngine(PageEngine&&) = delete;
  PageEngine& operator=(PageEngine&&) = delete;

  // Takes the page that the next runs print. False with one line in `error`.
  [[nodiscard]] bool load(const GreyPage& page, std::string& error);

  // Prints the page with the job's options; those in `options` ("NAME=VALUE ...")
  // override them. False with one line in `error`, the filter's own if it wrote one;
  // also false when an Interruption was requested. REQUIRES: a page was loaded.
  [[nodiscard]] bool print(const std::string& options, DotPage& dots, std::string& error);

  // Whether the filter left out a frame, in any run since the page was loaded.
  bool leftOutFrame() const { return leftOutFrame_; }

 private:
  [[nodiscard]] bool takeResult(std::span<const uint8_t> stream, std::string_view log,
                                DotPage& dots, std::string& error);

  const DriverFile& driver_;
  int raster_ = -1;  // the page as a CUPS raster stream
  cups_page_header2_t header_ = {};
  bool leftOutFrame_ = false;
};

#endif  // TOOLS_DRAV_ENGINE_PAGE_ENGINE_H_
