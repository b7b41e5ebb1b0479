// SPDX-License-Identifier: Apache-2.0
// The filter itself, run on one page in memory: what comes out are the dots that the
// printer gets, because the same code makes them.
#ifndef TOOLS_DRAV_ENGINE_PAGE_ENGINE_H_
#define TOOLS_DRAV_ENGINE_PAGE_ENGINE_H_

#include <string>

#include "proof/dot_page.h"
#include "tools/drav/document/grey_page.h"
#include "tools/drav/driver/driver_file.h"

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
  const DriverFile& driver_;
  int raster_ = -1;  // the page as a CUPS raster stream
  cups_page_header2_t header_ = {};
  bool leftOutFrame_ = false;
};

#endif  // TOOLS_DRAV_ENGINE_PAGE_ENGINE_H_
