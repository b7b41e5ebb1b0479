// SPDX-License-Identifier: Apache-2.0
#include "filter/picture/run_picture_filter.h"

#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "common/log.h"
#include "common/scope_guard.h"
#include "documents/page_options.h"
#include "filter/picture/job_options.h"
#include "filter/picture/page_choice.h"
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

documents::PageWish wishOf(const JobOptions& options, std::vector<Note>& notes) {
  documents::PageWish wish;
  for (const cups_option_t& option : options)
    if (!documents::takePageOption(option.name, option.value, wish, notes))
      documents::noteForeignOption(option.name, option.value, notes);
  return wish;
}

// A page with all its rows.
class WholePage {
 public:
  WholePage(const FilterEnvironment& environment, const PicturePaper& paper)
      : environment_(environment), paper_(paper) {}

  // The next page that the job wants.
  Outcome read(documents::GreyPages& pages, const PageChoice& choice) {
    std::string error;
    GreyPage page;
    do {
      const Step step = pages.nextPage(page, error);
      if (step == Step::end) return Outcome::ended;
      if (step == Step::failed) return fail(error);
    } while (!choice.has(++number_));
    logNotes(page.notes);
    if (!page.lost.empty())
      dravLogCommon(kLogWarning, "drav: page %d: %s", static_cast<int>(number_),
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

  void startAgain() { number_ = 0; }

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
  uint32_t number_ = 0;
  cups_page_header2_t header_ = {};
  std::vector<uint8_t> pixels_;
};

// The document as often as it is wanted from its beginning.
class Document {
 public:
  Document(int file, const PicturePaper& paper, const documents::PageWish& wish,
           const documents::World& world)
      : file_(file), paper_(paper), wish_(wish), world_(world) {}

  // Null after one error line.
  std::unique_ptr<documents::GreyPages> open() const {
    std::string error;
    std::unique_ptr<documents::GreyPages> pages;
    const documents::FileKind kind = documents::kindOfFile(file_);
    // For sheets the scheduler has converters that know more of them.
    if (!paper_.paper.roll &&
        (kind == documents::FileKind::kPdf || kind == documents::FileKind::kPostScript))
      error = std::string("is ") + documents::kindName(kind) + ", which is printed on rolls alone";
    else
      pages = documents::openGreyPages(file_, paper_.paper, wish_, world_, error);
    if (!pages) dravLogCommon(kLogError, "The document %s!", error.c_str());
    return pages;
  }

 private:
  int file_;
  const PicturePaper& paper_;
  const documents::PageWish& wish_;
  const documents::World& world_;
};

// Nothing goes out before the first page is there.
int printPages(const Settings& settings, const Document& document, const PicturePaper& paper,
               const PageChoice& choice, const FilterEnvironment& environment) {
  std::unique_ptr<documents::GreyPages> pages = document.open();
  if (!pages) return EXIT_FAILURE;
  WholePage page(environment, paper);
  Outcome outcome = page.read(*pages, choice);
  if (outcome == Outcome::ended)
    dravLogCommon(kLogError, "The document has no page of those that were asked for!");
  if (outcome != Outcome::proceed) return EXIT_FAILURE;
  PrintJob job(settings, environment);
  job.start();
  for (int round = 1; outcome == Outcome::proceed; ++round) {
    while (outcome == Outcome::proceed) {
      outcome = page.print(job, choice.copiesOfPage());
      if (outcome == Outcome::proceed) outcome = page.read(*pages, choice);
    }
    if (outcome != Outcome::ended || round == choice.rounds()) break;
    pages = document.open();
    page.startAgain();
    outcome = pages ? page.read(*pages, choice) : Outcome::failed;
  }
  return job.finish(outcome);
}

int runJob(int argc, char* const argv[], documents::World world,
           const FilterEnvironment& environment) {
  if (argc < 6 || argc > 7) {
    printUsage(argc > 0 ? argv[0] : nullptr);
    return EXIT_FAILURE;
  }
  const JobOptions options(argv[5]);
  std::vector<Note> notes;
  const documents::PageWish wish = wishOf(options, notes);
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
  if (file < 0) {
    dravLogCommon(kLogError, "The document %s!", error.c_str());
    return EXIT_FAILURE;
  }
  const bool isPicture = documents::isPicture(documents::kindOfFile(file));
  if (const char* why =
          unsupportedOption(options.count(), options.list(), paper.paper.roll, isPicture)) {
    dravLogCommon(kLogError, "The document cannot be printed with %s!", why);
    return EXIT_FAILURE;
  }
  return printPages(settings, Document(file, paper, wish, world), paper,
                    PageChoice(options.count(), options.list(), argv[4]), environment);
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
