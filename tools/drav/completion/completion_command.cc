// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/completion/completion_command.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "tools/drav/completion/completion.h"
#include "tools/drav/completion/offered_words.h"
#include "tools/drav/driver/models.h"

namespace {

// The words of a check that names them: "TEXT:{bash,zsh,fish}".
std::vector<std::string> wordsOf(const std::string& typeName) {
  std::vector<std::string> words;
  const size_t open = typeName.find('{');
  const size_t close = typeName.find('}', open == std::string::npos ? 0 : open);
  if (open == std::string::npos || close == std::string::npos) return words;
  std::istringstream list(typeName.substr(open + 1, close - open - 1));
  for (std::string word; std::getline(list, word, ',');) {
    constexpr const char* kPlain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-.";
    if (word.empty() || word.find_first_not_of(kPlain) != std::string::npos) return {};
    words.push_back(word);
  }
  return words;
}

// Of our own models; a custom size is typed.
const std::vector<std::string>& paperNames() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> sizes = offeredWords("PageSize=");
    std::erase(sizes, "Custom");
    return sizes;
  }();
  return names;
}

CompletedValue valueOf(const CLI::Option& option) {
  CompletedValue value;
  if (option.get_items_expected_max() == 0) return value;
  value.words = wordsOf(option.get_type_name());
  if (option.check_lname("model"))
    for (const EmbeddedModel& model : embeddedModels()) value.words.emplace_back(model.name);
  if (option.check_lname("paper")) value.words = paperNames();
  if (option.get_name(true) == "QUEUE") {
    value.kind = CompletedValue::Kind::kQueue;
  } else if (option.get_type_name() == "NAME=VALUE") {
    value.kind = CompletedValue::Kind::kJobOption;
  } else {
    value.kind = value.words.empty() ? CompletedValue::Kind::kFile : CompletedValue::Kind::kWord;
  }
  return value;
}

std::vector<CompletedOption> optionsOf(const CLI::App& app) {
  std::vector<CompletedOption> options;
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_lnames().empty() && option->get_snames().empty()) continue;  // an argument
    if (option->get_group().empty()) continue;  // for the scripts alone
    CompletedOption completed;
    for (const std::string& name : option->get_lnames()) completed.names.push_back("--" + name);
    for (const std::string& name : option->get_snames())
      completed.names.push_back(std::string(1, '-') + name);
    completed.description = option->get_description();
    completed.value = valueOf(*option);
    options.push_back(completed);
  }
  return options;
}

CompletedProgram describe(const CLI::App& app) {
  CompletedProgram program;
  program.name = app.get_name();
  program.options = optionsOf(app);
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    CompletedCommand completed;
    completed.name = command->get_name();
    completed.description = command->get_description();
    completed.options = optionsOf(*command);
    completed.argument.kind = CompletedValue::Kind::kFile;
    for (const CLI::Option* option : command->get_options())
      if (option->get_positional()) completed.argument = valueOf(*option);
    program.commands.push_back(completed);
  }
  return program;
}

int run(const CLI::App& app, const std::string& shell, const std::string& kind) {
  if (!kind.empty()) {
    for (const std::string& word : offeredWords(kind)) std::cout << word << "\n";
    return kExitDone;
  }
  const CompletedProgram program = describe(app);
  if (shell == "bash") {
    std::cout << bashCompletion(program);
  } else if (shell == "zsh") {
    std::cout << zshCompletion(program);
  } else {
    std::cout << fishCompletion(program);
  }
  return kExitDone;
}

}  // namespace

Command addCompletion(CLI::App& app) {
  const auto shell = std::make_shared<std::string>();
  const auto kind = std::make_shared<std::string>();
  CLI::App* completion =
      app.add_subcommand("completion", "Print the script that completes commands in a shell");
  auto* shells = completion->add_option("SHELL", *shell, "bash, zsh or fish")
                     ->check(CLI::IsMember({"bash", "zsh", "fish"}));
  auto* words = completion->add_option("--words", *kind, "What the scripts ask for")->group("");
  shells->excludes(words);
  completion->footer(
      "Examples:\n"
      "  source <(drav completion bash)\n"
      "  drav completion zsh > ~/.zfunc/_drav\n"
      "  drav completion fish > ~/.config/fish/completions/drav.fish\n");
  return {completion, [&app, shell, kind] {
            if (shell->empty() && kind->empty()) return failCommand("SHELL is required");
            return run(app, *shell, *kind);
          }};
}
