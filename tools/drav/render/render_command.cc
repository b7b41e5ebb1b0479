// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/render/render_command.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>

#include "tools/drav/job/printer_options.h"
#include "tools/drav/render/render.h"

namespace {

struct RenderArguments {
  std::string job;
  std::string out;
  PrinterArguments printer;
  bool paper = false;
};

int run(const RenderArguments& arguments) {
  RenderOptions options;
  options.paper = arguments.paper;
  RenderExtent extent;
  std::string error;
  if (!resolvePrinter(arguments.printer, options.printer, error) ||
      !renderFile(arguments.job, arguments.out, options, extent, error))
    return failCommand(error);
  std::cout << uint64_t{extent.bytesPerRow} * 8 << " x " << extent.rows << " dots, " << extent.bands
            << " bands";
  if (options.paper)
    std::cout << ", " << fixedText(rowsToMillimetres(extent.rows, options.printer.scale), 1)
              << " mm of paper, cuts: " << extent.cuts << ", logos: " << extent.logos;
  std::cout << '\n';
  if (options.paper && options.printer.isAssumed) printNote(assumptionText(options.printer));
  if (extent.cut.empty()) return kExitDone;
  printNote("the job is cut off, and only its whole rows are drawn: " + extent.cut);
  return kExitFindings;
}

}  // namespace

Command addRender(CLI::App& app) {
  const auto arguments = std::make_shared<RenderArguments>();
  CLI::App* render = app.add_subcommand("render", "Draw the dots of a job as a picture");
  render->add_option("JOB", arguments->job, "Job stream or command record; - is standard input")
      ->required();
  render->add_option("OUT", arguments->out, "Picture to write: PNG, one pixel a dot")->required();
  render->add_flag("--paper", arguments->paper,
                   "Draw the whole paper: feeds, cuts (dashed), frames where logos go");
  addPrinterOptions(*render, arguments->printer);
  render->footer(
      "Examples:\n"
      "  PPD=stencil.ppd rastertodrav 1 me title 1 '' page.ras > job.bin\n"
      "  drav render job.bin job.png\n"
      "  drav render --paper --ppd stencil.ppd job.bin paper.png\n\n"
      "Exit status: 0 drawn, 1 the job is cut off and its whole rows were drawn, 2 failure.\n");
  return {render, [arguments] { return run(*arguments); }};
}
