// SPDX-License-Identifier: Apache-2.0
// Completions of the command line for shells, made from the option list that the
// program itself reads, so that they know what it knows.
#ifndef TOOLS_DRAV_COMPLETION_COMPLETION_H_
#define TOOLS_DRAV_COMPLETION_COMPLETION_H_

#include <string>
#include <vector>

// What an argument, or the value of an option, can be.
struct CompletedValue {
  enum class Kind { kNone, kFile, kQueue, kWord, kJobOption };
  Kind kind = Kind::kNone;
  std::vector<std::string> words;  // of kWord: plain ones, fit for any shell
};

struct CompletedOption {
  std::vector<std::string> names;  // with their hyphens
  std::string description;
  CompletedValue value;
};

struct CompletedCommand {
  std::string name;
  std::string description;
  std::vector<CompletedOption> options;
  CompletedValue argument;
};

struct CompletedProgram {
  std::string name;
  std::vector<CompletedOption> options;  // before the command
  std::vector<CompletedCommand> commands;
};

// A script for each shell. Queues and job options are asked from the program itself when
// they are wanted; their names are never taken for shell code.
// zsh: to be called _<program> in a folder of $fpath.
std::string bashCompletion(const CompletedProgram& program);
std::string zshCompletion(const CompletedProgram& program);
std::string fishCompletion(const CompletedProgram& program);

#endif  // TOOLS_DRAV_COMPLETION_COMPLETION_H_
