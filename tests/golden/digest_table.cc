// SPDX-License-Identifier: Apache-2.0
#include "tests/golden/digest_table.h"

#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

std::string digestText(uint64_t digest) {
  char text[24];
  std::snprintf(text, sizeof text, "%016" PRIx64, digest);
  return text;
}

bool parseRow(const std::string& line, DigestRow& row) {
  std::istringstream words(line);
  DigestCase& job = row.job;
  words >> job.pattern >> job.width >> job.height >> job.seed >> job.bytesPerLine >> job.halftone >>
      job.brightness >> job.maxMediaWidth >> std::hex >> row.digests.printed >>
      row.digests.origin >> row.digests.dithered;
  std::string more;
  return !words.fail() && !(words >> more);
}

}  // namespace

uint64_t fnv1a64(const std::vector<uint8_t>& bytes) {
  constexpr uint64_t kOffsetBasis = 0xCBF29CE484222325U;
  constexpr uint64_t kPrime = 0x100000001B3U;
  uint64_t hash = kOffsetBasis;
  for (const uint8_t byte : bytes) hash = (hash ^ byte) * kPrime;
  return hash;
}

std::string digestTableHead() {
  return "# Digests (FNV-1a, 64 bits) of what the whole filter writes, computed by the plain\n"
         "# model of tests/model. Made by tools/update_golden.sh; not to be edited.\n"
         "# pattern\twidth\theight\tseed\tbytesPerLine\thalftone\tbrightness\tMaxMediaWidth\t"
         "printed\torigin\tdithered\n";
}

std::string digestRowText(const DigestRow& row) {
  const DigestCase& job = row.job;
  std::ostringstream line;
  line << job.pattern << '\t' << job.width << '\t' << job.height << '\t' << job.seed << '\t'
       << job.bytesPerLine << '\t' << job.halftone << '\t' << job.brightness << '\t'
       << job.maxMediaWidth << '\t' << digestText(row.digests.printed) << '\t'
       << digestText(row.digests.origin) << '\t' << digestText(row.digests.dithered);
  return line.str();
}

bool readDigestTable(const std::string& path, std::vector<DigestRow>& rows, std::string& error) {
  std::ifstream in(path);
  if (!in) {
    error = "cannot read " + path;
    return false;
  }
  rows.clear();
  const std::vector<DigestCase>& cases = digestCases();
  std::string line;
  while (std::getline(in, line)) {
    if (!line.empty() && line[0] == '#') continue;
    DigestRow row;
    if (!parseRow(line, row)) {
      error = path + ": not a row: " + line;
      return false;
    }
    if (rows.size() == cases.size() || !(row.job == cases[rows.size()])) {
      error = path + ": not in the list of jobs, or not in its place: " + line;
      return false;
    }
    rows.push_back(row);
  }
  if (rows.size() == cases.size()) return true;
  error = path + ": " + std::to_string(rows.size()) + " rows for " + std::to_string(cases.size()) +
          " jobs";
  return false;
}
