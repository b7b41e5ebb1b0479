// SPDX-License-Identifier: Apache-2.0
// The options that tell a command about the printer that a job is for.
#ifndef TOOLS_DRAV_JOB_PRINTER_OPTIONS_H_
#define TOOLS_DRAV_JOB_PRINTER_OPTIONS_H_

#include <cstdint>
#include <string>

#include "tools/drav/job/paper_scale.h"

namespace CLI {
class App;
}  // namespace CLI

// As given; 0 or nothing where an option is not.
struct PrinterArguments {
  std::string ppd;
  std::string model;
  std::string paper;
  uint32_t dpi = 0;
  uint32_t unitsPerInch = 0;
  double linesPerInch = 0;
};

// Adds --ppd, --model, --dpi, --units-per-inch and --lines-per-inch. `arguments` must live
// until the command line was parsed.
void addPrinterOptions(CLI::App& app, PrinterArguments& arguments);

// Adds --paper.
void addPaperOption(CLI::App& app, PrinterArguments& arguments);

// Works out the printer: an option wins over the driver file, the driver file over
// the defaults of PaperScale. False with one line in `error` when the driver file
// cannot be read or its resolution makes no sense. A driver file without
// "MaxMediaWidth" leaves the width of the head open. The paper is the one that is named, or
// else that of a driver file which trims pages by default.
[[nodiscard]] bool resolvePrinter(const PrinterArguments& arguments, PrinterFacts& facts,
                                  std::string& error);

// Fills in a resolution that neither option nor driver file told. If a model of our own
// has a head as wide as the widest row, takes that model's, else that of PaperScale.
void assumeResolution(uint32_t widestRowBytes, PrinterFacts& facts);

// "300 dpi assumed, ...". REQUIRES: `facts` are assumed.
std::string assumptionText(const PrinterFacts& facts);

// Bytes of the widest row that a head prints, from its driver file's MaxMediaWidth
// in points. A head's dots come in whole bytes, and MaxMediaWidth lies up to 2.5 dots
// below the head, since the filter rounds rows up to multiples of four dots.
// Nothing unless the width is finite and above 0.
std::optional<uint32_t> headBytesOf(double maxMediaWidth, uint32_t dotsPerInch);

// Reads a resolution such as "300dpi" or "300x600dpi". False when it is none or
// outside of what --dpi takes.
[[nodiscard]] bool parseResolution(const std::string& text, uint32_t& across, uint32_t& along);

#endif  // TOOLS_DRAV_JOB_PRINTER_OPTIONS_H_
