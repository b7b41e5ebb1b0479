// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/job/paper_scale.h"

#include <cmath>
#include <locale>
#include <sstream>

double feedInches(const JobCommand& command, const PaperScale& scale) {
  switch (command.kind) {
    case CommandKind::kFeedUnits:
      return command.parameters[0] / scale.unitsPerInch;
    case CommandKind::kFeedLines:
      return command.parameters[0] / scale.linesPerInch;
    case CommandKind::kLineFeed:
      return 1 / scale.linesPerInch;
    default:
      return 0;
  }
}

uint64_t feedRows(const JobCommand& command, const PaperScale& scale) {
  return static_cast<uint64_t>(std::llround(feedInches(command, scale) * scale.dotsAlong));
}

double rowsToMillimetres(uint64_t rows, const PaperScale& scale) {
  return static_cast<double>(rows) * kMillimetresPerInch / scale.dotsAlong;
}

uint64_t savedRows(uint64_t rows, const PrinterFacts& printer) {
  if (!printer.paper) return 0;
  constexpr double kRoundingMillimetres = 0.5;
  const double paper = printer.paper->millimetres;
  if (paper - rowsToMillimetres(rows, printer.scale) < kRoundingMillimetres) return 0;
  const auto whole = std::llround(paper * printer.scale.dotsAlong / kMillimetresPerInch);
  return static_cast<uint64_t>(whole) - rows;
}

std::string fixedText(double value, int digits) {
  std::ostringstream text;
  text.imbue(std::locale::classic());
  text.setf(std::ios::fixed);
  text.precision(digits);
  text << value;
  return text.str();
}
