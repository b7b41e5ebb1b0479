// SPDX-License-Identifier: Apache-2.0
// What a job's numbers are on paper: dots, rows, feeds.
//
// A job stream names neither its resolution nor the length of a motion unit or of
// a line; both lengths are the printer's own. The defaults here are the filter's
// 300 dots per inch, one dot for a motion unit, and ESC/POS's usual line of a sixth
// of an inch.
#ifndef TOOLS_DRAV_JOB_PAPER_SCALE_H_
#define TOOLS_DRAV_JOB_PAPER_SCALE_H_

#include <cstdint>
#include <optional>
#include <string>

#include "proof/job_stream.h"

inline constexpr double kMillimetresPerInch = 25.4;
inline constexpr double kPointsPerInch = 72;

// All rates per inch, above 0.
struct PaperScale {
  uint32_t dotsAcross = 300;
  uint32_t dotsAlong = 300;
  double unitsPerInch = 300;  // of ESC J
  double linesPerInch = 6;    // of LF and ESC d
};

// The paper that a page was made for.
struct PagePaper {
  std::string name;  // choice of PageSize
  double millimetres = 0;
};

// The scale, and what else is known of the printer.
struct PrinterFacts {
  PaperScale scale;
  std::optional<PagePaper> paper;     // if pages are to be compared with it
  std::optional<uint32_t> headBytes;  // bytes of the widest row that the head prints
  bool unitsAreDots = true;           // nobody told the motion unit
  bool isAssumed = false;             // nobody told the resolution
  std::string assumedFrom;            // the model whose head it was assumed from
};

// Inches of paper that a feed command moves; 0 for every other command.
double feedInches(const JobCommand& command, const PaperScale& scale);

// The same in whole rows of dots, rounded.
uint64_t feedRows(const JobCommand& command, const PaperScale& scale);

double rowsToMillimetres(uint64_t rows, const PaperScale& scale);

// Rows by which a page is shorter than its paper. 0 without a paper, and for less than half
// a millimetre, because converters round.
uint64_t savedRows(uint64_t rows, const PrinterFacts& printer);

// The number with that many digits behind a point, whatever the locale.
std::string fixedText(double value, int digits);

#endif  // TOOLS_DRAV_JOB_PAPER_SCALE_H_
