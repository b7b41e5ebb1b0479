// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/inspect/text_report.h"

#include <ostream>
#include <string>

#include "tools/drav/inspect/listing.h"
#include "tools/drav/io/text.h"
#include "tools/drav/job/command_text.h"
#include "tools/drav/job/printer_options.h"

namespace {

std::string padded(std::string text, size_t width) {
  if (text.size() < width) text.append(width - text.size(), ' ');
  return text;
}

std::string listingLine(const std::string& offset, const std::string& name,
                        const std::string& bytes, const std::string& meaning) {
  constexpr size_t kOffsetWidth = 10;
  const size_t indent = offset.size() < kOffsetWidth ? kOffsetWidth - offset.size() : 0;
  return std::string(indent, ' ') + offset + "  " + padded(name, 18) + " " + padded(bytes, 27) +
         " " + meaning + "\n";
}

std::string entryLine(const ListingEntry& entry, const PaperScale& scale) {
  std::string name = "?";
  if (entry.first.command) name = commandName(entry.first.command->kind);
  if (entry.first.error && entry.first.error->fault == JobStreamFault::kUnfinishedBand)
    name = commandName(CommandKind::kRasterBand);
  if (entry.count > 1) name += " x " + std::to_string(entry.count);
  return listingLine(std::to_string(entry.offset), name, entryBytes(entry),
                     entryMeaning(entry, scale));
}

std::string rowsText(const JobTotals& totals) {
  if (totals.bands == 0) return "0";
  if (totals.leastBytesPerRow == totals.mostBytesPerRow)
    return bandSizeText(totals.rows, totals.mostBytesPerRow);
  return std::to_string(totals.rows) + " rows of " + std::to_string(totals.leastBytesPerRow) +
         " to " + std::to_string(totals.mostBytesPerRow) + " bytes";
}

std::string rateText(double perInch) { return "1/" + fixedText(perInch, 0) + " inch"; }

std::string paperText(const JobTotals& totals, const PaperScale& scale) {
  const double picture = rowsToMillimetres(totals.rows, scale);
  const double feeds = feedMillimetres(totals, scale);
  std::string text = fixedText(picture + feeds, 1) + " mm: picture " + fixedText(picture, 1) +
                     " mm at " + std::to_string(scale.dotsAlong) + " dpi, feeds " +
                     fixedText(feeds, 1) + " mm with a unit of " + rateText(scale.unitsPerInch) +
                     " and a line of " + rateText(scale.linesPerInch);
  if (totals.logos > 0) text += "; the height of logos is not known";
  return text;
}

// The stream does not tell what was trimmed, only how long its pages are.
std::string savedText(const JobTotals& totals, const PrinterFacts& printer) {
  const std::string paper =
      printer.paper->name + " (" + fixedText(printer.paper->millimetres, 1) + " mm)";
  const std::string saved =
      fixedText(rowsToMillimetres(totals.savedRows, printer.scale), 1) + " mm";
  if (totals.shorterPages == 0) return saved + ": no page is shorter than " + paper;
  return saved + ": " + std::to_string(totals.shorterPages) + " of " +
         std::to_string(totals.pages) +
         (totals.pages == 1 ? " page is shorter than " : " pages are shorter than ") + paper;
}

std::string coverageText(const Survey& survey) {
  const JobTotals& totals = survey.totals;
  std::string text = fixedText(totals.coverage.percent(), 1) + " %";
  if (!totals.heaviest) return text;
  text += "; heaviest band " + fixedText(totals.heaviest->coverage.percent(), 1) + " % at offset " +
          std::to_string(totals.heaviest->offset);
  if (survey.isRecord) return text + ", band " + std::to_string(totals.heaviest->band);
  return text + ", page " + std::to_string(totals.heaviest->page) + ", band " +
         std::to_string(totals.heaviest->band);
}

void writeTotals(const InspectOptions& options, const Survey& survey, std::ostream& out) {
  const JobTotals& totals = survey.totals;
  out << "\nTotals\n";
  if (!survey.isRecord)
    out << "  jobs      " << totals.jobs << "\n  pages     " << totals.pages << "\n";
  const auto& printer = options.printer;
  out << "  bands     " << totals.bands << "\n  rows      " << rowsText(totals) << "\n  paper     "
      << paperText(totals, printer.scale) << "\n"
      << (printer.isAssumed ? "            " + assumptionText(printer) + "\n" : "")
      << (printer.paper && !survey.isRecord ? "  saved     " + savedText(totals, printer) + "\n"
                                            : "")
      << "  coverage  " << coverageText(survey) << "\n";
  if (survey.isRecord) return;
  out << "  cuts      " << totals.partialCuts + totals.fullCuts << " (" << totals.partialCuts
      << " partial, " << totals.fullCuts << " full)\n  drawers   " << totals.drawerPulses
      << (totals.drawerPulses == 1 ? " pulse" : " pulses") << "\n  buzzers   " << totals.buzzers
      << "\n  logos     " << totals.logos << "\n";
}

void writeWarnings(const Survey& survey, std::ostream& out) {
  out << "\nWarnings\n";
  for (const Warning& warning : survey.warnings)
    out << "  offset " << warning.offset << ": " << warning.text << "\n";
  for (size_t kind = 0; kind < kWarningKinds; ++kind)
    if (survey.warningCounts[kind] > kMaxKeptWarnings)
      out << "  " << survey.warningCounts[kind] - kMaxKeptWarnings << " more of the kind "
          << warningKey(static_cast<WarningKind>(kind)) << "\n";
  if (survey.isClean()) out << "  none\n";
}

}  // namespace

void writeTextReport(std::span<const uint8_t> stream, const InspectOptions& options,
                     const Survey& survey, std::ostream& out) {
  out << printablePath(options.name) << ": "
      << (survey.isRecord ? "command record (raster bands alone), " : "job stream, ")
      << stream.size() << " bytes\n\n"
      << listingLine("offset", "command", "bytes", "meaning");
  ListingReader reader(stream, {.equalCommands = !options.all, .bands = !options.all});
  while (const auto entry = reader.next()) {
    out << entryLine(*entry, options.printer.scale);
    if (!out) return;
  }
  writeTotals(options, survey, out);
  writeWarnings(survey, out);
}
