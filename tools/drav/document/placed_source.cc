// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/document/placed_source.h"

#include <unistd.h>

#include <utility>

#include "common/log.h"
#include "proof/memory_file.h"
#include "tools/drav/io/interruption.h"

namespace {

bool readPaper(const DriverFile& driver, PicturePaper& paper, std::string& error) {
  MemoryFile log;
  const LogScope scope(log.get());
  if (readPicturePaper(driver.path().c_str(), driver.options().c_str(), &paper)) return true;
  error = "cannot be drawn: the driver file tells no size of the page, or no resolution";
  return false;
}

}  // namespace

PlacedSource::~PlacedSource() {
  pages_.reset();
  if (file_ >= 0) ::close(file_);
}

bool PlacedSource::open(const std::string& path, const DriverFile& driver,
                        std::function<void()> idle, std::string& error) {
  if (!readPaper(driver, paper_, error)) return false;
  file_ = documents::openInput(path, error);
  if (file_ < 0) return false;
  const bool isPicture = documents::isPicture(documents::kindOfFile(file_));
  subject_ = isPicture ? "the picture: " : "the page: ";
  documents::World world = documents::installedWorld();
  world.stopRequested = [idle = std::move(idle)] {
    if (idle) idle();
    return Interruption::requested();
  };
  pages_ = documents::openGreyPages(file_, paper_.paper, driver.pageWish(), world, error);
  return pages_ != nullptr;
}

PageSource::Step PlacedSource::next(GreyPage& page, std::string& error) {
  documents::GreyPage placed;
  const documents::Step step = pages_->nextPage(placed, error);
  if (step == documents::Step::end) return Step::end;
  if (step == documents::Step::failed) return Step::failed;
  page.header = picturePageHeader(paper_, placed.height);
  page.pixels.resize(size_t{placed.width} * placed.height);
  for (uint32_t y = 0; y < placed.height; ++y) {
    const size_t start = size_t{y} * placed.width;
    if (!pages_->nextRow(std::span(page.pixels).subspan(start, placed.width), error))
      return Step::failed;
  }
  page.lost = placed.lost;
  page.notes.clear();
  for (const documents::Note& note : placed.notes) page.notes.push_back(subject_ + note.text);
  return Step::page;
}
