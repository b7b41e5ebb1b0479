// SPDX-License-Identifier: Apache-2.0
// The jobs of the digest table: which page is printed with which options. The
// program that makes the table and the one that compares with it share this
// list, so that a table with lines missing is noticed.
#ifndef TESTS_GOLDEN_DIGEST_CASES_H_
#define TESTS_GOLDEN_DIGEST_CASES_H_

#include <cstdint>
#include <string>
#include <vector>

#include "tests/model/stream.h"

struct DigestCase {
  // A name of tests/model/page_patterns.h; "levels:LEVELxCOUNT,...", so many pixels
  // of each level in turn; or "islands", squares of dots far from each other.
  std::string pattern;
  int width = 0;
  int height = 0;
  uint64_t seed = 0;
  uint32_t bytesPerLine = 0;  // `width` or more
  std::string halftone;       // the name of its choice
  int brightness = 0;
  std::string maxMediaWidth;  // points, as in a PPD file; "-" for a file without it

  bool operator==(const DigestCase&) const = default;
  // Whether both print the same raster page.
  bool samePage(const DigestCase& other) const;
};

// In the table's order; jobs of one page follow each other.
const std::vector<DigestCase>& digestCases();

model::RasterPage digestPage(const DigestCase& job);
model::JobSettings digestSettings(const DigestCase& job);

#endif  // TESTS_GOLDEN_DIGEST_CASES_H_
