// SPDX-License-Identifier: Apache-2.0
// What every command that shows pages does: it reads the input, makes grey pages of it,
// and runs the filter on them.
#ifndef TOOLS_DRAV_ENGINE_PAGE_RUN_H_
#define TOOLS_DRAV_ENGINE_PAGE_RUN_H_

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "proof/art_wish.h"
#include "tools/drav/document/grey_page.h"
#include "tools/drav/driver/driver_file.h"
#include "tools/drav/engine/page_engine.h"
#include "tools/drav/io/progress.h"

namespace CLI {
class App;
}  // namespace CLI

// What the command line asks for.
struct PageRequest {
  std::string input;  // a path, or "-"
  JobChoice job;
  std::string paper;         // choice of PageSize; empty for that of the job
  ArtWish art;               // asks for nothing unless the pages are to be prepared
  unsigned page = 0;         // the only page wanted, from 1; 0 for all
  bool approximate = false;  // without CUPS's converters
  bool quiet = false;
  bool strict = false;  // ink that is lost is a finding
};

// Adds --ppd, --model and -o.
void addJobOptions(CLI::App& app, JobChoice& job);

// Adds INPUT and the options that fill a request: those of the job, --paper, --page,
// --approximate, --strict, --quiet, and those of art.
void addPageOptions(CLI::App& app, PageRequest& request);

// What is known of a run besides its pages.
struct PageFacts {
  std::string name;                // of the input, for people
  std::string title;               // the same without its folders
  std::string driver;              // of the driver file, for people
  std::string options;             // those that count for the picture, and those given
  std::string approximation;       // why the dots may differ from those of a queue; or empty
  std::string maker;               // who drew the pages, as of Document::maker()
  std::vector<std::string> notes;  // after the last page also those of the pages
  // "page 1: ink lost at the right: 6.8 mm, 1.3 % of the ink" for each page that loses some.
  std::vector<std::string> losses;
};

// "exact", "exact, drawn by CUPS's converters" or "approximate: ...", and what the page loses.
std::string accuracyText(const PageFacts& facts, const std::string& lost);

// A page, ready to be printed with any options.
struct PageVisit {
  unsigned number;  // from 1
  const GreyPage& page;
  PageEngine& engine;  // the page is loaded
  const DriverFile& driver;
  const PageFacts& facts;
  Progress& progress;
  double share;  // of the input, as of Document::share()
  const std::vector<LostInk>& lost;
  const std::string& lostText;  // the same in words; empty for none
  const ArtWish& art;           // as of PageRequest
  // The same page, prepared otherwise. False with one line in `error`.
  const std::function<bool(const ArtWish& art, GreyPage& page, std::string& error)>& readOtherwise;
};

// What the user should know if PageEngine::leftOutFrame().
inline constexpr const char* kFrameLeftOut =
    "the frame is larger than what prints of the page, so the page prints without it; choose a "
    "lower PaperFrame or another paper";

// Called for each page that is wanted. False with one line in `error` ends the run.
using PageVisitor = std::function<bool(const PageVisit& visit, std::string& error)>;

// Runs the request. False with one line in `error`, which names what is to blame. A
// signal ends the program from here, with nothing left behind, so write results only after
// this returns.
[[nodiscard]] bool runPages(const PageRequest& request, const PageVisitor& visitor,
                            PageFacts& facts, std::string& error);

// Prints notes, a line each, on standard error.
void printNotes(const std::vector<std::string>& notes);
// Prints the notes of a run and what its pages lose, a line each, on standard error, unless
// the request is quiet.
void printNotes(const PageRequest& request, const PageFacts& facts);

// What a command ends with that has done all of the request.
int exitStatus(const PageRequest& request, const PageFacts& facts);

#endif  // TOOLS_DRAV_ENGINE_PAGE_RUN_H_
