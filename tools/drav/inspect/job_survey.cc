// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/inspect/job_survey.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "proof/job_stream.h"
#include "tools/drav/job/command_text.h"

namespace {

using namespace std::string_view_literals;

// How a job begins behind its padding; no picture holds this by chance.
constexpr std::string_view kJobStart = "\x1B@\x1F\x1B\x1F\x13\x14"sv;

// Share of the dots in percent, with an area of at least kSmallestAreaRows.
double heatOf(const Coverage& coverage, uint64_t rows) {
  if (rows == 0 || rows >= kSmallestAreaRows) return coverage.percent();
  return coverage.percent() * static_cast<double>(rows) / kSmallestAreaRows;
}

std::string percentText(double percent) { return fixedText(percent, 1) + " %"; }

// A band with its heat, to find the heaviest.
struct Hottest {
  std::optional<BandPlace> place;
  double heat = -1;

  void offer(const BandPlace& band, double bandHeat) {
    if (bandHeat <= heat) return;
    place = band;
    heat = bandHeat;
  }
};

class Surveyor {
 public:
  Surveyor(const PrinterFacts& printer, const std::function<void(const PageSummary&)>& onPage)
      : printer_(printer), onPage_(onPage) {}

  void take(const JobStreamItem& item);
  Survey finish(size_t size);

 private:
  void warn(WarningKind kind, size_t offset, std::string text);
  void takeCommand(const JobCommand& command);
  void takeDamage(const JobStreamItem& item);
  void takeFeed(uint64_t amount, uint64_t& total);
  void takeBand(const JobCommand& command);
  void checkWidth(const JobCommand& command);
  void checkInitialised(const JobCommand& command);
  void takeCut(const JobCommand& command);
  void searchJobStart(std::span<const uint8_t> band, size_t bandOffset);
  void endPage();
  void endJob();

  const PrinterFacts& printer_;
  const std::function<void(const PageSummary&)>& onPage_;
  Survey survey_;
  Hottest hottest_;
  std::string firstDamage_;
  uint64_t surveyedPages_ = 0;

  bool initialised_ = false;       // since the last job's end
  bool missesInitialise_ = false;  // and that was said
  bool printedSinceFeed_ = false;
  std::span<const uint8_t> lastBand_;  // empty when something else came after it
  size_t offset_ = 0;                  // of the item in hand

  PageSummary page_;
  Hottest pageHottest_;
  size_t jobOffset_ = 0;
  uint64_t jobRows_ = 0;
  Coverage jobCoverage_;
  uint32_t jobBytesPerRow_ = 0;  // of its last row
  bool pageExceedsHead_ = false;
};

void Surveyor::warn(WarningKind kind, size_t offset, std::string text) {
  if (survey_.warningCounts[static_cast<size_t>(kind)]++ < kMaxKeptWarnings)
    survey_.warnings.push_back({kind, offset, std::move(text)});
}

void Surveyor::take(const JobStreamItem& item) {
  if (item.command) {
    takeCommand(*item.command);
  } else {
    takeDamage(item);
  }
  offset_ += item.bytes.size();
}

void Surveyor::takeCommand(const JobCommand& command) {
  JobTotals& totals = survey_.totals;
  ++totals.commands;
  checkInitialised(command);
  if (command.kind != CommandKind::kRasterBand) lastBand_ = {};
  switch (command.kind) {
    case CommandKind::kFeedUnits:
      takeFeed(command.parameters[0], totals.feedUnits);
      break;
    case CommandKind::kFeedLines:
      takeFeed(command.parameters[0], totals.feedLines);
      break;
    case CommandKind::kLineFeed:
      takeFeed(1, totals.feedLines);
      break;
    case CommandKind::kRasterBand:
      takeBand(command);
      break;
    case CommandKind::kPartialCut:
    case CommandKind::kFullCut:
      takeCut(command);
      break;
    case CommandKind::kLogo:
      ++totals.logos;
      printedSinceFeed_ = true;
      break;
    case CommandKind::kDrawerPulse:
      ++totals.drawerPulses;
      break;
    case CommandKind::kBuzzer:
      ++totals.buzzers;
      break;
    case CommandKind::kStatusRequest:
      endJob();
      break;
    default:
      break;
  }
}

void Surveyor::takeFeed(uint64_t amount, uint64_t& total) {
  if (amount == 0) return;
  total += amount;
  endPage();
  printedSinceFeed_ = false;
}

// Opens a job where one begins: at ESC @, or without.
void Surveyor::checkInitialised(const JobCommand& command) {
  if (command.kind == CommandKind::kPadding) return;
  if (command.kind != CommandKind::kInitialise && (initialised_ || missesInitialise_)) return;
  endJob();
  ++survey_.totals.jobs;
  jobOffset_ = command.offset;
  initialised_ = command.kind == CommandKind::kInitialise;
  missesInitialise_ = !initialised_;
  if (missesInitialise_)
    warn(WarningKind::kNoInitialise, command.offset,
         std::string(commandName(command.kind)) +
             " comes before any ESC @: the job finds the printer as the last one left it");
}

void Surveyor::checkWidth(const JobCommand& command) {
  if (jobBytesPerRow_ != 0 && command.bytesPerRow != jobBytesPerRow_)
    warn(WarningKind::kRowWidthChanges, command.offset,
         "the row width changes from " + std::to_string(jobBytesPerRow_) + " to " +
             std::to_string(command.bytesPerRow) + " bytes" +
             (page_.bands > 0 ? " without a feed" : ""));
  jobBytesPerRow_ = command.bytesPerRow;
  if (!printer_.headBytes || command.bytesPerRow <= *printer_.headBytes || pageExceedsHead_) return;
  pageExceedsHead_ = true;
  warn(WarningKind::kRowExceedsHead, command.offset,
       "rows of " + std::to_string(command.bytesPerRow) + " bytes (" +
           std::to_string(uint64_t{command.bytesPerRow} * 8) + " dots) exceed the head of " +
           std::to_string(*printer_.headBytes) + " bytes (" +
           std::to_string(uint64_t{*printer_.headBytes} * 8) + " dots)");
}

void Surveyor::takeBand(const JobCommand& command) {
  checkWidth(command);
  JobTotals& totals = survey_.totals;
  if (page_.bands == 0) {
    page_.offset = command.offset;
    page_.number = ++surveyedPages_;
  }
  const Coverage coverage = coverageOf(command.data);
  const double heat = heatOf(coverage, command.rows);
  const BandPlace place{command.offset, page_.number, ++page_.bands, coverage};
  hottest_.offer(place, heat);
  pageHottest_.offer(place, heat);
  if (heat > kHeavyBandPercent) ++page_.heavyBands;
  page_.rows += command.rows;
  page_.bytesPerRow = std::max(page_.bytesPerRow, command.bytesPerRow);
  page_.coverage.add(coverage);
  jobRows_ += command.rows;
  jobCoverage_.add(coverage);
  totals.leastBytesPerRow = totals.bands == 0
                                ? command.bytesPerRow
                                : std::min(totals.leastBytesPerRow, command.bytesPerRow);
  totals.mostBytesPerRow = std::max(totals.mostBytesPerRow, command.bytesPerRow);
  ++totals.bands;
  totals.rows += command.rows;
  totals.coverage.add(coverage);
  printedSinceFeed_ = true;
  lastBand_ = command.bytes;
}

void Surveyor::takeCut(const JobCommand& command) {
  ++(command.kind == CommandKind::kFullCut ? survey_.totals.fullCuts : survey_.totals.partialCuts);
  endPage();
  if (printedSinceFeed_)
    warn(WarningKind::kCutWithoutFeed, command.offset,
         "no feed comes between print and cut: the cut goes through what was printed");
  printedSinceFeed_ = false;
}

void Surveyor::takeDamage(const JobStreamItem& item) {
  const JobStreamError& error = *item.error;
  if (firstDamage_.empty()) firstDamage_ = error.text;
  const size_t end = offset_ + item.bytes.size();
  switch (error.fault) {
    case JobStreamFault::kUnknownBytes:
      survey_.totals.skippedBytes += item.bytes.size();
      warn(WarningKind::kUnknownBytes, offset_,
           error.reason + ", skipped up to offset " + std::to_string(end));
      searchJobStart(lastBand_, offset_ - lastBand_.size());
      break;
    case JobStreamFault::kUnfinishedCommand:
      survey_.totals.skippedBytes += item.bytes.size();
      warn(WarningKind::kUnfinishedCommand, offset_, error.reason);
      break;
    case JobStreamFault::kUnfinishedBand:
      warn(WarningKind::kUnfinishedBand, offset_,
           error.reason + "; the printer will print the next " + std::to_string(error.missing) +
               " bytes that it gets as dots");
      searchJobStart(item.bytes, offset_);
      break;
  }
  lastBand_ = {};
}

void Surveyor::searchJobStart(std::span<const uint8_t> band, size_t bandOffset) {
  const auto found =
      std::search(band.begin(), band.end(), kJobStart.begin(), kJobStart.end(),
                  [](uint8_t byte, char wanted) { return byte == static_cast<uint8_t>(wanted); });
  if (found == band.end()) return;
  const size_t at = bandOffset + static_cast<size_t>(found - band.begin());
  warn(WarningKind::kJobInsideBand, bandOffset,
       "the band was cut short: it holds the start of another job, at offset " +
           std::to_string(at) + ", which prints as dots");
}

void Surveyor::endPage() {
  if (page_.bands != 0) {
    page_.heaviest = pageHottest_.place;
    const bool bandsAlone = survey_.totals.commands == survey_.totals.bands;
    const std::string pageName = bandsAlone ? "the record" : "page " + std::to_string(page_.number);
    if (page_.heavyBands > 0)
      warn(WarningKind::kHeavyBand, page_.heaviest->offset,
           std::to_string(page_.heavyBands) + " of " + std::to_string(page_.bands) + " bands of " +
               pageName + " above " + fixedText(kHeavyBandPercent, 0) + " % black, this one " +
               percentText(page_.heaviest->coverage.percent()));
    page_.savedRows = savedRows(page_.rows, printer_);
    survey_.totals.savedRows += page_.savedRows;
    if (page_.savedRows != 0) ++survey_.totals.shorterPages;
    if (onPage_) onPage_(page_);
  }
  page_ = {};
  pageHottest_ = {};
  pageExceedsHead_ = false;
}

void Surveyor::endJob() {
  endPage();
  if (heatOf(jobCoverage_, jobRows_) > kHeavyJobPercent)
    warn(WarningKind::kHeavyJob, jobOffset_,
         percentText(jobCoverage_.percent()) + " of all dots are black, more than " +
             fixedText(kHeavyJobPercent, 0) + " %");
  jobCoverage_ = {};
  jobRows_ = 0;
  jobBytesPerRow_ = 0;
  initialised_ = missesInitialise_ = false;
}

Survey Surveyor::finish(size_t size) {
  endJob();
  JobTotals& totals = survey_.totals;
  survey_.isRecord = totals.bands > 0 && totals.bands == totals.commands;
  totals.heaviest = hottest_.place;
  totals.pages = survey_.isRecord ? 0 : surveyedPages_;
  if (survey_.isRecord) {
    std::erase_if(survey_.warnings, [](const Warning& warning) {
      return warning.kind == WarningKind::kNoInitialise;
    });
    survey_.warningCounts[static_cast<size_t>(WarningKind::kNoInitialise)] = 0;
    totals.jobs = 0;
  }
  std::stable_sort(survey_.warnings.begin(), survey_.warnings.end(),
                   [](const Warning& a, const Warning& b) { return a.offset < b.offset; });
  if (size == 0) {
    survey_.unreadable = "empty, so it is not a job";
  } else if (totals.skippedBytes > size / 2) {
    survey_.unreadable =
        "not a job, " +
        percentText(100.0 * static_cast<double>(totals.skippedBytes) / static_cast<double>(size)) +
        " of its bytes belong to no command: " + firstDamage_;
  }
  return std::move(survey_);
}

}  // namespace

const char* warningKey(WarningKind kind) {
  constexpr std::array<const char*, kWarningKinds> kKeys = {
      "unknown-bytes",     "unfinished-command", "unfinished-band", "job-inside-band",
      "row-width-changes", "row-exceeds-head",   "no-initialise",   "cut-without-feed",
      "heavy-band",        "heavy-job"};
  return kKeys[static_cast<size_t>(kind)];
}

double feedMillimetres(const JobTotals& totals, const PaperScale& scale) {
  return kMillimetresPerInch * (static_cast<double>(totals.feedUnits) / scale.unitsPerInch +
                                static_cast<double>(totals.feedLines) / scale.linesPerInch);
}

Survey surveyStream(std::span<const uint8_t> stream, const PrinterFacts& printer,
                    const std::function<void(const PageSummary&)>& onPage) {
  Surveyor surveyor(printer, onPage);
  JobStreamReader reader(stream);
  while (const auto item = reader.nextItem()) surveyor.take(*item);
  return surveyor.finish(stream.size());
}
