// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/test_page/test_page_command.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "tools/drav/engine/page_run.h"
#include "tools/drav/test_page/test_page.h"

namespace {

int run(const TestPageRequest& request) {
  TestPageFacts facts;
  std::string error;
  if (!makeTestPage(request, facts, error)) return failCommand(error);
  if (request.quiet) return kExitDone;
  printNotes(facts.notes);
  std::cout << request.out << ": " << facts.width << " x " << facts.height
            << " dots; print it with\n  lp -d QUEUE -o PageSize=" << facts.paper.name
            << " -o HalftoneType=None -o Brightness=0 " << request.out << "\n";
  return kExitDone;
}

}  // namespace

Command addTestPage(CLI::App& app) {
  const auto request = std::make_shared<TestPageRequest>();
  CLI::App* page = app.add_subcommand("test-page", "Write a page to set a printer up by");
  page->add_option("OUT", request->out,
                   "File to write: .pdf, or .ras for CUPS raster (default: drav-test-page.pdf)");
  addJobOptions(*page, request->job);
  page->add_flag("-q,--quiet", request->quiet, "Print nothing but errors");
  page->footer(
      "The page shows rulers, the right edge, a grey wedge in each halftone, the finest\n"
      "lines and a patch for the density.\n\n"
      "Examples:\n"
      "  drav test-page\n"
      "  drav test-page page.ras --ppd /etc/cups/ppd/counter.ppd\n");
  return {page, [request] { return run(*request); }};
}
