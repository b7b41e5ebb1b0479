// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/proof/proof.h"

#include <algorithm>
#include <deque>

#include "tools/drav/draw/text_strip.h"
#include "tools/drav/io/input_file.h"
#include "tools/drav/io/output_name.h"
#include "tools/drav/io/png_writer.h"

namespace {

constexpr double kMillimetresPerInch = 25.4;
constexpr uint64_t kMaxDotBytes = uint64_t{1} << 30U;  // of all pages together

struct NumberedPage {
  unsigned number = 0;
  DotPage dots;
};

double millimetres(uint32_t dots, uint32_t dotsPerInch) {
  return dotsPerInch == 0 ? 0 : dots * kMillimetresPerInch / dotsPerInch;
}

bool collectPages(const PageRequest& request, std::deque<NumberedPage>& pages, PageFacts& facts,
                  std::string& error) {
  uint64_t bytes = 0;
  const auto visitor = [&pages, &bytes](const PageVisit& visit, std::string& why) {
    NumberedPage page{visit.number, {}};
    if (!visit.engine.print("", page.dots, why)) return false;
    bytes += page.dots.dots.size();
    if (bytes > kMaxDotBytes) {
      why = "the pictures so far have " + std::to_string(kMaxDotBytes >> 20U) +
            " MiB, the most that is drawn; choose one with --page";
      return false;
    }
    pages.push_back(std::move(page));
    return true;
  };
  return runPages(request, visitor, facts, error);
}

PngNotes notesOf(const NumberedPage& page, const PageFacts& facts, const TextStrip& strip) {
  PngNotes notes;
  notes.dotsPerInchX = page.dots.dotsPerInchX;
  notes.dotsPerInchY = page.dots.dotsPerInchY;
  const bool exact = facts.approximation.empty();
  notes.texts = {{"Software", "drav " DRAV_VERSION},
                 {"Source", facts.title + ", page " + std::to_string(page.number)},
                 {"Drav-Driver", facts.driver},
                 {"Drav-Options", facts.options},
                 {"Drav-Accuracy", exact ? "exact" : "approximate: " + facts.approximation}};
  if (strip.rows != 0) notes.texts.emplace_back("Drav-Strip-Rows", std::to_string(strip.rows));
  return notes;
}

// The strip above a page that is not exact; without rows for one that is.
TextStrip stripOf(const DotPage& dots, const PageFacts& facts) {
  if (facts.approximation.empty()) return {};
  constexpr double kTextMillimetres = 3;
  const double perMillimetre =
      (dots.dotsPerInchY != 0 ? dots.dotsPerInchY : 203) / kMillimetresPerInch;
  return makeTextStrip({"APPROXIMATE: a print queue may send other dots", facts.approximation},
                       dots.width(), kTextMillimetres * perMillimetre);
}

bool writeRows(PngWriter& png, const std::vector<uint8_t>& dots, uint32_t bytesPerRow,
               std::string& error) {
  for (size_t at = 0; at < dots.size(); at += bytesPerRow)
    if (!png.writeRow(std::span(dots).subspan(at, bytesPerRow), error)) return false;
  return true;
}

bool writePicture(PngWriter& png, const std::string& path, const NumberedPage& page,
                  const PageFacts& facts, std::string& error) {
  const TextStrip strip = stripOf(page.dots, facts);
  return png.open(path, page.dots.width(), strip.rows + page.dots.rows, error,
                  notesOf(page, facts, strip)) &&
         writeRows(png, strip.dots, strip.bytesPerRow, error) &&
         writeRows(png, page.dots.dots, page.dots.bytesPerRow, error) && png.complete(error);
}

ProofPicture describe(const std::string& path, const NumberedPage& page) {
  const DotPage& dots = page.dots;
  return {path,
          page.number,
          dots.width(),
          dots.rows,
          millimetres(dots.width(), dots.dotsPerInchX),
          millimetres(dots.rows, dots.dotsPerInchY),
          static_cast<double>(countDots(dots)) / (static_cast<double>(dots.width()) * dots.rows)};
}

bool checkOutput(const std::string& path, const PageRequest& request, std::string& error) {
  const std::string ending = endingOf(path);
  if (ending.empty() || ending == ".png") return checkNotInput(path, request.input, error);
  error = printablePath(path) + ": a proof is a PNG, not a " + ending.substr(1);
  return false;
}

}  // namespace

bool makeProof(const PageRequest& request, const std::string& out,
               std::vector<ProofPicture>& pictures, PageFacts& facts, std::string& error) {
  const std::string path = out.empty() ? defaultOutputName(request.input, "-proof.png") : out;
  if (!checkOutput(path, request, error)) return false;
  std::deque<NumberedPage> pages;
  if (!collectPages(request, pages, facts, error)) return false;

  const bool several = pages.size() > 1;
  std::deque<PngWriter> writers;
  for (const NumberedPage& page : pages) {
    const std::string name =
        several ? insertBeforeEnding(path, std::string("-").append(std::to_string(page.number)))
                : path;
    if (!checkNotInput(name, request.input, error) ||
        !writePicture(writers.emplace_back(), name, page, facts, error))
      return false;
    pictures.push_back(describe(name, page));
  }
  return std::all_of(writers.begin(), writers.end(),
                     [&error](PngWriter& png) { return png.finish(error); });
}
