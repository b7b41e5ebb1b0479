// SPDX-License-Identifier: Apache-2.0
// The table of digests as text: one job a line, columns separated by tabs.
#ifndef TESTS_GOLDEN_DIGEST_TABLE_H_
#define TESTS_GOLDEN_DIGEST_TABLE_H_

#include <cstdint>
#include <string>
#include <vector>

#include "tests/golden/digest_cases.h"

// FNV-1a, 64 bits (G. Fowler, L. C. Noll and K.-P. Vo).
uint64_t fnv1a64(const std::vector<uint8_t>& bytes);

// What one job leaves behind.
struct JobDigests {
  uint64_t printed = 0;   // standard output
  uint64_t origin = 0;    // the picture of the page as it came
  uint64_t dithered = 0;  // the picture of its dots

  bool operator==(const JobDigests&) const = default;
};

struct DigestRow {
  DigestCase job;
  JobDigests digests;
};

// The table's first lines, which say what it is; each begins with "#".
std::string digestTableHead();
// Without a line end.
std::string digestRowText(const DigestRow& row);

// Reads a table. False, with the reason in `error`, when it cannot be read, when a
// line is not of its form, or when its jobs are not those of digestCases().
bool readDigestTable(const std::string& path, std::vector<DigestRow>& rows, std::string& error);

#endif  // TESTS_GOLDEN_DIGEST_TABLE_H_
