// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/engine/page_run.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "tools/drav/command.h"
#include "tools/drav/document/document.h"
#include "tools/drav/driver/models.h"
#include "tools/drav/engine/page_turn.h"
#include "tools/drav/io/interruption.h"
#include "tools/drav/io/text.h"
#include "tools/drav/prepare/prepared_pages.h"

namespace {

// What decides over the picture, whether it was given or is the driver's default, then
// what else was given.
std::string optionsOf(const DriverFile& driver) {
  std::string text;
  const auto add = [&text](const std::string& name, const std::string& value) {
    text += (text.empty() ? "" : " ") + name + "=" + value;
  };
  for (const char* name : {"PageSize", "HalftoneType", "Brightness"})
    if (const std::string value = driver.current(name).name; !value.empty()) add(name, value);
  for (const auto& [name, neutral] : kNeutralChoices)
    if (const std::string value = driver.current(name).name; !value.empty() && value != neutral)
      add(name, value);
  for (const std::string& given : driver.givenOptions()) {
    const std::string name = given.substr(0, given.find('='));
    if (driver.current(name).name.empty() ||
        (" " + text).find(" " + name + "=") == std::string::npos)
      text += " " + given;
  }
  return text;
}

std::string pageText(unsigned number) { return "page " + std::to_string(number); }

class PageRun {
 public:
  PageRun(const PageRequest& request, PageFacts& facts)
      : request_(request), facts_(facts), progress_(request.quiet), document_(driver_) {}

  bool run(const PageVisitor& visitor, std::string& error) {
    if (!driver_.open(request_.job, request_.paper, error)) return false;
    facts_.driver = driver_.title();
    facts_.options = optionsOf(driver_);
    progress_.show(0, 0, "reading " + printablePath(request_.input));
    document_.setIdle([this] { progress_.tick(); });
    if (request_.approximate) document_.setApproximate();
    document_.setArt(request_.art);
    if (!document_.open(request_.input, error)) return false;
    facts_.name = document_.name();
    facts_.title = document_.title();
    return visitAll(visitor, error);
  }

 private:
  bool visitAll(const PageVisitor& visitor, std::string& error) {
    GreyPage page;
    unsigned number = 0;
    for (;;) {
      const PageSource::Step step = document_.next(page, error);
      if (step == PageSource::Step::failed) return false;
      if (step == PageSource::Step::end) break;
      ++number;
      if (request_.page != 0 && number != request_.page) continue;
      if (!visitOne(visitor, page, number, error)) return false;
      if (number == request_.page) break;
    }
    gatherNotes();
    facts_.notes.insert(facts_.notes.end(), pageNotes_.begin(), pageNotes_.end());
    if (number != 0 && number >= request_.page) return true;
    error = facts_.name + ": has " + std::to_string(number) + (number == 1 ? " page" : " pages") +
            ", so there is no " + pageText(request_.page);
    return false;
  }

  bool visitOne(const PageVisitor& visitor, const GreyPage& page, unsigned number,
                std::string& error) {
    for (const std::string& note : page.notes) addPageNote(note);
    for (const std::string& note : pageNotes(page, driver_)) addPageNote(note);
    gatherNotes();
    const double share = document_.share();
    const uint64_t steps = share < 0 ? 0 : 1000;
    progress_.show(share < 0 ? 0 : static_cast<uint64_t>(share * 1000), steps, pageText(number));
    const std::vector<LostInk> lost = lostInkOf(page, driver_);
    std::string text;
    if (!lost.empty()) {
      text = lostInkText(lost, page.header.HWResolution[0], page.header.HWResolution[1]);
      facts_.losses.push_back(pageText(number) + ": " + text);
    }
    const std::function<bool(const ArtWish&, GreyPage&, std::string&)> readOtherwise =
        [this, number](const ArtWish& art, GreyPage& other, std::string& why) {
          return document_.readOtherwise(art, number, other, why);
        };
    PageEngine engine(driver_);
    if (engine.load(page, error) && visitor({number, page, engine, driver_, facts_, progress_,
                                             share, lost, text, request_.art, readOtherwise},
                                            error)) {
      if (engine.leftOutFrame()) addPageNote(kFrameLeftOut);
      return true;
    }
    error = facts_.name + ": " + pageText(number) + ": " + error;
    return false;
  }

  void gatherNotes() {
    facts_.approximation = document_.approximation();
    facts_.maker = document_.maker();
    facts_.notes = driver_.notes();
    facts_.notes.insert(facts_.notes.end(), document_.notes().begin(), document_.notes().end());
  }

  // What goes for several pages is told once.
  void addPageNote(const std::string& note) {
    if (std::find(pageNotes_.begin(), pageNotes_.end(), note) == pageNotes_.end())
      pageNotes_.push_back(note);
  }

  const PageRequest& request_;
  PageFacts& facts_;
  Progress progress_;
  DriverFile driver_;
  Document document_;
  std::vector<std::string> pageNotes_;
};

}  // namespace

void addJobOptions(CLI::App& app, JobChoice& job) {
  auto* ppd = app.add_option("--ppd", job.ppdPath, "Driver file of the printer or queue")
                  ->type_name("FILE");
  app.add_option("--model", job.model,
                 "Built-in driver file: " + modelList() + "; the default is " + defaultModel().name)
      ->type_name("NAME")
      ->excludes(ppd);
  app.add_option("-o", job.options, "Job option, as for lp; may be repeated")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
}

void addPageOptions(CLI::App& app, PageRequest& request) {
  app.add_option("INPUT", request.input,
                 "PDF, PostScript, text, CUPS or PWG raster, or a picture: PNG, JPEG, WebP, TIFF, "
                 "GIF, HEIC, AVIF, SVG, BMP, PBM, PGM, PPM; - is standard input")
      ->required();
  addJobOptions(app, request.job);
  app.add_option("--paper", request.paper,
                 "Paper, a choice of PageSize in the driver file; the same as -o PageSize=NAME")
      ->type_name("NAME");
  app.add_option("--page", request.page, "Show only this page, counted from 1")
      ->type_name("N")
      ->check(CLI::Range(1U, 1'000'000U));
  app.add_flag("--approximate", request.approximate, "Make the pages without CUPS's converters");
  app.add_flag("--strict", request.strict, "End with status 1 if ink is lost");
  app.add_flag("-q,--quiet", request.quiet, "Print nothing but errors");
  const size_t others = app.get_options().size();
  addArtOptions(app, request.art);
  const std::vector<CLI::Option*> options = app.get_options();
  for (size_t i = others; i < options.size(); ++i)
    options[i]->group("Before that, as drav prepare does");
}

std::string accuracyText(const PageFacts& facts, const std::string& lost) {
  std::string text = "exact";
  if (!facts.approximation.empty())
    text = "approximate: " + facts.approximation;
  else if (!facts.maker.empty())
    text += ", drawn by " + facts.maker;
  return lost.empty() ? text : text + "; " + lost;
}

bool runPages(const PageRequest& request, const PageVisitor& visitor, PageFacts& facts,
              std::string& error) {
  const Interruption interruption;
  return PageRun(request, facts).run(visitor, error);
}

void printNotes(const std::vector<std::string>& notes) {
  for (const std::string& note : notes) printNote(note);
}

void printNotes(const PageRequest& request, const PageFacts& facts) {
  if (request.quiet) return;
  printNotes(facts.notes);
  for (const std::string& loss : facts.losses) (void)failCommand(loss);
}

int exitStatus(const PageRequest& request, const PageFacts& facts) {
  return request.strict && !facts.losses.empty() ? kExitFindings : kExitDone;
}
