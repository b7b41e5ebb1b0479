// SPDX-License-Identifier: Apache-2.0
#include "filter/picture/run_picture_filter.h"

#include <cups/cups.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "common/log.h"
#include "common/scope_guard.h"
#include "documents/page_options.h"
#include "filter/picture/picture_paper.h"
#include "filter/print_job.h"
#include "filter/usage.h"

namespace {

using documents::GreyPage;
using documents::Note;
using documents::NoteKind;
using documents::Step;

void logNotes(const std::vector<Note>& notes) {
  for (const Note& note : notes) {
    const bool isLoss = note.kind == NoteKind::kCut || note.kind == NoteKind::kOptionIgnored;
    if (isLoss)
      dravLogCommon(kLogWarning, "Of the picture: %s.", note.text.c_str());
    else
      dravLogCommon(kLogInfo, "The picture: %s.", note.text.c_str());
  }
}

class JobOptions {
 public:
  explicit JobOptions(const char* text) : count_(cupsParseOptions(text, 0, &options_)) {}
  ~JobOptions() { cupsFreeOptions(count_, options_); }
  JobOptions(const JobOptions&) = delete;
  JobOptions& operator=(const JobOptions&) = delete;
  JobOptions(JobOptions&&) = delete;
  JobOptions& operator=(JobOptions&&) = delete;

  documents::PageWish wish(std::vector<Note>& notes) const {
    documents::PageWish wish;
    for (int i = 0; i < count_; ++i)
      (void)documents::takePageOption(options_[i].name, options_[i].value, wish, notes);
    return wish;
  }

  // What is asked for and cannot be done; null for nothing.
  const char* refused() const {
    const char* up = cupsGetOption("number-up", count_, options_);
    if (up != nullptr && std::atoi(up) != 1) return "number-up: print the picture as a PDF";
    const char* ranges = cupsGetOption("page-ranges", count_, options_);
    if (ranges != nullptr && !holdsFirst(ranges)) return "page-ranges: it has page 1 alone";
    return nullptr;
  }

 private:
  // "1-3,7", where either end of a range may be missing.
  static bool holdsFirst(const char* ranges) {
    for (const char* at = ranges; *at != '\0'; at += *at == ',' ? 1 : 0) {
      if (*at == '-' || std::strtol(at, nullptr, 10) == 1) return true;
      while (*at != '\0' && *at != ',') ++at;
    }
    return false;
  }

  cups_option_t* options_ = nullptr;
  int count_;
};

// The picture's page, with all its rows.
class PicturePage {
 public:
  PicturePage(const FilterEnvironment& environment, const PicturePaper& paper)
      : environment_(environment), paper_(paper) {}

  Outcome read(documents::GreyPages& pages) {
    std::string error;
    GreyPage page;
    const Step step = pages.nextPage(page, error);
    if (step == Step::end) return Outcome::ended;
    if (step == Step::failed) return fail(error);
    logNotes(page.notes);
    ++number_;
    if (!page.lost.empty())
      dravLogCommon(kLogWarning, "drav: page %d: %s", number_,
                    lostInkText(page.lost, paper_.paper.dpiX, paper_.paper.dpiY).c_str());
    header_ = picturePageHeader(paper_, page.height);
    const Outcome checked = checkPage(header_);
    if (checked != Outcome::proceed) return checked;
    pixels_.resize(size_t{page.width} * page.height);
    for (uint32_t y = 0; y < page.height; ++y) {
      const std::span<uint8_t> row(pixels_.data() + size_t{y} * page.width, page.width);
      if (!pages.nextRow(row, error)) return fail(error);
    }
    return Outcome::proceed;
  }

  Outcome print(PrintJob& job, int copies) {
    Outcome outcome = Outcome::proceed;
    for (int i = 0; i < copies && outcome == Outcome::proceed; ++i) {
      if (environment_.cancelRequested()) return Outcome::cancelled;
      outcome = job.startPage(header_);
      if (outcome == Outcome::proceed) outcome = job.printPage(pixels_.data());
    }
    return outcome;
  }

 private:
  Outcome fail(const std::string& error) const {
    if (environment_.cancelRequested()) return Outcome::cancelled;
    dravLogCommon(kLogError, "The document %s!", error.c_str());
    return Outcome::failed;
  }

  const FilterEnvironment& environment_;
  const PicturePaper& paper_;
  int number_ = 0;
  cups_page_header2_t header_ = {};
  std::vector<uint8_t> pixels_;
};

// Nothing goes out before the first page is there.
int printPages(const Settings& settings, documents::GreyPages& pages, const PicturePaper& paper,
               int copies, const FilterEnvironment& environment) {
  PicturePage page(environment, paper);
  Outcome outcome = page.read(pages);
  if (outcome != Outcome::proceed) return EXIT_FAILURE;
  PrintJob job(settings, environment);
  job.start();
  while (outcome == Outcome::proceed) {
    outcome = page.print(job, copies);
    if (outcome == Outcome::proceed) outcome = page.read(pages);
  }
  return job.finish(outcome);
}

// The document, which must be a picture. Null after one error line.
std::unique_ptr<documents::GreyPages> openPicture(int file, const documents::Paper& paper,
                                                  const documents::PageWish& wish,
                                                  const documents::World& world,
                                                  std::string& error) {
  std::unique_ptr<documents::GreyPages> pages;
  const documents::FileKind kind =
      file < 0 ? documents::FileKind::kEmpty : documents::kindOfFile(file);
  if (kind == documents::FileKind::kPdf || kind == documents::FileKind::kPostScript)
    error = std::string("is ") + documents::kindName(kind) + ", and no picture";
  else if (file >= 0)
    pages = documents::openGreyPages(file, paper, wish, world, error);
  if (!pages) dravLogCommon(kLogError, "The document %s!", error.c_str());
  return pages;
}

int runJob(int argc, char* const argv[], documents::World world,
           const FilterEnvironment& environment) {
  if (argc < 6 || argc > 7) {
    printUsage(argc > 0 ? argv[0] : nullptr);
    return EXIT_FAILURE;
  }
  const JobOptions options(argv[5]);
  if (const char* why = options.refused()) {
    dravLogCommon(kLogError, "A picture cannot be printed with %s!", why);
    return EXIT_FAILURE;
  }
  std::vector<Note> notes;
  const documents::PageWish wish = options.wish(notes);
  logNotes(notes);
  Settings settings;
  PicturePaper paper;
  const char* ppd = environment.ppdPath();
  if (!readSettings(ppd, argv[5], &settings, environment.clock) ||
      !readPicturePaper(ppd, argv[5], &paper))
    return EXIT_FAILURE;
  std::string error;
  const int file = documents::openInput(argc == 7 ? argv[6] : "-", error);
  const ScopeGuard closer([file] {
    if (file >= 0) ::close(file);
  });
  world.stopRequested = environment.cancelRequested;
  const auto pages = openPicture(file, paper.paper, wish, world, error);
  if (!pages) return EXIT_FAILURE;
  const int copies = std::clamp(std::atoi(argv[4]), 1, 9999);
  return printPages(settings, *pages, paper, copies, environment);
}

}  // namespace

int runPictureFilter(int argc, char* const argv[], documents::World world,
                     const FilterEnvironment& environment) {
  const LogScope log(environment.log);
  try {
    return runJob(argc, argv, std::move(world), environment);
  } catch (const std::bad_alloc&) {
    dravLogCommon(kLogCritical, "Out of memory!");
    return EXIT_FAILURE;
  }
}
