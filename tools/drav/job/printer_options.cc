// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/job/printer_options.h"

#include <cups/ppd.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>
#include <limits>
#include <locale>
#include <sstream>
#include <string_view>

#include "common/ppd_lookup.h"
#include "common/scope_guard.h"
#include "tools/drav/io/text.h"

namespace {

constexpr uint32_t kMaxRate = 9600;  // per inch
constexpr double kPointsPerInch = 72.0;

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

bool readPpd(const std::string& path, PrinterFacts& facts, uint32_t dpi, std::string& error) {
  ppd_file_t* ppd = ppdOpenFile(path.c_str());
  if (ppd == nullptr) {
    int line = 0;
    const ppd_status_t status = ppdLastError(&line);
    error = printablePath(path) + ": no readable driver file: " + ppdErrorString(status) +
            (line > 0 ? " in line " + std::to_string(line) : "");
    return false;
  }
  const ScopeGuard closer([ppd] { ppdClose(ppd); });

  PaperScale& scale = facts.scale;
  const char* standard = dravPpdGetAttrAsStrDefault(ppd, "DefaultResolution", nullptr, "");
  const std::string resolution = dravPpdGetChoiceAsStrDefault(ppd, "Resolution", standard);
  if (dpi == 0 && !resolution.empty() &&
      !parseResolution(resolution, scale.dotsAcross, scale.dotsAlong)) {
    error = printablePath(path) + ": resolution \"" + resolution + "\" makes no sense";
    return false;
  }
  const char* width = dravPpdGetAttrAsStrDefault(ppd, "MaxMediaWidth", nullptr, "");
  facts.headBytes = headBytesOf(parseNumber(width), scale.dotsAcross);
  return true;
}

}  // namespace

void addPrinterOptions(CLI::App& app, PrinterArguments& arguments) {
  app.add_option("--ppd", arguments.ppd, "Driver file: resolution, and width of the head");
  app.add_option("--dpi", arguments.dpi, "Dots per inch; else the driver file's, else 300")
      ->check(CLI::Range(1U, kMaxRate));
  app.add_option("--units-per-inch", arguments.unitsPerInch,
                 "What ESC J counts in, by the printer's manual; else one dot")
      ->check(CLI::Range(1U, kMaxRate));
  app.add_option("--lines-per-inch", arguments.linesPerInch,
                 "Lines of LF and ESC d, by the printer's manual; else 6")
      ->check(CLI::Range(1.0, 600.0));
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
  if (arguments.dpi != 0) scale.dotsAcross = scale.dotsAlong = arguments.dpi;
  if (!arguments.ppd.empty() && !readPpd(arguments.ppd, facts, arguments.dpi, error)) return false;
  scale.unitsPerInch = arguments.unitsPerInch != 0 ? arguments.unitsPerInch : scale.dotsAlong;
  // Written so that not-a-number, which the option's range lets through, is refused.
  if (!(arguments.linesPerInch >= 0)) {
    error = "--lines-per-inch is not a number";
    return false;
  }
  if (arguments.linesPerInch > 0) scale.linesPerInch = arguments.linesPerInch;
  return true;
}
