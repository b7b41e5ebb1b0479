// SPDX-License-Identifier: Apache-2.0
// Checks of a queue's PPD file: whether CUPS accepts it, whether it names the filter,
// and what raster it makes the converters deliver.
#ifndef TOOLS_DRAV_DOCTOR_PPD_CHECK_H_
#define TOOLS_DRAV_DOCTOR_PPD_CHECK_H_

#include <memory>
#include <string>

#include "tools/drav/doctor/finding.h"
#include "tools/drav/doctor/installation.h"

struct PpdSummary {
  std::string filter;        // the program it names for raster pages, as it stands there
  std::string fileVersion;   // "" when it has none
  std::string fileName;      // PCFileName
  std::string recordPrefix;  // dravFilterOutputFile
  bool recording = false;    // RecordPrinterCommands is on by default
};

// An open PPD file.
class Ppd {
 public:
  Ppd();
  ~Ppd();
  Ppd(const Ppd&) = delete;
  Ppd& operator=(const Ppd&) = delete;
  Ppd(Ppd&&) = delete;
  Ppd& operator=(Ppd&&) = delete;

  // Reads the text of a PPD file. False with one line in `error`.
  [[nodiscard]] bool open(const std::string& text, std::string& error);
  // REQUIRES: it is open.
  PpdSummary summary() const;
  void check(const std::string& name, Findings& findings);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// Whether the PPD `text` names rastertodrav, by whatever path, as a filter.
bool usesFilter(const std::string& text);

// Everything about the PPD `text` of a queue. `filterVersion`: what the filter
// said of itself, or "". False when it cannot be read as a PPD at all.
bool checkPpd(const std::string& queue, const std::string& text, const std::string& filterVersion,
              const Installation& installation, PpdSummary& summary, Findings& findings);

#endif  // TOOLS_DRAV_DOCTOR_PPD_CHECK_H_
