// SPDX-License-Identifier: Apache-2.0
// A picture file through the reader in process, without its limits. The first two bytes say
// what is wanted of the page. What must hold: a refusal of one line, or facts that the other
// side believes, and as many bytes as the placing tells.
#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <string>

#include "documents/reader/picture.h"
#include "documents/reader_protocol.h"
#include "tests/fuzz/byte_feed.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
// What a decoder loses goes with the reader's process.
extern "C" int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off() { return 1; }

namespace {

using documents::FileKind;
using documents::PictureFacts;
using documents::Placing;

// Larger ones take their time, not new ways.
constexpr uint64_t kMostPixels = 200'000;
constexpr uint64_t kMostDrawn = 20'000'000;  // of a drawing that is turned, which is drawn whole

documents::Paper drawPaper(uint8_t choice) {
  documents::Paper paper;
  paper.dpiX = (choice & 1U) != 0 ? 203 : 300;
  paper.dpiY = (choice & 2U) != 0 ? 180 : 300;
  paper.width = (choice & 4U) != 0 ? 576 : 40;
  paper.height = (choice & 8U) != 0 ? 300 : 30;
  paper.roll = (choice & 16U) != 0;
  return paper;
}

documents::PageWish drawWish(uint8_t choice) {
  documents::PageWish wish;
  wish.scaling = static_cast<documents::PrintScaling>(choice % 5);
  wish.colour = (choice & 16U) != 0;
  if ((choice & 32U) != 0) wish.turn = static_cast<documents::Turn>(choice >> 6U);
  return wish;
}

void startOnce() {
  static const bool started = [] {
    constexpr std::array kKinds = {FileKind::kPng,  FileKind::kJpeg,     FileKind::kWebp,
                                   FileKind::kTiff, FileKind::kGif,      FileKind::kHeif,
                                   FileKind::kBmp,  FileKind::kPortable, FileKind::kSvg};
    documents::startVips("pictures", kKinds);
    return true;
  }();
  require(started, "libvips");
}

// An unnamed file that takes the rows.
int emptyFile() {
  static std::FILE* const file = std::tmpfile();
  require(file != nullptr, "a scratch file");
  const int descriptor = fileno(file);
  require(ftruncate(descriptor, 0) == 0 && lseek(descriptor, 0, SEEK_SET) == 0, "an empty file");
  return descriptor;
}

void checkPicture(FileKind kind, std::span<const uint8_t> file, const documents::Paper& paper,
                  const documents::PageWish& wish) {
  documents::Picture picture(kind, file, paper, kMostPixels);
  PictureFacts facts;
  require(documents::readFacts(documents::factsLine(picture.facts()), facts), "facts");
  const Placing placing = documents::placePicture(facts, paper, wish);
  const uint64_t bytes =
      uint64_t{placing.visibleWidth()} * placing.visibleHeight() * documents::channelsOf(wish);
  const bool isDrawnWhole = kind == FileKind::kSvg && placing.turn != documents::Turn::kNone;
  if (bytes == 0 || (isDrawnWhole && uint64_t{placing.width} * placing.height > kMostDrawn)) return;
  const int descriptor = emptyFile();
  picture.writeRows(placing, wish.colour, descriptor);
  require(static_cast<uint64_t>(lseek(descriptor, 0, SEEK_END)) == bytes, "all rows");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  startOnce();
  ByteFeed feed({data, size});
  const documents::Paper paper = drawPaper(feed.byte());
  const documents::PageWish wish = drawWish(feed.byte());
  const std::span<const uint8_t> file = feed.rest();
  const FileKind kind =
      documents::fileKind(file.first(std::min(file.size(), documents::kKindBytes)));
  if (!documents::isPicture(kind)) return 0;
  try {
    checkPicture(kind, file, paper, wish);
  } catch (const documents::Refusal& refusal) {
    const std::string line = refusal.what();
    require(!line.empty() && line.find('\n') == std::string::npos, "one line");
  }
  return 0;
}
