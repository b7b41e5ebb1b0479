// SPDX-License-Identifier: Apache-2.0
#include "tests/golden/digest_cases.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <sstream>

#include "tests/model/page_patterns.h"

namespace {

constexpr const char* kNoLimit = "-";

const std::vector<std::string>& halftoneNames() {
  static const std::vector<std::string> names = {
      "None",   "FloydSteinberg", "Ordered", "Burkes",   "Stucki", "JarvisJudiceNinke",
      "Sierra", "StevensonArce",  "Tattoo",  "Tattoo_X8"};
  return names;
}

void addHalftones(std::vector<DigestCase>& cases, DigestCase job) {
  for (const std::string& name : halftoneNames()) {
    job.halftone = name;
    cases.push_back(job);
  }
}

// Pages as they are. Bands have 96 rows; a wavefront works on 16 or 32 rows at
// once, in steps of a column.
void addPages(std::vector<DigestCase>& cases) {
  const std::vector<DigestCase> pages = {
      {"full", 1, 1, 1, 1, "", 0, kNoLimit},
      {"noise", 2479, 1, 2, 2479, "", 0, kNoLimit},  // one row
      {"noise", 1, 229, 3, 1, "", 0, kNoLimit},      // one column
      {"blank", 203, 101, 1, 203, "", 0, kNoLimit},
      {"flat", 257, 97, 5, 257, "", 0, kNoLimit},  // a band and one row
      {"full", 64, 192, 1, 64, "", 0, kNoLimit},   // two whole bands
      {"horizontal", 511, 63, 1, 511, "", 0, kNoLimit},
      {"vertical", 95, 513, 1, 100, "", 0, kNoLimit},  // rows longer than the picture
      {"text", 945, 203, 6, 945, "", 0, kNoLimit},     // 80 mm paper
      {"sparse", 555, 444, 7, 555, "", 0, kNoLimit},
      {"circles", 679, 901, 8, 680, "", 0, kNoLimit},  // long fades on blank paper
      {"photo", 2479, 131, 9, 2479, "", 0, kNoLimit},  // A4
      {"text", 97, 2003, 15, 97, "", 0, kNoLimit},     // a long strip
      {"noise", 1023, 301, 10, 1023, "", 0, kNoLimit},
  };
  for (const DigestCase& page : pages) addHalftones(cases, page);
}

// Pages for the stencils' floating point. A fused or reordered sum shows only where
// it lies on a threshold, which is on few pages: the seeds are picked for it.
// docs/numerics.md has the rules.
void addStencils(std::vector<DigestCase>& cases) {
  const std::vector<DigestCase> pages = {
      // The moment threshold: another level when a product is fused, or when the
      // powers of the levels are formed in single precision.
      {"levels:0x2,255x8", 100, 60, 1, 100, "", 0, kNoLimit},
      {"levels:30x1,200x9", 100, 60, 1, 100, "", 0, kNoLimit},
      {"levels:30x6,200x4", 100, 60, 1, 100, "", 0, kNoLimit},
      {"levels:0x11,255x9", 100, 60, 1, 100, "", 0, kNoLimit},
      {"levels:0x33,255x67", 100, 60, 1, 100, "", 0, kNoLimit},
      // The tone curve: thresholds 95 and 103.
      {"photo", 160, 160, 657, 160, "", 0, kNoLimit},
      {"photo", 160, 160, 343, 160, "", 0, kNoLimit},
      // The error diffusion, in plain and in vector code.
      {"noise", 256, 256, 28, 256, "", 0, kNoLimit},
      {"noise", 160, 160, 2466, 160, "", 0, kNoLimit},
      {"photo", 160, 160, 331, 160, "", 0, kNoLimit},
      // Denormal errors, with thresholds of 255 and 0.
      {"islands", 643, 517, 1, 643, "", 0, kNoLimit},
      {"islands", 643, 517, 7, 643, "", 0, kNoLimit},
  };
  for (DigestCase page : pages) {
    for (const char* stencil : {"Tattoo", "Tattoo_X8"}) {
      page.halftone = stencil;
      cases.push_back(page);
    }
  }
}

// Tones, and rows cut off at the printer's width.
void addOptions(std::vector<DigestCase>& cases) {
  addHalftones(cases, {"photo", 301, 149, 11, 301, "", -30, kNoLimit});
  addHalftones(cases, {"circles", 255, 260, 12, 255, "", 25, kNoLimit});
  addHalftones(cases, {"text", 607, 99, 13, 607, "", 5, "136.1"});  // 48 mm paper
  addHalftones(cases, {"photo", 701, 98, 14, 704, "", 0, "100.25"});
}

// A page of "levels:LEVELxCOUNT,...": so many pixels of each level, over and over,
// along the rows.
model::Grey levelsPage(const std::string& pattern, int width, int height) {
  std::istringstream parts(pattern.substr(pattern.find(':') + 1));
  std::vector<uint8_t> period;
  int level = 0;
  size_t count = 0;
  char between = 0;
  while (parts >> level >> between >> count) {
    period.insert(period.end(), count, static_cast<uint8_t>(level));
    parts >> between;
  }
  model::Grey page = model::makeGrey(width, height, 0);
  for (size_t i = 0; i < page.pixels.size(); ++i) page.pixels[i] = period[i % period.size()];
  return page;
}

// Small squares of random dots far from each other: between them the errors of the
// stencils fade into denormal numbers, and find ink again.
model::Grey islandsPage(int width, int height, uint64_t seed) {
  constexpr int kDistance = 230;
  constexpr int kSide = 40;
  constexpr int kShift = 90;  // of a line of squares against the line above
  model::Random random(seed);
  model::Grey page = model::makeGrey(width, height, 0);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int column = (x + y / kDistance * kShift) % kDistance;
      if (y % kDistance >= kSide || column >= kSide) continue;
      page.set(x, y, random.below(2) == 0 ? 0 : 255);
    }
  }
  return page;
}

model::Grey picturePage(const DigestCase& job) {
  if (job.pattern.rfind("levels:", 0) == 0) return levelsPage(job.pattern, job.width, job.height);
  if (job.pattern == "islands") return islandsPage(job.width, job.height, job.seed);
  return model::patternPage(job.pattern, job.width, job.height, job.seed);
}

}  // namespace

bool DigestCase::samePage(const DigestCase& other) const {
  return pattern == other.pattern && width == other.width && height == other.height &&
         seed == other.seed && bytesPerLine == other.bytesPerLine;
}

const std::vector<DigestCase>& digestCases() {
  static const std::vector<DigestCase> cases = [] {
    std::vector<DigestCase> list;
    addPages(list);
    addStencils(list);
    addOptions(list);
    return list;
  }();
  return cases;
}

model::RasterPage digestPage(const DigestCase& job) {
  const model::Grey picture = picturePage(job);
  model::RasterPage page;
  page.cupsWidth = static_cast<uint32_t>(job.width);
  page.height = static_cast<uint32_t>(job.height);
  page.bytesPerLine = job.bytesPerLine;
  page.pageSizeName = "X80MMY200MM";
  page.pixels.assign(size_t{page.bytesPerLine} * page.height, 0);
  for (size_t y = 0; y < page.height; ++y) {
    std::copy_n(picture.pixels.data() + y * page.cupsWidth, page.cupsWidth,
                page.pixels.data() + y * page.bytesPerLine);
  }
  return page;
}

model::JobSettings digestSettings(const DigestCase& job) {
  model::JobSettings settings;
  settings.halftoneType = model::halftoneTypeFromName(job.halftone);
  settings.brightness = job.brightness;
  if (job.maxMediaWidth != kNoLimit) {
    settings.maxMediaWidth = std::strtod(job.maxMediaWidth.c_str(), nullptr);
  }
  return settings;
}
