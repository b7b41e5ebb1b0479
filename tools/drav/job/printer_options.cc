// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/job/printer_options.h"

#include <cups/ppd.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>
#include <limits>
#include <locale>
#include <memory>
#include <sstream>
#include <string_view>

#include "common/ppd_lookup.h"
#include "common/temporary_file.h"
#include "tools/drav/driver/models.h"
#include "tools/drav/io/text.h"
#include "tools/drav/job/paper_scale.h"

namespace {

constexpr uint32_t kMaxRate = 9600;  // per inch

// A number that `text` begins with; `text` is then what follows it. 0 when there
// is none or it is out of range.
uint32_t takeRate(std::string_view& text) {
  uint32_t rate = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), rate);
  text.remove_prefix(static_cast<size_t>(end - text.data()));
  return code == std::errc() && rate <= kMaxRate ? rate : 0;
}

// As in the driver file, whose decimal point is a point in every locale.
double parseNumber(const char* text) {
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  double value = 0;
  return stream >> value ? value : 0;
}

struct PpdCloser {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};
using PpdHandle = std::unique_ptr<ppd_file_t, PpdCloser>;

PpdHandle openModel(const EmbeddedModel& model) {
  std::string error;
  const int file = openAnonymousFile(model.ppd.data(), model.ppd.size(), error);
  return PpdHandle(ppdOpenFd(file));  // which closes it
}

bool openPpd(const PrinterArguments& arguments, PpdHandle& ppd, std::string& error) {
  if (arguments.ppd.empty()) {
    const EmbeddedModel* model = findModel(arguments.model);
    if (model == nullptr) {
      error = "there is no model " + printablePath(arguments.model) + "; there are " + modelList();
      return false;
    }
    ppd = openModel(*model);
  } else {
    ppd.reset(ppdOpenFile(arguments.ppd.c_str()));
  }
  if (ppd) return true;
  int line = 0;
  const ppd_status_t status = ppdLastError(&line);
  error = printablePath(arguments.ppd) +
          ": cannot be read as a driver file: " + ppdErrorString(status) +
          (line > 0 ? " in line " + std::to_string(line) : "");
  return false;
}

// Resolution, unless `dpi` is given, and width of the head. False when the resolution
// makes no sense.
bool readPpd(ppd_file_t* ppd, uint32_t dpi, PrinterFacts& facts, std::string& resolution) {
  PaperScale& scale = facts.scale;
  const char* standard = dravPpdGetAttrAsStrDefault(ppd, "DefaultResolution", nullptr, "");
  resolution = dravPpdGetChoiceAsStrDefault(ppd, "Resolution", standard);
  if (dpi == 0 && !resolution.empty()) {
    if (!parseResolution(resolution, scale.dotsAcross, scale.dotsAlong)) return false;
    facts.isAssumed = false;
  }
  const char* width = dravPpdGetAttrAsStrDefault(ppd, "MaxMediaWidth", nullptr, "");
  facts.headBytes = headBytesOf(parseNumber(width), scale.dotsAcross);
  return true;
}

// The paper to compare pages with. False when the driver has none of that name.
bool readPaper(ppd_file_t* ppd, const std::string& name, PrinterFacts& facts, std::string& error) {
  const std::string trim = dravPpdGetChoiceAsStrDefault(ppd, "TrimPaper", "None");
  if (name.empty() && trim == "None") return true;
  const ppd_size_t* size = ppdPageSize(ppd, name.empty() ? nullptr : name.c_str());
  if (size != nullptr && size->length > 0) {
    facts.paper = {size->name,
                   static_cast<double>(size->length) / kPointsPerInch * kMillimetresPerInch};
    return true;
  }
  if (name.empty()) return true;
  error =
      "the driver file has no paper " + printablePath(name) + "; its option PageSize has the list";
  return false;
}

bool readDriver(const PrinterArguments& arguments, PrinterFacts& facts, std::string& error) {
  PpdHandle ppd;
  std::string resolution;
  if (!openPpd(arguments, ppd, error)) return false;
  ppdMarkDefaults(ppd.get());
  if (!readPpd(ppd.get(), arguments.dpi, facts, resolution)) {
    error = printablePath(arguments.ppd) + ": resolution \"" + resolution + "\" makes no sense";
    return false;
  }
  return readPaper(ppd.get(), arguments.paper, facts, error);
}

}  // namespace

void addPrinterOptions(CLI::App& app, PrinterArguments& arguments) {
  auto* ppd = app.add_option("--ppd", arguments.ppd,
                             "Driver file that tells the resolution and the width of the head");
  app.add_option("--model", arguments.model, "Built-in driver file: " + modelList())
      ->type_name("NAME")
      ->excludes(ppd);
  app.add_option(
         "--dpi", arguments.dpi,
         "Dots per inch (default: the driver file's, or else assumed from the width of the rows)")
      ->check(CLI::Range(1U, kMaxRate));
  app.add_option("--units-per-inch", arguments.unitsPerInch,
                 "Units of ESC J, as the printer's manual tells (default: one dot each)")
      ->check(CLI::Range(1U, kMaxRate));
  app.add_option("--lines-per-inch", arguments.linesPerInch,
                 "Lines of LF and ESC d, as the printer's manual tells (default: 6)")
      ->check(CLI::Range(1.0, 600.0));
}

void addPaperOption(CLI::App& app, PrinterArguments& arguments) {
  app.add_option(
         "--paper", arguments.paper,
         "Paper that the job was printed on, a PageSize of --ppd or --model: tells how much "
         "of it was saved (default: the driver file's, if that trims pages)")
      ->type_name("NAME");
}

bool parseResolution(const std::string& text, uint32_t& across, uint32_t& along) {
  std::string_view rest = text;
  const uint32_t first = takeRate(rest);
  uint32_t second = first;
  if (rest.substr(0, 1) == "x") {
    rest.remove_prefix(1);
    second = takeRate(rest);
  }
  if (first == 0 || second == 0 || rest != "dpi") return false;
  across = first;
  along = second;
  return true;
}

std::optional<uint32_t> headBytesOf(double maxMediaWidth, uint32_t dotsPerInch) {
  if (!std::isfinite(maxMediaWidth) || maxMediaWidth <= 0) return std::nullopt;
  constexpr double kRounding = 1e-6;  // 575.4 points are not exactly 2397.5 dots
  const double bytes = std::ceil(maxMediaWidth / kPointsPerInch * dotsPerInch / 8 - kRounding);
  constexpr uint32_t kMost = std::numeric_limits<int32_t>::max() / 8;
  if (bytes > static_cast<double>(kMost)) return std::nullopt;
  return static_cast<uint32_t>(std::max(bytes, 1.0));
}

bool resolvePrinter(const PrinterArguments& arguments, PrinterFacts& facts, std::string& error) {
  facts = {};
  PaperScale& scale = facts.scale;
  facts.isAssumed = arguments.dpi == 0;
  if (arguments.dpi != 0) scale.dotsAcross = scale.dotsAlong = arguments.dpi;
  const bool hasDriver = !arguments.ppd.empty() || !arguments.model.empty();
  if (!arguments.paper.empty() && !hasDriver) {
    error = "--paper needs --ppd or --model, which tell how long the paper is";
    return false;
  }
  if (hasDriver && !readDriver(arguments, facts, error)) return false;
  facts.unitsAreDots = arguments.unitsPerInch == 0;
  scale.unitsPerInch = facts.unitsAreDots ? scale.dotsAlong : arguments.unitsPerInch;
  // Written so that not-a-number, which the option's range lets through, is refused.
  if (!(arguments.linesPerInch >= 0)) {
    error = "--lines-per-inch is not a number";
    return false;
  }
  if (arguments.linesPerInch > 0) scale.linesPerInch = arguments.linesPerInch;
  return true;
}

void assumeResolution(uint32_t widestRowBytes, PrinterFacts& facts) {
  if (!facts.isAssumed) return;
  for (const EmbeddedModel& model : embeddedModels()) {
    PrinterFacts known;
    std::string resolution;
    const PpdHandle ppd = openModel(model);
    if (!ppd || !readPpd(ppd.get(), 0, known, resolution) || known.headBytes != widestRowBytes)
      continue;
    facts.scale.dotsAcross = known.scale.dotsAcross;
    facts.scale.dotsAlong = known.scale.dotsAlong;
    if (facts.unitsAreDots) facts.scale.unitsPerInch = facts.scale.dotsAlong;
    facts.assumedFrom = model.name;
    return;
  }
}

std::string assumptionText(const PrinterFacts& facts) {
  return std::to_string(facts.scale.dotsAlong) + " dpi assumed" +
         (facts.assumedFrom.empty()
              ? std::string()
              : ", since the rows are as wide as the head of " + facts.assumedFrom) +
         "; --dpi, --model or --ppd sets it";
}
