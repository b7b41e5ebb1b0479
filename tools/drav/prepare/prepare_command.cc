// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/prepare/prepare_command.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <iostream>
#include <memory>

#include "tools/drav/driver/models.h"
#include "tools/drav/io/text.h"
#include "tools/drav/prepare/prepare.h"
#include "tools/drav/prepare/prepared_pages.h"

namespace {

struct PrepareArguments {
  PrepareRequest request;
  bool strict = false;
  bool quiet = false;
};

int run(const PrepareArguments& arguments) {
  PrepareReport report;
  std::string error;
  if (!preparePages(arguments.request, report, error)) return failCommand(error);
  if (!arguments.quiet) {
    for (const std::string& note : report.notes) printNote(note);
    for (const std::string& finding : report.findings)
      (void)std::fprintf(stderr, "drav: %s\n", printablePath(finding).c_str());
    for (const PreparedFile& file : report.files)
      std::cout << printablePath(file.path) << ": " << file.text << "\n";
  }
  return arguments.strict && !report.findings.empty() ? kExitFindings : kExitDone;
}

void addDriver(CLI::App& app, PrepareRequest& request) {
  auto* ppd = app.add_option("--ppd", request.job.ppdPath, "Driver file of the printer or queue")
                  ->type_name("FILE");
  app.add_option("--model", request.job.model,
                 "Built-in driver file: " + modelList() + "; the default is " + defaultModel().name)
      ->type_name("NAME")
      ->excludes(ppd);
  app.add_option("--paper", request.paper, "Paper, a choice of PageSize in the driver file")
      ->type_name("NAME");
}

}  // namespace

Command addPrepare(CLI::App& app) {
  const auto arguments = std::make_shared<PrepareArguments>();
  PrepareRequest& request = arguments->request;
  CLI::App* prepare = app.add_subcommand("prepare", "Make a page for the printer of a picture");
  prepare
      ->add_option("INPUT", request.input,
                   "PNG, JPEG, WebP, TIFF, GIF, HEIC, AVIF, SVG, BMP, portable map, PDF or "
                   "PostScript; - is standard input")
      ->required();
  addArtOptions(*prepare, request.art);
  addDriver(*prepare, request);
  prepare->add_option("--page", request.art.page, "Only this page of a document, counted from 1")
      ->type_name("N")
      ->check(CLI::Range(1U, 1'000'000U));
  prepare
      ->add_option("-O,--output", request.out,
                   "File to write: .pdf, or .png, of which several pages become OUT-1.png and so "
                   "on; - is a PDF on standard output (default: INPUT-prepared.pdf in the current "
                   "folder)")
      ->type_name("OUT");
  prepare->add_flag("--strict", arguments->strict, "End with status 1 when ink is lost");
  prepare->add_flag("-q,--quiet", arguments->quiet, "Print nothing but errors");
  prepare->footer(
      "Examples:\n"
      "  drav prepare photo.jpg --clean --width 120 --mirror -O stencil.pdf\n"
      "  drav prepare flash.png --width 500 --tile --overlap 10 -O tiles.pdf\n"
      "  drav prepare colour.png --lines -O outline.png\n"
      "  drav prepare photo.jpg --clean -O - | lp -d QUEUE\n");
  return {prepare, [arguments] { return run(*arguments); }};
}
