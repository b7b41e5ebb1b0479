// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/prepare/prepare.h"

#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <deque>
#include <numeric>

#include "common/log.h"
#include "common/scope_guard.h"
#include "documents/placing.h"
#include "filter/picture/picture_paper.h"
#include "proof/memory_file.h"
#include "tools/drav/io/interruption.h"
#include "tools/drav/io/output_file.h"
#include "tools/drav/io/output_name.h"
#include "tools/drav/io/text.h"
#include "tools/drav/prepare/page_store.h"
#include "tools/drav/prepare/prepared_pages.h"

namespace {

constexpr const char* kStandardStream = "-";

std::string nameOf(const std::string& input) {
  return input == kStandardStream ? "standard input" : printablePath(input);
}

// "6.8", rounded; not by printf, which writes a decimal comma in some locales. REQUIRES: at
// least 0.
std::string tenthsText(double value) {
  const auto tenths = std::llround(value * 10);
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10);
}

std::string millimetres(uint32_t width, uint32_t height, const documents::Paper& paper) {
  constexpr double kPerInch = documents::kMillimetresPerInch;
  return tenthsText(width * kPerInch / paper.dpiX) + " x " +
         tenthsText(height * kPerInch / paper.dpiY) + " mm";
}

class PrepareRun {
 public:
  PrepareRun(const PrepareRequest& request, PrepareReport& report, PageStore& store)
      : request_(request), report_(report), store_(store) {}

  bool run(PageFormat format, std::string& error) {
    if (!openPaper(error)) return false;
    const int file = documents::openInput(request_.input, error);
    if (file < 0) return blame(error);
    const ScopeGuard closer([file] { ::close(file); });
    documents::World world = documents::installedWorld();
    world.stopRequested = [] { return Interruption::requested(); };
    const auto pages = openPreparedPages(file, paper_.paper, request_.art, world, error);
    if (!pages) return blame(error);
    if (!store_.open(format, nameOf(request_.input), error)) return false;
    documents::GreyPage page;
    for (;;) {
      const documents::Step step = pages->nextPage(page, error);
      if (step == documents::Step::failed) return blame(error);
      if (step == documents::Step::end) return store_.end(error);
      if (!storePage(*pages, page, error)) return false;
    }
  }

  // A line for each page or sheet.
  const std::vector<std::string>& texts() const { return texts_; }

 private:
  bool blame(std::string& error) const {
    error = nameOf(request_.input) + ": " + error;
    return false;
  }

  bool openPaper(std::string& error) {
    if (!driver_.open(request_.job, request_.paper, error)) return false;
    MemoryFile log;
    const LogScope scope(log.get());
    if (readPicturePaper(driver_.path().c_str(), driver_.options().c_str(), &paper_)) return true;
    error = "the driver file tells no size of the paper, or no resolution";
    return false;
  }

  bool storePage(PreparedPages& pages, const documents::GreyPage& page, std::string& error) {
    const std::string number = "page " + std::to_string(pages.number()) + ": ";
    for (const documents::Note& note : page.notes) report_.notes.push_back(number + note.text);
    if (!page.lost.empty())
      report_.findings.push_back(number +
                                 lostInkText(page.lost, paper_.paper.dpiX, paper_.paper.dpiY));
    if (!store_.beginPage(paper_.paper, page.height, error)) return false;
    std::vector<uint8_t> row(page.width);
    uint64_t ink = 0;
    for (uint32_t y = 0; y < page.height; ++y) {
      if (!pages.nextRow(row, error)) return blame(error);
      ink = std::accumulate(row.begin(), row.end(), ink);
      if (!store_.writeRow(row, error)) return false;
    }
    constexpr double kPercent = 100.0 / 255;
    const double coverage =
        static_cast<double>(ink) * kPercent / (static_cast<double>(page.width) * page.height);
    const SheetPlan& plan = pages.plan();
    sheet_ = plan.sheets() == 1 || sheet_ == plan.sheets() ? 1 : sheet_ + 1;
    std::string text = number + millimetres(pages.artWidth(), pages.artHeight(), paper_.paper);
    if (plan.sheets() == 1)
      text += " on ";
    else
      text += ", sheet " + std::to_string(sheet_) + " of " + std::to_string(plan.sheets()) + " (" +
              std::to_string(plan.columns) + " x " + std::to_string(plan.rows) + "), ";
    texts_.push_back(text + paper_.sizeName + ", " + tenthsText(coverage) + " % ink");
    return true;
  }

  const PrepareRequest& request_;
  PrepareReport& report_;
  PageStore& store_;
  DriverFile driver_;
  PicturePaper paper_;
  uint32_t sheet_ = 0;
  std::vector<std::string> texts_;
};

bool writeStandardOutput(const PageStore& store, std::string& error) {
  if (store.copy(0, stdout, error) && std::fflush(stdout) == 0) return true;
  error = "standard output cannot be written" + (error.empty() ? "" : ": " + error);
  return false;
}

bool writeFiles(const PageStore& store, const std::string& out,
                const std::vector<std::string>& texts, PrepareReport& report, std::string& error) {
  std::deque<OutputFile> files;
  const auto count = static_cast<unsigned>(store.files());
  for (unsigned i = 0; i < count; ++i) {
    const std::string path = count == 1 ? out : pageName(out, i + 1, count);
    OutputFile& file = files.emplace_back();
    if (!file.open(path, error)) return false;
    if (!store.copy(i, file.stream(), error)) {
      error.insert(0, printablePath(path) + ": ");
      return false;
    }
    if (!file.complete(error)) return false;
    if (count > 1) report.files.push_back({path, texts[i]});
  }
  for (OutputFile& file : files)
    if (!file.commit(error)) return false;
  if (count == 1)
    for (const std::string& text : texts) report.files.push_back({out, text});
  return true;
}

bool chooseOutput(const PrepareRequest& request, std::string& out, PageFormat& format,
                  std::string& error) {
  format = PageFormat::kPdf;
  out = request.out;
  if (out == kStandardStream) {
    if (::isatty(STDOUT_FILENO) == 0) return true;
    error = "standard output is a terminal; send the PDF to a pipe or a file";
    return false;
  }
  if (out.empty()) out = defaultOutputName(request.input, "-prepared.pdf");
  const std::string ending = endingOf(out);
  if (ending == ".png") {
    format = PageFormat::kPng;
  } else if (ending != ".pdf") {
    error = printablePath(out) +
            ": a prepared page is a PDF or a PNG; the name ends in .pdf or "
            ".png, or is -";
    return false;
  }
  return checkNotInput(out, request.input, error);
}

}  // namespace

bool preparePages(const PrepareRequest& request, PrepareReport& report, std::string& error) {
  std::string out;
  PageFormat format = PageFormat::kPdf;
  if (!chooseOutput(request, out, format, error)) return false;
  PageStore store;
  std::vector<std::string> texts;
  {
    const Interruption interruption;
    PrepareRun run(request, report, store);
    if (!run.run(format, error)) return false;
    texts = run.texts();
  }
  if (out == kStandardStream) return writeStandardOutput(store, error);
  return writeFiles(store, out, texts, report, error);
}
