// SPDX-License-Identifier: Apache-2.0
#include "app/web/page_proof.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <new>
#include <span>
#include <utility>

#include "documents/placing.h"
#include "filter/print_job.h"
#include "proof/area_average.h"
#include "proof/art_layout.h"
#include "proof/art_picture.h"
#include "proof/lost_ink.h"
#include "proof/memory_file.h"
#include "proof/png_encoder.h"

namespace app {
namespace {

using documents::Step;

ArtWish artOf(const PageWanted& wanted, const documents::Paper& paper) {
  ArtWish art = wanted.art;
  if (!wanted.fillsPaper) return art;
  const Area reach = reachOf(paper);
  const auto millimetres = [](uint32_t dots, uint32_t dpi) {
    return dots * documents::kMillimetresPerInch / dpi;
  };
  art.width = millimetres(reach.width, paper.dpiX);
  art.height = paper.roll ? 0 : millimetres(reach.height, paper.dpiY);
  return art;
}

// Goes to the page of the document that is wanted.
bool findPage(documents::GreyPages& pages, unsigned number, documents::GreyPage& page,
              std::string& error) {
  for (unsigned at = 1;; ++at) {
    const Step step = pages.nextPage(page, error);
    if (step == Step::failed) return false;
    if (step == Step::end) {
      error = "has no page " + std::to_string(number);
      return false;
    }
    if (at == number) return true;
  }
}

void layOut(const ArtPicture& art, const ArtPlace& place, const documents::Paper& paper,
            PreparedPage& page) {
  const size_t width = paper.width;
  page.pixels.assign(width * place.pageHeight, 0);
  const int64_t left = std::max<int64_t>(paper.left, place.x);
  const int64_t right = std::min<int64_t>(int64_t{paper.width} - paper.right, place.x + art.width);
  const int64_t top = std::max<int64_t>(paper.top, place.y);
  const int64_t bottom =
      std::min<int64_t>(int64_t{place.pageHeight} - paper.bottom, place.y + art.height);
  for (int64_t y = top; y < bottom && left < right; ++y) {
    const uint8_t* from = &art.ink[static_cast<size_t>(y - place.y) * art.width +
                                   static_cast<size_t>(left - place.x)];
    std::copy(from, from + (right - left),
              page.pixels.begin() + static_cast<std::ptrdiff_t>(y * paper.width + left));
  }
}

std::string png(PngKind kind, std::span<const uint8_t> rows, uint32_t bytesPerRow, uint32_t width,
                uint32_t height, std::string& error) {
  MemoryFile file;
  PngEncoder encoder;
  if (!encoder.begin(file.get(), kind, width, height, error, {}, PngEffort::kQuick)) return "";
  for (uint32_t y = 0; y < height; ++y)
    if (!encoder.writeRow(rows.subspan(size_t{y} * bytesPerRow, bytesPerRow), error)) return "";
  if (!encoder.end(error)) return "";
  return std::string(file.text());
}

}  // namespace

bool PageWanted::operator==(const PageWanted& other) const {
  const auto same = [](const ArtWish& one, const ArtWish& two) {
    return one.width == two.width && one.turn == two.turn && one.clean == two.clean &&
           one.lines == two.lines && one.page == two.page;
  };
  return model == other.model && medium.width == other.medium.width &&
         medium.length == other.medium.length && medium.paper == other.medium.paper &&
         length == other.length && fillsPaper == other.fillsPaper && same(art, other.art);
}

bool preparePage(int file, const PageWanted& wanted, const documents::World& world,
                 PreparedPage& page, std::string& error) {
  PicturePaper paper = picturePaper(*wanted.model, wanted.medium);
  if (wanted.length != 0) {
    paper.paper.roll = false;
    paper.paper.height = dotsOfMillimetres(wanted.length / 100.0, paper.paper.dpiY);
  }
  const ArtWish wish = artOf(wanted, paper.paper);
  const ArtRequest request = artRequest(wish, paper.paper);
  const auto pages = documents::openGreyPages(file, request.box, request.wish, world, error);
  documents::GreyPage source;
  ArtPicture art;
  if (!pages || !findPage(*pages, std::max(1U, wish.page), source, error) ||
      !readArt(*pages, source, wish, paper.paper, art, error))
    return false;
  const ArtPlace place = placeArt(wish, paper.paper, art.width, art.height);
  if (place.pageHeight > kMostProofRows ||
      uint64_t{paper.paper.width} * place.pageHeight > kMostProofDots) {
    error = "is larger than a browser draws well";
    return false;
  }
  page = {};
  page.header = picturePageHeader(paper, place.pageHeight);
  page.reach = paper.paper.width - paper.paper.right;
  page.artWidth = art.width;
  page.artHeight = art.height;
  page.notes = std::move(source.notes);
  page.lost = lostInk(art, place, paper.paper);
  layOut(art, place, paper.paper, page);
  return true;
}

bool proofOf(const PreparedPage& page, const Settings& settings,
             const std::function<bool()>& giveUp, Proof& proof, std::string& error) {
  const cups_page_header2_t& header = page.header;
  MemoryFile stream;
  MemoryFile log;
  if (stream.get() == nullptr || log.get() == nullptr) throw std::bad_alloc();
  FilterEnvironment environment;
  environment.standardInput = -1;
  environment.standardOutput = stream.get();
  environment.log = log.get();
  environment.ppdPath = [] { return static_cast<const char*>(nullptr); };
  environment.dumpFolder.clear();
  environment.keepRecord = false;
  environment.cancelRequested = giveUp;
  environment.awaitCancel = [] {};
  PrintJob job(settings, environment);
  job.start();
  Outcome outcome = job.startPage(header);
  if (outcome == Outcome::proceed) outcome = job.printPage(page.pixels.data());
  if (job.finish(outcome == Outcome::proceed ? Outcome::ended : outcome) != EXIT_SUCCESS) {
    error = complaintOf(log.text());
    return false;
  }
  proof.leftOutFrame = saysFrameLeftOut(log.text());
  return readDots(stream.bytes(), log.text(), header, page.reach, proof.dots, error);
}

bool writeDocument(const PreparedPage& page, int file, std::string& error) {
  const uint32_t width = page.header.cupsWidth;
  const uint32_t height = page.header.cupsHeight;
  std::string bytes = "P5 " + std::to_string(page.reach) + " " + std::to_string(height) + " 255\n";
  const auto send = [&bytes, file] {
    for (size_t done = 0; done < bytes.size();) {
      const ssize_t put = ::write(file, bytes.data() + done, bytes.size() - done);
      if (put < 0 && errno == EINTR) continue;
      if (put <= 0) return false;
      done += static_cast<size_t>(put);
    }
    bytes.clear();
    return true;
  };
  constexpr size_t kPiece = size_t{1} << 16U;
  bool isWritten = true;
  for (uint32_t y = 0; y < height && isWritten; ++y) {
    const uint8_t* row = page.pixels.data() + size_t{y} * width;
    std::transform(row, row + page.reach, std::back_inserter(bytes),
                   [](uint8_t ink) { return static_cast<char>(255 - ink); });
    if (bytes.size() >= kPiece) isWritten = send();
  }
  if (isWritten && send()) return true;
  error = std::string("cannot be kept: ") + std::strerror(errno);
  return false;
}

std::string dotsPng(const DotPage& dots, std::string& error) {
  return png(PngKind::kDots, dots.dots, dots.bytesPerRow, dots.width(), dots.rows, error);
}

std::string pagePng(const PreparedPage& page, uint32_t shrink, std::string& error) {
  const uint32_t width = page.header.cupsWidth;
  const uint32_t height = page.header.cupsHeight;
  std::vector<uint8_t> levels(page.pixels.size());
  std::transform(page.pixels.begin(), page.pixels.end(), levels.begin(),
                 [](uint8_t ink) { return static_cast<uint8_t>(255 - ink); });
  if (shrink <= 1) return png(PngKind::kLevels, levels, width, width, height, error);
  const uint32_t toWidth = (width + shrink - 1) / shrink;
  const uint32_t toHeight = (height + shrink - 1) / shrink;
  const auto smaller = areaAverage(levels, width, height, toWidth, toHeight);
  return png(PngKind::kLevels, smaller, toWidth, toWidth, toHeight, error);
}

}  // namespace app
