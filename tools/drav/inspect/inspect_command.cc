// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/inspect/inspect_command.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tools/drav/inspect/inspect.h"
#include "tools/drav/io/input_file.h"
#include "tools/drav/job/printer_options.h"

namespace {

struct InspectArguments {
  std::string job;
  PrinterArguments printer;
  bool json = false;
  bool all = false;
};

int run(const InspectArguments& arguments) {
  InspectOptions options;
  options.name = arguments.job == "-" ? "standard input" : arguments.job;
  options.json = arguments.json;
  options.all = arguments.all;
  std::string error;
  if (!resolvePrinter(arguments.printer, options.printer, error)) return failCommand(error);
  std::vector<uint8_t> stream;
  if (!readInput(arguments.job, stream, error)) return failCommand(error);
  const int status = inspectStream(stream, options, std::cout, error);
  return status == kExitFailed ? failCommand(options.name + ": " + error) : status;
}

}  // namespace

Command addInspect(CLI::App& app) {
  const auto arguments = std::make_shared<InspectArguments>();
  CLI::App* inspect =
      app.add_subcommand("inspect", "Tell what is in a job: commands, paper, coverage, warnings");
  inspect->add_option("JOB", arguments->job, "Job stream or command record; - is standard input")
      ->required();
  inspect->add_flag("--json", arguments->json, "Write one JSON document");
  inspect->add_flag("--all", arguments->all, "List every command on a line of its own");
  addPrinterOptions(*inspect, arguments->printer);
  addPaperOption(*inspect, arguments->printer);
  inspect->footer(
      "Examples:\n"
      "  drav inspect job.bin\n"
      "  drav inspect --ppd stencil.ppd --json job.bin > job.json\n"
      "  drav inspect --model dravr802 --paper X80MMY200MM job.bin\n"
      "  nc -l -p 9100 | drav inspect -\n\n"
      "Exit status: 0 no warnings, 1 warnings, 2 not a job, or failure.\n");
  return {inspect, [arguments] { return run(*arguments); }};
}
