// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/proof/proof.h"

#include <algorithm>
#include <deque>

#include "tools/drav/draw/text_strip.h"
#include "tools/drav/engine/page_turn.h"
#include "tools/drav/html/html_file.h"
#include "tools/drav/html/html_proof.h"
#include "tools/drav/io/output_name.h"
#include "tools/drav/io/png_writer.h"
#include "tools/drav/io/text.h"
#include "tools/drav/job/paper_scale.h"
#include "tools/drav/proof/hatched_page.h"

namespace {

constexpr uint64_t kMaxDotBytes = uint64_t{1} << 30U;  // of all pages together

struct NumberedPage {
  unsigned number = 0;
  DotPage dots;
  std::vector<LostInk> lost;  // as it lies on the paper
  std::string lostText;
};

double millimetres(uint32_t dots, uint32_t dotsPerInch) {
  return dotsPerInch == 0 ? 0 : dots * kMillimetresPerInch / dotsPerInch;
}

// What a run collects before anything is written.
struct Collection {
  std::deque<NumberedPage> pages;
  uint64_t bytes = 0;
  std::vector<std::string> notes;
  std::optional<HtmlProof> html;
};

bool collectDots(const PageVisit& visit, Collection& all, std::string& error) {
  NumberedPage page{visit.number, {}, {}, visit.lostText};
  for (const LostInk& lost : visit.lost)
    page.lost.push_back(onPaper(lost, visit.page.header, turnOf(visit.driver)));
  if (!visit.engine.print("", page.dots, error)) return false;
  if (page.dots.rows == 0) {
    all.notes.push_back("page " + std::to_string(visit.number) +
                        " has no ink, so TrimPaper leaves nothing of it to print, and there is "
                        "no picture of it");
    return true;
  }
  all.bytes += page.dots.dots.size();
  if (all.bytes > kMaxDotBytes) {
    error = "the pictures so far have " + std::to_string(kMaxDotBytes >> 20U) +
            " MiB, the most that is drawn; choose one page with --page";
    return false;
  }
  all.pages.push_back(std::move(page));
  return true;
}

bool collectPages(const PageRequest& request, const ProofOutputs& outputs, Collection& all,
                  PageFacts& facts, std::string& error) {
  PageRequest pages = request;
  if (outputs.picture.empty()) pages.page = std::max(1U, pages.page);
  const auto visitor = [&outputs, &all](const PageVisit& visit, std::string& why) {
    if (!outputs.picture.empty() && !collectDots(visit, all, why)) return false;
    if (outputs.html.empty() || all.html) return true;
    return makeHtmlProof(visit, all.html.emplace(), why);
  };
  if (!runPages(pages, visitor, facts, error)) return false;
  facts.notes.insert(facts.notes.end(), all.notes.begin(), all.notes.end());
  if (outputs.picture.empty() || !all.pages.empty()) return true;
  error = facts.name + ": has no ink, so TrimPaper leaves nothing to print";
  return false;
}

PngNotes notesOf(const NumberedPage& page, const PageFacts& facts, const TextStrip& strip,
                 const HatchedPage& hatched) {
  PngNotes notes;
  notes.dotsPerInchX = page.dots.dotsPerInchX;
  notes.dotsPerInchY = page.dots.dotsPerInchY;
  notes.texts = {{"Software", "drav " DRAV_VERSION},
                 {"Source", facts.title + ", page " + std::to_string(page.number)},
                 {"Drav-Driver", facts.driver},
                 {"Drav-Options", facts.options},
                 {"Drav-Accuracy", accuracyText(facts, page.lostText)}};
  if (strip.rows != 0) notes.texts.emplace_back("Drav-Strip-Rows", std::to_string(strip.rows));
  if (!page.lost.empty()) notes.texts.emplace_back("Drav-Margins", hatched.margins.text());
  return notes;
}

// The strip above a page that is not exact; without rows for one that is.
TextStrip stripOf(const DotPage& dots, uint32_t width, const PageFacts& facts) {
  if (facts.approximation.empty()) return {};
  constexpr double kTextMillimetres = 3;
  const double perMillimetre =
      (dots.dotsPerInchY != 0 ? dots.dotsPerInchY : 203) / kMillimetresPerInch;
  return makeTextStrip({"APPROXIMATE: a print queue may send other dots", facts.approximation},
                       width, kTextMillimetres * perMillimetre);
}

bool writeRows(PngWriter& png, const std::vector<uint8_t>& dots, uint32_t bytesPerRow,
               std::string& error) {
  for (size_t at = 0; at < dots.size(); at += bytesPerRow)
    if (!png.writeRow(std::span(dots).subspan(at, bytesPerRow), error)) return false;
  return true;
}

bool writePicture(PngWriter& png, const std::string& path, const NumberedPage& page,
                  const PageFacts& facts, std::string& error) {
  const HatchedPage hatched = hatchLostInk(page.dots, page.lost);
  const TextStrip strip = stripOf(page.dots, hatched.width(), facts);
  return png.open(path, hatched.width(), strip.rows + hatched.rows, error,
                  notesOf(page, facts, strip, hatched)) &&
         writeRows(png, strip.dots, strip.bytesPerRow, error) &&
         writeRows(png, hatched.dots, hatched.bytesPerRow, error) && png.complete(error);
}

ProofPicture describe(const std::string& path, const NumberedPage& page) {
  const DotPage& dots = page.dots;
  return {path,
          page.number,
          dots.width(),
          dots.rows,
          millimetres(dots.width(), dots.dotsPerInchX),
          millimetres(dots.rows, dots.dotsPerInchY),
          millimetres(dots.pageRows - dots.rows, dots.dotsPerInchY),
          static_cast<double>(countDots(dots)) / (static_cast<double>(dots.width()) * dots.rows),
          page.lostText};
}

bool checkOutputs(const ProofOutputs& outputs, const PageRequest& request, std::string& error) {
  const std::string ending = endingOf(outputs.picture);
  if (!ending.empty() && ending != ".png") {
    error = printablePath(outputs.picture) + ": a proof is a PNG, not a " + ending.substr(1);
    return false;
  }
  const std::string page = endingOf(outputs.html);
  if (!outputs.html.empty() && page != ".html" && page != ".htm") {
    error = printablePath(outputs.html) + ": --html writes a file that ends in .html";
    return false;
  }
  return checkNotInput(outputs.picture, request.input, error) &&
         checkNotInput(outputs.html, request.input, error);
}

bool writePictures(const PageRequest& request, const std::string& path, const Collection& all,
                   ProofReport& report, std::deque<PngWriter>& writers, std::string& error) {
  const bool several = all.pages.size() > 1;
  for (const NumberedPage& page : all.pages) {
    const std::string name = several ? pageName(path, page.number, all.pages.back().number) : path;
    if (!checkNotInput(name, request.input, error) ||
        !writePicture(writers.emplace_back(), name, page, report.facts, error))
      return false;
    report.pictures.push_back(describe(name, page));
  }
  return true;
}

bool writePage(const std::string& path, const Collection& all, ProofReport& report,
               OutputFile& file, std::string& error) {
  if (!all.html) return true;
  report.html = {path, all.html->page, all.html->combinations, all.html->allCombinations,
                 all.html->lost};
  return writeHtmlFile(file, path, all.html->data, error);
}

}  // namespace

bool makeProof(const PageRequest& request, const ProofOutputs& outputs, ProofReport& report,
               std::string& error) {
  ProofOutputs names = outputs;
  if (names.picture.empty() && names.html.empty())
    names.picture = defaultOutputName(request.input, "-proof.png");
  if (!checkOutputs(names, request, error)) return false;
  Collection all;
  if (!collectPages(request, names, all, report.facts, error)) return false;

  std::deque<PngWriter> writers;
  OutputFile html;
  if (!writePictures(request, names.picture, all, report, writers, error) ||
      !writePage(names.html, all, report, html, error))
    return false;
  return std::all_of(writers.begin(), writers.end(),
                     [&error](PngWriter& png) { return png.finish(error); }) &&
         (!report.html || html.commit(error));
}
