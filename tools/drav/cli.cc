// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/cli.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "tools/drav/completion/completion_command.h"
#include "tools/drav/doctor/doctor_command.h"
#include "tools/drav/inspect/inspect_command.h"
#include "tools/drav/io/nearest_word.h"
#include "tools/drav/prepare/prepare_command.h"
#include "tools/drav/proof/proof_command.h"
#include "tools/drav/render/render_command.h"
#include "tools/drav/sheet/sheet_command.h"
#include "tools/drav/test_page/test_page_command.h"

namespace {

// What is wrong with the word that stands where a command should; empty for nothing.
std::string unknownWord(const CLI::App& app) {
  const std::vector<std::string> unread = app.remaining();
  if (!app.get_subcommands().empty() || unread.empty()) return "";
  if (unread.front().starts_with('-')) return "there is no option " + unread.front();
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
    names.push_back(command->get_name());
  const std::string nearest = nearestWord(unread.front(), names);
  return "there is no command " + unread.front() +
         (nearest.empty() ? "" : "; the nearest is " + nearest);
}

int runParsed(int argc, const char* const* argv) {
  CLI::App app("Looks at jobs of the Drav printer driver", "drav");
  app.set_version_flag("--version", "drav " DRAV_VERSION);
  app.require_subcommand(1);
  app.footer(
      "Examples:\n"
      "  drav proof drawing.pdf\n"
      "  drav sheet drawing.pdf\n"
      "  drav prepare photo.jpg --clean --width 120 -O stencil.pdf\n"
      "  drav inspect job.bin\n"
      "  drav render job.bin job.png\n"
      "  sudo drav doctor\n\n"
      "Exit status: 0 done, 1 findings, 2 bad input, failure or wrong usage.\n");
  // One line a command; help lists them in this order.
  const std::vector<Command> commands = {
      addProof(app),   addSheet(app),  addPrepare(app), addTestPage(app),
      addInspect(app), addRender(app), addDoctor(app),  addCompletion(app),
  };

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (const std::string unknown = unknownWord(app); !unknown.empty())
      return failCommand(unknown + " (drav --help tells more)");
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
