// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/ppd_check.h"

#include <cups/ppd.h>
#include <cups/raster.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <vector>

#include "common/ppd_lookup.h"
#include "tools/drav/doctor/advice.h"
#include "tools/drav/io/trial_run.h"

namespace {

constexpr const char* kFilterName = "rastertodrav";
constexpr unsigned kWantedBits = 8;
constexpr float kMarginPoints = 0.5F;  // less is rounding
constexpr size_t kShownFaults = 3;

std::string baseName(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The last word of a filter line: "application/vnd.cups-raster 0 rastertodrav".
std::string programOf(const std::string& filterLine) {
  std::istringstream words(filterLine);
  std::string word;
  while (words >> word) {
  }
  return word;
}

// What a chain that goes by this PPD puts into a page's header.
struct Raster {
  std::string choices;  // what leads to it, such as "ColorModel=Gray"; "" for the defaults
  unsigned bits = 0;
  unsigned space = 0;
  bool known = false;
};

std::string rasterFault(const Raster& raster) {
  if (!raster.known) return "libcups cannot tell what raster the PPD asks for";
  if (raster.bits != kWantedBits)
    return "pages of " + std::to_string(raster.bits) +
           " bits a pixel, which the filter refuses (it takes 8)";
  if (raster.space != CUPS_CSPACE_K)
    return "pages arrive inverted and print as black sheets: cupsColorSpace " +
           std::to_string(raster.space) + " instead of 3";
  return "";
}

}  // namespace

struct Ppd::State {
  ppd_file_t* ppd = nullptr;

  State() = default;
  ~State() { close(); }
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  State(State&&) = delete;
  State& operator=(State&&) = delete;

  void close() {
    if (ppd != nullptr) ppdClose(ppd);
    ppd = nullptr;
  }

  std::string attribute(const char* name) const {
    return dravPpdGetAttrAsStrDefault(ppd, name, nullptr, "");
  }

  // Values of every line of this name.
  std::vector<std::string> attributes(const char* name) const {
    std::vector<std::string> values;
    for (const ppd_attr_t* line = ppdFindAttr(ppd, name, nullptr); line != nullptr;
         line = ppdFindNextAttr(ppd, name, nullptr))
      if (line->value != nullptr) values.emplace_back(line->value);
    return values;
  }

  // The filter of the lines that CUPS goes by: cupsFilter2 hides cupsFilter.
  std::string filter() const {
    std::vector<std::string> lines = attributes("cupsFilter2");
    if (lines.empty()) lines = attributes("cupsFilter");
    for (const std::string& line : lines)
      if (baseName(programOf(line)) == kFilterName) return programOf(line);
    return "";
  }

  Raster raster(const std::string& option, const std::string& choice) const {
    Raster raster;
    if (!option.empty()) raster.choices = option + "=" + choice;
    ppdMarkDefaults(ppd);
    if (!option.empty()) (void)ppdMarkOption(ppd, option.c_str(), choice.c_str());
    cups_page_header2_t header = {};
    raster.known = cupsRasterInterpretPPD(&header, ppd, 0, nullptr, nullptr) == 0;
    raster.bits = header.cupsBitsPerPixel;
    raster.space = static_cast<unsigned>(header.cupsColorSpace);
    return raster;
  }

  void checkChain(Finding& finding) const;
  void checkRaster(const std::string& name, const std::string& fix, Findings& findings) const;
  std::string widestMargin() const;
  void suggestTrimming(const std::string& name, Findings& findings) const;
};

void Ppd::State::checkChain(Finding& finding) const {
  const auto complain = [&finding](Level level, const std::string& text) {
    finding.level = std::max(finding.level, level);
    finding.text += (finding.text.empty() ? "" : "; ") + text;
  };
  if (filter().empty()) {
    complain(Level::kFail, attributes("cupsFilter2").empty()
                               ? "no filter line names rastertodrav"
                               : "its cupsFilter2 lines, which hide cupsFilter, do not name "
                                 "rastertodrav");
  }
  if (ppdFindOption(ppd, "PageSize") == nullptr)
    complain(Level::kFail, "no PageSize: the filter refuses every job");
  if (ppd->manual_copies == 0)
    complain(Level::kWarn, "no cupsManualCopies: several copies print as one");
  if (dravPpdGetAttrAsFloatDefault(ppd, "MaxMediaWidth", nullptr, 0) <= 0)
    complain(Level::kWarn, "no MaxMediaWidth: wide pages run over the head");
  const std::string margin = widestMargin();
  if (!margin.empty())
    complain(Level::kWarn, "paper size " + margin + " has margins, which shrink the picture");
  if (finding.text.empty())
    finding.text = "filter, copies, width and margins as the filter needs them";
}

// The first paper size with a margin.
std::string Ppd::State::widestMargin() const {
  for (int i = 0; i < ppd->num_sizes; ++i) {
    const ppd_size_t& size = ppd->sizes[i];
    if (std::strncmp(size.name, "Custom", 6) == 0) continue;
    if (size.left > kMarginPoints || size.bottom > kMarginPoints ||
        size.width - size.right > kMarginPoints || size.length - size.top > kMarginPoints)
      return size.name;
  }
  return "";
}

// A receipt is rarely as long as its paper. The driver files leave the choice to whoever
// sets the queue up.
void Ppd::State::suggestTrimming(const std::string& name, Findings& findings) const {
  const std::string model = ppd->modelname != nullptr ? ppd->modelname : "";
  ppdMarkDefaults(ppd);
  const std::string trim = dravPpdGetChoiceAsStrDefault(ppd, "TrimPaper", "");
  if (model.find("Receipt") == std::string::npos || trim != "None") return;
  const std::string queue = name.substr(name.find(' ') + 1);
  findings.push_back({Level::kNote,
                      name + " paper",
                      "each receipt is as long as its paper, and the blank rest prints too; "
                      "TrimPaper=End stops after the last line",
                      {"sudo lpadmin -p " + shellWord(queue) + " -o TrimPaper=End"}});
}

void Ppd::State::checkRaster(const std::string& name, const std::string& fix,
                             Findings& findings) const {
  const std::string check = name + " raster";
  const std::string fault = rasterFault(raster("", ""));
  if (!fault.empty()) {
    findings.push_back({Level::kFail, check, fault, {fix}});
    return;
  }
  for (const char* option : {"ColorModel", "Resolution"}) {
    const ppd_option_t* found = ppdFindOption(ppd, option);
    for (int i = 0; found != nullptr && i < found->num_choices; ++i) {
      const Raster made = raster(option, found->choices[i].choice);
      if (const std::string wrong = rasterFault(made); !wrong.empty()) {
        findings.push_back({Level::kWarn, check, "with " + made.choices + ": " + wrong, {fix}});
        return;
      }
    }
  }
  findings.push_back({Level::kOk, check, "8-bit grey, 0 is no ink"});
}

Ppd::Ppd() : state_(std::make_unique<State>()) {}
Ppd::~Ppd() = default;

bool Ppd::open(const std::string& text, std::string& error) {
  state_->close();
  std::FILE* file = std::tmpfile();
  if (file == nullptr) {
    error = "no temporary file can be made";
    return false;
  }
  const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  std::rewind(file);
  if (written) state_->ppd = ppdOpen(file);
  (void)std::fclose(file);
  if (state_->ppd == nullptr) {
    int line = 0;
    const ppd_status_t status = ppdLastError(&line);
    error = std::string(ppdErrorString(status)) + " on line " + std::to_string(line);
    return false;
  }
  ppdMarkDefaults(state_->ppd);
  return true;
}

PpdSummary Ppd::summary() const {
  PpdSummary summary;
  summary.filter = state_->filter();
  summary.fileVersion = state_->attribute("FileVersion");
  summary.fileName = state_->attribute("PCFileName");
  summary.recordPrefix = state_->attribute("dravFilterOutputFile");
  ppdMarkDefaults(state_->ppd);
  summary.recording = dravPpdGetChoiceAsIntDefault(state_->ppd, "RecordPrinterCommands", 0) > 0;
  return summary;
}

void Ppd::check(const std::string& name, Findings& findings) {
  const std::string fix = newPpdCommand(name.substr(name.find(' ') + 1), summary().fileName);
  Finding chain = {Level::kOk, name + " chain", ""};
  state_->checkChain(chain);
  if (chain.level != Level::kOk) chain.fix = {fix};
  findings.push_back(chain);
  state_->checkRaster(name, fix, findings);
  state_->suggestTrimming(name, findings);
}

bool usesFilter(const std::string& text) {
  // As text: a PPD that is damaged elsewhere is a queue of ours all the same.
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("*cupsFilter", 0) != 0) continue;
    const size_t end = line.find_last_not_of("\" \t\r");
    const size_t at = end == std::string::npos ? 0 : line.find_last_of("/ \t\"", end);
    if (at != std::string::npos && line.substr(at + 1, end - at) == kFilterName) return true;
  }
  return false;
}

namespace {

// What CUPS's own examiner says.
void runCupstestppd(const std::string& name, const std::string& text, const std::string& fix,
                    const Installation& installation, Findings& findings) {
  std::vector<std::string> arguments = {"-I", "filters"};
  if (!installation.root.empty()) arguments.insert(arguments.end(), {"-R", installation.root});
  arguments.emplace_back("-");
  ChildCommand command = trialCommand(findProgram("cupstestppd"), arguments);
  command.input = text;
  command.uid = installation.uid;
  command.gid = installation.gid;
  command.mostMilliseconds = 20000;
  const TrialResult result = runTrial(command);
  if (result.end != ChildEnd::kExited) {
    findings.push_back({Level::kSkip, name + " PPD", "cupstestppd cannot be run"});
    return;
  }
  if (result.code == 0) {
    findings.push_back({Level::kOk, name + " PPD", "passes cupstestppd"});
    return;
  }
  Finding finding = {Level::kFail, name + " PPD", "fails cupstestppd", {fix}};
  std::istringstream lines(result.output);
  for (std::string line; std::getline(lines, line);)
    if (line.find("FAIL**") != std::string::npos && finding.lines.size() < kShownFaults)
      finding.lines.push_back(line.substr(line.find_first_not_of(' ')));
  findings.push_back(finding);
}

}  // namespace

bool checkPpd(const std::string& queue, const std::string& text, const std::string& filterVersion,
              const Installation& installation, PpdSummary& summary, Findings& findings) {
  const std::string name = "queue " + queue;
  Ppd ppd;
  std::string error;
  if (!ppd.open(text, error)) {
    findings.push_back(
        {Level::kFail, name + " PPD", "cannot be read: " + error, {newPpdCommand(queue, "")}});
    return false;
  }
  summary = ppd.summary();
  const std::string fix = newPpdCommand(queue, summary.fileName);
  runCupstestppd(name, text, fix, installation, findings);
  const std::string wanted = filterVersion.empty() ? DRAV_VERSION : filterVersion;
  if (summary.fileVersion == wanted) {
    findings.push_back({Level::kOk, name + " version", "PPD and filter are " + wanted});
  } else {
    findings.push_back(
        {Level::kWarn,
         name + " version",
         "the PPD is of version \"" + summary.fileVersion + "\", the filter " + wanted,
         {fix}});
  }
  ppd.check(name, findings);
  return true;
}
