// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/document/placed_source.h"

#include <unistd.h>

#include <utility>

#include "common/log.h"
#include "documents/page_options.h"
#include "filter/picture/job_options.h"
#include "proof/memory_file.h"
#include "tools/drav/io/interruption.h"
#include "tools/drav/prepare/prepared_pages.h"

namespace {

bool readPaper(const DriverFile& driver, PicturePaper& paper, std::string& error) {
  MemoryFile log;
  const LogScope scope(log.get());
  if (readPicturePaper(driver.path().c_str(), driver.options().c_str(), &paper)) return true;
  error = "cannot be drawn: the driver file tells no size of the page, or no resolution";
  return false;
}

// The first of the job's options that places a page; empty for none.
std::string placingOption(const DriverFile& driver) {
  documents::PageWish wish;
  std::vector<documents::Note> notes;
  for (const auto& [name, value] : driver.parsedOptions())
    if (documents::takePageOption(name, value, wish, notes)) return name;
  return "";
}

}  // namespace

PlacedSource::~PlacedSource() {
  pages_.reset();
  if (file_ >= 0) ::close(file_);
}

bool PlacedSource::open(const std::string& path, const DriverFile& driver, const ArtWish& art,
                        std::function<void()> idle, std::string& error) {
  const JobOptions options(driver.options().c_str());
  choice_.emplace(options.count(), options.list(), "1");
  if (!readPaper(driver, paper_, error)) return false;
  file_ = documents::openInput(path, error);
  if (file_ < 0) return false;
  const bool isPicture = documents::isPicture(documents::kindOfFile(file_));
  if (const char* why =
          unsupportedOption(options.count(), options.list(), paper_.paper.roll, isPicture)) {
    error = std::string("cannot be printed with ") + why;
    return false;
  }
  for (const auto& [name, value] : driver.parsedOptions())
    documents::noteForeignOption(name, value, foreign_);
  documents::World world = documents::installedWorld();
  world.stopRequested = [idle = std::move(idle)] {
    if (idle) idle();
    return Interruption::requested();
  };
  return openPages(driver, art, world, error);
}

bool PlacedSource::openPages(const DriverFile& driver, const ArtWish& art,
                             const documents::World& world, std::string& error) {
  const documents::FileKind kind = documents::kindOfFile(file_);
  const bool isPicture = documents::isPicture(kind);
  subject_ = isPicture ? "the picture: " : "the page: ";
  isPrepared_ = !(art == ArtWish());
  if (!isPrepared_) {
    documents::Paper paper = paper_.paper;
    // A queue's converters lay such a page out for the sheet, and the head cuts it.
    const bool isLaidOut =
        kind == documents::FileKind::kPdf || kind == documents::FileKind::kPostScript;
    if (isLaidOut && !paper.roll) paper.right = paper_.statedRight;
    pages_ = documents::openGreyPages(file_, paper, driver.pageWish(), world, error);
    return pages_ != nullptr;
  }
  if (const std::string name = placingOption(driver); !name.empty()) {
    error = "cannot be prepared with -o " + name +
            ", which places a page that is not; leave it out (drav proof --help tells what to use)";
    return false;
  }
  auto prepared = openPreparedPages(file_, paper_.paper, art, world, error);
  if (prepared && driver.isMarked("StencilMirror", "True") != driver.isMarked("HalfTurn", "True"))
    prepared->setReversed();
  pages_ = std::move(prepared);
  return pages_ != nullptr;
}

// The next page that the job prints.
PageSource::Step PlacedSource::next(GreyPage& page, std::string& error) {
  documents::GreyPage placed;
  do {
    const documents::Step step = pages_->nextPage(placed, error);
    if (step == documents::Step::failed) return Step::failed;
    if (step == documents::Step::end && hasGiven_) return Step::end;
    if (step == documents::Step::end) {
      error = "has no page of those that were asked for";
      return Step::failed;
    }
  } while (!choice_->has(++read_));
  hasGiven_ = true;
  page.header = picturePageHeader(paper_, placed.height);
  page.pixels.resize(size_t{placed.width} * placed.height);
  for (uint32_t y = 0; y < placed.height; ++y) {
    const size_t start = size_t{y} * placed.width;
    if (!pages_->nextRow(std::span(page.pixels).subspan(start, placed.width), error))
      return Step::failed;
  }
  page.lost = placed.lost;
  page.lostIsAll = isPrepared_;
  page.notes.clear();
  for (const auto& notes : {std::exchange(foreign_, {}), placed.notes})
    for (const documents::Note& note : notes) page.notes.push_back(subject_ + note.text);
  return Step::page;
}
