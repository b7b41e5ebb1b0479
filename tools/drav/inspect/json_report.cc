// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/inspect/json_report.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>

#include "tools/drav/command.h"
#include "tools/drav/inspect/listing.h"
#include "tools/drav/job/command_text.h"

namespace {

using Json = nlohmann::ordered_json;

double rounded(double value) { return std::round(value * 1000) / 1000; }

std::string dumped(const Json& value) {
  // A file name may hold any bytes; JSON holds UTF-8 alone.
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// Writes an object or array a member at a time, so that a long stream's document
// never stands in memory.
class MemberWriter {
 public:
  MemberWriter(std::ostream& out, char open, char close, int indent)
      : out_(out), close_(close), indent_(indent) {
    out_ << open;
  }
  void member(const Json& value) { begin() << dumped(value); }
  void member(const char* name, const Json& value) {
    begin() << '"' << name << "\": " << dumped(value);
  }
  std::ostream& openMember(const char* name) { return begin() << '"' << name << "\": "; }
  void end() {
    if (any_) out_ << '\n' << std::string(static_cast<size_t>(indent_), ' ');
    out_ << close_;
  }
  bool good() const { return out_.good(); }

 private:
  std::ostream& begin() {
    out_ << (any_ ? ",\n" : "\n") << std::string(static_cast<size_t>(indent_) + 2, ' ');
    any_ = true;
    return out_;
  }

  std::ostream& out_;
  char close_;
  int indent_;
  bool any_ = false;
};

const char* entryKey(const ListingEntry& entry) {
  if (entry.first.command) return commandKey(entry.first.command->kind);
  switch (entry.first.error->fault) {
    case JobStreamFault::kUnfinishedCommand:
      return "unfinished-command";
    case JobStreamFault::kUnfinishedBand:
      return "unfinished-band";
    case JobStreamFault::kUnknownBytes:
      break;
  }
  return "unknown-bytes";
}

Json entryJson(const ListingEntry& entry, const PaperScale& scale) {
  Json json;
  json["offset"] = entry.offset;
  json["length"] = entry.length;
  json["count"] = entry.count;
  json["kind"] = entryKey(entry);
  json["name"] = entry.first.command ? Json(commandName(entry.first.command->kind)) : Json(nullptr);
  json["bytes"] = entryBytes(entry);
  json["shortened"] = entryIsShortened(entry);
  json["meaning"] = entryMeaning(entry, scale);
  if (!entry.first.command) return json;
  const JobCommand& command = *entry.first.command;
  if (command.kind == CommandKind::kRasterBand) {
    json["rows"] = command.rows;
    json["bytesPerRow"] = command.bytesPerRow;
    json["coveragePercent"] = rounded(entry.coverage.percent());
    return json;
  }
  json["parameters"] = command.parameters;
  const double feed = feedInches(command, scale) * static_cast<double>(entry.count);
  if (feed > 0) json["feedMm"] = rounded(feed * kMillimetresPerInch);
  return json;
}

Json placeJson(const std::optional<BandPlace>& place, bool isRecord) {
  if (!place) return nullptr;
  return {{"offset", place->offset},
          {"page", isRecord ? Json(nullptr) : Json(place->page)},
          {"band", place->band},
          {"coveragePercent", rounded(place->coverage.percent())}};
}

// Null where nobody knows the paper.
Json savedJson(uint64_t rows, const PrinterFacts& printer) {
  return printer.paper ? Json(rounded(rowsToMillimetres(rows, printer.scale))) : Json(nullptr);
}

Json pageJson(const PageSummary& page, const PrinterFacts& printer) {
  const PaperScale& scale = printer.scale;
  return {{"number", page.number},
          {"offset", page.offset},
          {"bands", page.bands},
          {"rows", page.rows},
          {"bytesPerRow", page.bytesPerRow},
          {"lengthMm", rounded(rowsToMillimetres(page.rows, scale))},
          {"savedMm", savedJson(page.savedRows, printer)},
          {"coveragePercent", rounded(page.coverage.percent())},
          {"heaviestBand", placeJson(page.heaviest, false)}};
}

Json totalsJson(const Survey& survey, const PrinterFacts& printer) {
  const JobTotals& totals = survey.totals;
  const PaperScale& scale = printer.scale;
  const double picture = rowsToMillimetres(totals.rows, scale);
  const double feeds = feedMillimetres(totals, scale);
  return {{"jobs", survey.isRecord ? Json(nullptr) : Json(totals.jobs)},
          {"pages", survey.isRecord ? Json(nullptr) : Json(totals.pages)},
          {"commands", totals.commands},
          {"bands", totals.bands},
          {"rows", totals.rows},
          {"leastBytesPerRow", totals.leastBytesPerRow},
          {"mostBytesPerRow", totals.mostBytesPerRow},
          {"paperMm", rounded(picture + feeds)},
          {"pictureMm", rounded(picture)},
          {"feedMm", rounded(feeds)},
          {"savedMm", survey.isRecord ? Json(nullptr) : savedJson(totals.savedRows, printer)},
          {"coveragePercent", rounded(totals.coverage.percent())},
          {"heaviestBand", placeJson(totals.heaviest, survey.isRecord)},
          {"partialCuts", totals.partialCuts},
          {"fullCuts", totals.fullCuts},
          {"drawerPulses", totals.drawerPulses},
          {"buzzers", totals.buzzers},
          {"logos", totals.logos},
          {"skippedBytes", totals.skippedBytes}};
}

void writeHead(size_t size, const InspectOptions& options, const Survey& survey,
               MemberWriter& document) {
  const PaperScale& scale = options.printer.scale;
  const auto& head = options.printer.headBytes;
  const auto& paper = options.printer.paper;
  document.member("format", "drav-inspect");
  document.member("formatVersion", kJsonFormatVersion);
  document.member("input", options.name);
  document.member("kind", survey.isRecord ? "record" : "job");
  document.member("bytes", size);
  document.member("printer", {{"dpiAcross", scale.dotsAcross},
                              {"dpiAlong", scale.dotsAlong},
                              {"dpiAssumed", options.printer.isAssumed},
                              {"unitsPerInch", scale.unitsPerInch},
                              {"linesPerInch", scale.linesPerInch},
                              {"headBytes", head ? Json(*head) : Json(nullptr)},
                              {"paper", paper ? Json(paper->name) : Json(nullptr)}});
}

void writeWarnings(const Survey& survey, MemberWriter& document) {
  MemberWriter warnings(document.openMember("warnings"), '[', ']', 2);
  for (const Warning& warning : survey.warnings)
    warnings.member(Json{
        {"kind", warningKey(warning.kind)}, {"offset", warning.offset}, {"text", warning.text}});
  warnings.end();
  Json counts = Json::object();
  for (size_t kind = 0; kind < kWarningKinds; ++kind)
    counts[warningKey(static_cast<WarningKind>(kind))] = survey.warningCounts[kind];
  document.member("warningCounts", counts);
}

}  // namespace

void writeJsonReport(std::span<const uint8_t> stream, const InspectOptions& options,
                     const Survey& survey, std::ostream& out) {
  const PaperScale& scale = options.printer.scale;
  MemberWriter document(out, '{', '}', 0);
  writeHead(stream.size(), options, survey, document);

  MemberWriter commands(document.openMember("commands"), '[', ']', 2);
  ListingReader reader(stream, {.equalCommands = !options.all, .bands = false});
  while (const auto entry = reader.next()) {
    commands.member(entryJson(*entry, scale));
    if (!commands.good()) return;
  }
  commands.end();

  MemberWriter pages(document.openMember("pages"), '[', ']', 2);
  if (!survey.isRecord)
    (void)surveyStream(stream, options.printer, [&](const PageSummary& page) {
      pages.member(pageJson(page, options.printer));
    });
  pages.end();

  document.member("totals", totalsJson(survey, options.printer));
  writeWarnings(survey, document);
  document.member("status", survey.isClean() ? kExitDone : kExitFindings);
  document.end();
  out << '\n';
}
