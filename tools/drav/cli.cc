// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/cli.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "tools/drav/inspect/inspect_command.h"
#include "tools/drav/render/render_command.h"

namespace {

int runParsed(int argc, const char* const* argv) {
  CLI::App app("Looks at jobs of the Drav printer driver", "drav");
  app.set_version_flag("--version", "drav " DRAV_VERSION);
  app.require_subcommand(1);
  app.footer(
      "Examples:\n"
      "  drav render job.bin job.png\n"
      "  drav inspect job.bin\n\n"
      "Exit status: 0 done, 1 findings, 2 bad input, failure or wrong usage.\n");
  // One line a command; help lists them in this order.
  const std::vector<Command> commands = {
      addRender(app),
      addInspect(app),
  };

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::Success))
      return failCommand(std::string(error.what()) + " (drav --help tells more)");
    app.exit(error);  // help or version, on standard output
    return endCommand(kExitDone);
  }

  for (const Command& command : commands)
    if (command.app->parsed()) return endCommand(command.run());
  return kExitDone;
}

}  // namespace

int runDrav(int argc, const char* const* argv) {
  try {
    return runParsed(argc, argv);
  } catch (const std::bad_alloc&) {
    return failCommand("out of memory");
  } catch (const std::exception& error) {
    return failCommand(error.what());
  }
}
