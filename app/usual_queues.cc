// SPDX-License-Identifier: Apache-2.0
#include "app/usual_queues.h"

#include <sstream>
#include <string_view>

#include "filter/driver_table.h"

namespace app {
namespace {

constexpr std::string_view kUsual = "queues=usual";

struct UsualQueue {
  const char* use;  // behind the name, where a model has several
  const char* option;
};

constexpr UsualQueue kStencilQueues[] = {{"lines", "halftone-type=tattoo"},
                                         {"shading", "halftone-type=tattoo-x8"}};
constexpr UsualQueue kReceiptQueues[] = {{"", "trim-paper=end"}};

// The parts of an "add" command that count here.
struct AddCommand {
  bool isUsual = false;
  std::string name;
  std::string model;
  CommandLine server;  // -h and -u, for all commands
  CommandLine rest;    // for "add" alone
};

void takeOptions(const std::string& text, AddCommand& add) {
  std::istringstream words(text);
  std::string kept;
  for (std::string word; words >> word;) {
    if (word == kUsual)
      add.isUsual = true;
    else
      kept += (kept.empty() ? "" : " ") + word;
  }
  if (!kept.empty()) add.rest.insert(add.rest.end(), {"-o", kept});
}

AddCommand parse(std::span<const char* const> arguments) {
  AddCommand add;
  for (size_t at = 0; at < arguments.size(); ++at) {
    const std::string_view argument = arguments[at];
    const bool isOption = argument.size() >= 2 && argument[0] == '-' &&
                          std::string_view("dhmouv").find(argument[1]) != std::string_view::npos;
    if (!isOption) {
      add.rest.emplace_back(argument);
      continue;
    }
    // Its value stands behind its letter, or in the next argument.
    std::string value(argument.substr(2));
    if (value.empty() && at + 1 < arguments.size()) value = arguments[++at];
    const std::string letter(argument.substr(0, 2));
    switch (letter[1]) {
      case 'd':
        add.name = value;
        break;
      case 'h':
      case 'u':
        add.server.insert(add.server.end(), {letter, value});
        break;
      case 'o':
        takeOptions(value, add);
        break;
      default:
        if (letter == "-m") add.model = value;
        add.rest.insert(add.rest.end(), {letter, value});
    }
  }
  return add;
}

CommandLine commandLine(const char* program, const char* command, const AddCommand& add,
                        const CommandLine& more, const std::string& name) {
  CommandLine line = {program, command};
  line.insert(line.end(), add.server.begin(), add.server.end());
  line.insert(line.end(), more.begin(), more.end());
  line.insert(line.end(), {"-d", name});
  return line;
}

}  // namespace

std::vector<CommandLine> usualQueues(std::span<const char* const> arguments, std::string& error) {
  if (arguments.size() < 2 || std::string_view(arguments[1]) != "add") return {};
  const AddCommand add = parse(arguments.subspan(2));
  if (!add.isUsual) return {};
  const PrinterModel* model = findPrinterModel(add.model);
  if (model == nullptr) {
    error = "queues=usual needs -m and one of the models that \"drav-printer-app drivers\" lists";
    return {};
  }
  const bool isStencil = model->hasFrame;
  std::vector<CommandLine> commands;
  const auto addQueue = [&](const UsualQueue& queue) {
    std::string name = add.name;
    if (name.empty()) name = isStencil ? "Stencil" : "Receipt";
    if (*queue.use != '\0') name += std::string(" ") + queue.use;
    commands.push_back(commandLine(arguments[0], "add", add, add.rest, name));
    commands.push_back(commandLine(arguments[0], "modify", add, {"-o", queue.option}, name));
  };
  if (isStencil)
    for (const UsualQueue& queue : kStencilQueues) addQueue(queue);
  else
    for (const UsualQueue& queue : kReceiptQueues) addQueue(queue);
  return commands;
}

}  // namespace app
