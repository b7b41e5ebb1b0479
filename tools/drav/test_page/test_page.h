// SPDX-License-Identifier: Apache-2.0
// drav test-page: a page to set a printer up by.
#ifndef TOOLS_DRAV_TEST_PAGE_TEST_PAGE_H_
#define TOOLS_DRAV_TEST_PAGE_TEST_PAGE_H_

#include <string>

#include "tools/drav/driver/driver_file.h"

struct TestPageRequest {
  JobChoice job;
  std::string out = "drav-test-page.pdf";  // ".pdf", or ".ras" for CUPS raster
  bool quiet = false;
};

struct TestPageFacts {
  PaperChoice paper;
  uint32_t width = 0;  // dots
  uint32_t height = 0;
  std::vector<std::string> notes;  // what the user should know, one line each
};

// Writes the page that drawTestPage() draws. False with one line in `error`; no file is
// then new or changed.
[[nodiscard]] bool makeTestPage(const TestPageRequest& request, TestPageFacts& facts,
                                std::string& error);

#endif  // TOOLS_DRAV_TEST_PAGE_TEST_PAGE_H_
