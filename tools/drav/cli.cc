// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/cli.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>
#include <string>

#include "tools/drav/input_file.h"
#include "tools/drav/render.h"

namespace {

int fail(const std::string& text) {
  (void)std::fprintf(stderr, "drav: %s\n", printablePath(text).c_str());
  return kExitFailed;
}

struct RenderArguments {
  std::string job;
  std::string out;
};

CLI::App* addRender(CLI::App& app, RenderArguments& arguments) {
  CLI::App* render = app.add_subcommand("render", "Draw the dots of a job as a picture");
  render->add_option("JOB", arguments.job, "Job stream or command record; - is standard input")
      ->required();
  render->add_option("OUT", arguments.out, "Picture to write: PNG, one pixel a dot")->required();
  render->footer(
      "Example:\n"
      "  PPD=stencil.ppd rastertodrav 1 me title 1 '' page.ras > job.bin\n"
      "  drav render job.bin job.png\n");
  return render;
}

int renderCommand(const RenderArguments& arguments) {
  RasterExtent extent;
  std::string error;
  if (!renderFile(arguments.job, arguments.out, extent, error)) return fail(error);
  std::cout << uint64_t{extent.bytesPerRow} * 8 << " x " << extent.rows << " dots, " << extent.bands
            << " bands\n";
  return std::cout.flush().good() ? kExitDone : fail("standard output cannot be written");
}

int runParsed(int argc, const char* const* argv) {
  CLI::App app("Looks at jobs of the Drav printer driver", "drav");
  app.set_version_flag("--version", "drav " DRAV_VERSION);
  app.require_subcommand(1);
  app.footer(
      "Example:\n"
      "  drav render job.bin job.png\n\n"
      "Exit status: 0 done, 1 findings, 2 bad input, failure or wrong usage.\n");
  RenderArguments renderArguments;
  const CLI::App* render = addRender(app, renderArguments);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::Success))
      return fail(std::string(error.what()) + " (drav --help tells more)");
    app.exit(error);  // help or version, on standard output
    return std::cout.flush().good() ? kExitDone : fail("standard output cannot be written");
  }

  if (render->parsed()) return renderCommand(renderArguments);
  return kExitDone;
}

}  // namespace

int runDrav(int argc, const char* const* argv) {
  try {
    return runParsed(argc, argv);
  } catch (const std::bad_alloc&) {
    return fail("out of memory");
  } catch (const std::exception& error) {
    return fail(error.what());
  }
}
