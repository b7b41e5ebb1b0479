// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/completion/completion.h"

#include "tools/drav/io/text.h"

namespace {

constexpr const char* kNotice = "# Made by the program itself; do not edit.\n";

// `text` with a backslash before each of `letters`.
std::string escaped(const std::string& text, const std::string& letters) {
  std::string result;
  for (const char letter : text) {
    if (letters.find(letter) != std::string::npos) result.push_back('\\');
    result.push_back(letter == '\n' ? ' ' : letter);
  }
  return result;
}

// The shell command that prints the words of this kind; `kind` is shell code.
std::string asked(const CompletedProgram& program, const std::string& kind) {
  return program.name + " completion --words " + kind + " 2>/dev/null";
}

void addWord(std::string& words, const std::string& word, const char* between) {
  if (!words.empty()) words.append(between);
  words.append(word);
}

std::string joined(const std::vector<std::string>& words, const char* between) {
  std::string text;
  for (const std::string& word : words) addWord(text, word, between);
  return text;
}

std::string optionNames(const std::vector<CompletedOption>& options) {
  std::string names;
  for (const CompletedOption& option : options) addWord(names, joined(option.names, " "), " ");
  return names;
}

std::string commandNames(const CompletedProgram& program, const char* between) {
  std::string names;
  for (const CompletedCommand& command : program.commands) addWord(names, command.name, between);
  return names;
}

// Statements that put what a value can be into the list `words`.
std::string bashWords(const CompletedProgram& program, const CompletedValue& value) {
  if (value.kind == CompletedValue::Kind::kQueue)
    return "mapfile -t words < <(" + asked(program, "queues") + ")";
  if (value.kind == CompletedValue::Kind::kJobOption)
    return "mapfile -t words < <(" + asked(program, "\"${name:-options}\"") +
           "); [[ $name ]] || compopt -o nospace 2>/dev/null";
  if (value.kind == CompletedValue::Kind::kWord) return "words=(" + joined(value.words, " ") + ")";
  return "return";  // files, by the default of bash
}

std::string bashCase(const CompletedProgram& program, const CompletedCommand& command) {
  std::string text = "    " + command.name + ")\n      case $previous in\n";
  for (const CompletedOption& option : command.options)
    if (option.value.kind != CompletedValue::Kind::kNone)
      text += "        " + joined(option.names, "|") + ") " + bashWords(program, option.value) +
              " ;;\n";
  text += "        *)\n          if [[ $current == -* ]]; then\n            words=(" +
          optionNames(command.options) + ")\n          else\n            " +
          bashWords(program, command.argument) +
          "\n          fi\n          ;;\n      esac\n      ;;\n";
  return text;
}

// The action of _arguments for a value.
std::string zshAction(const CompletedValue& value, const std::string& function) {
  if (value.kind == CompletedValue::Kind::kQueue) return ":queue:" + function + "_queues";
  if (value.kind == CompletedValue::Kind::kJobOption) return ":option:" + function + "_options";
  if (value.kind == CompletedValue::Kind::kWord) return ":word:(" + joined(value.words, " ") + ")";
  return ":file:_files";
}

// "*--root=[text]:value:_files" and the like.
std::string zshOption(const CompletedOption& option, const std::string& function) {
  const bool takesValue = option.value.kind != CompletedValue::Kind::kNone;
  std::string text;
  for (const std::string& name : option.names) {
    const bool isLong = name.rfind("--", 0) == 0;
    std::string entry(1, '*');
    entry += name;
    if (takesValue && isLong) entry += '=';
    entry += '[' + escaped(option.description, "[]\\") + ']';
    if (takesValue) entry += zshAction(option.value, function);
    text += " \\\n        " + shellWord(entry);
  }
  return text;
}

std::string zshOptions(const std::vector<CompletedOption>& options, const std::string& function) {
  std::string text;
  for (const CompletedOption& option : options) text += zshOption(option, function);
  return text;
}

std::string fishValue(const CompletedProgram& program, const CompletedValue& value) {
  if (value.kind == CompletedValue::Kind::kQueue)
    return " -f -a '(" + asked(program, "queues") + ")'";
  if (value.kind == CompletedValue::Kind::kJobOption)
    return " -f -a '(" + asked(program, "settings") + ")'";
  if (value.kind == CompletedValue::Kind::kWord) return " -f -a '" + joined(value.words, " ") + "'";
  return value.kind == CompletedValue::Kind::kFile ? " -F" : "";
}

std::string fishOption(const CompletedProgram& program, const std::string& start,
                       const CompletedOption& option) {
  std::string text = start;
  for (const std::string& name : option.names)
    text += name.rfind("--", 0) == 0 ? " -l " + name.substr(2) : " -s " + name.substr(1);
  if (option.value.kind != CompletedValue::Kind::kNone)
    text += " -r" + fishValue(program, option.value);
  return text + " -d '" + escaped(option.description, "'\\") + "'\n";
}

}  // namespace

std::string bashCompletion(const CompletedProgram& program) {
  const std::string function = "_" + program.name;
  std::string text =
      std::string("# shellcheck shell=bash\n") + kNotice + function +
      "() {\n"
      "  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}\n"
      "  local command='' word\n"
      "  local -a words=()\n"
      "  COMPREPLY=()\n"
      "  for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
      "    case $word in\n      " +
      commandNames(program, "|") +
      ")\n"
      "        command=$word\n"
      "        break\n"
      "        ;;\n"
      "    esac\n"
      "  done\n"
      "  # --option=value comes in three words, -o NAME=VALUE in four\n"
      "  local name='' before=0\n"
      "  if [[ $current == = ]]; then\n"
      "    current='' before=$((COMP_CWORD - 2))\n"
      "  elif [[ $previous == = ]]; then\n"
      "    previous=${COMP_WORDS[COMP_CWORD-2]} before=$((COMP_CWORD - 3))\n"
      "  fi\n"
      "  if ((before > 0)) && [[ ${COMP_WORDS[before]} == -o ]]; then\n"
      "    name=$previous= previous=-o\n"
      "  fi\n"
      "  case $command in\n";
  for (const CompletedCommand& command : program.commands) text += bashCase(program, command);
  text += "    *) words=(" + commandNames(program, " ") + " " + optionNames(program.options) +
          ") ;;\n  esac\n"
          "  for word in \"${words[@]}\"; do\n"
          "    printf -v word %q \"$word\"\n"
          "    [[ $word != \"$current\"* ]] || COMPREPLY+=(\"$word\")\n"
          "  done\n"
          "}\n"
          "complete -o default -F " +
          function + " " + program.name + "\n";
  return text;
}

std::string zshCompletion(const CompletedProgram& program) {
  const std::string function = "_" + program.name;
  std::string text = "#compdef " + program.name + "\n" + kNotice + function +
                     "_queues() {\n"
                     "  local -a queues\n"
                     "  queues=(${(f)\"$(" +
                     asked(program, "queues") +
                     ")\"})\n"
                     "  compadd -a queues\n"
                     "}\n" +
                     function +
                     "_options() {\n"
                     "  local -a found\n"
                     "  if compset -P '*='; then\n"
                     "    found=(${(f)\"$(" +
                     asked(program, "\"$IPREFIX\"") +
                     ")\"})\n"
                     "    compadd -a found\n"
                     "  else\n"
                     "    found=(${(f)\"$(" +
                     asked(program, "options") +
                     ")\"})\n"
                     "    compadd -S '' -a found\n"
                     "  fi\n"
                     "}\n" +
                     function +
                     "() {\n"
                     "  local curcontext=$curcontext state line\n"
                     "  local -a commands\n"
                     "  commands=(\n";
  for (const CompletedCommand& command : program.commands)
    text += "    " + shellWord(command.name + ":" + escaped(command.description, ":\\")) + "\n";
  text += "  )\n  _arguments -C" + zshOptions(program.options, function) +
          " \\\n        '1:command:->command' '*::argument:->argument'\n"
          "  case $state in\n"
          "    command) _describe command commands ;;\n"
          "    argument)\n"
          "      case $line[1] in\n";
  for (const CompletedCommand& command : program.commands)
    text += "      " + command.name + ") _arguments" + zshOptions(command.options, function) +
            " \\\n        " + shellWord('*' + zshAction(command.argument, function)) + " ;;\n";
  return text + "      esac\n      ;;\n  esac\n}\n" + function + " \"$@\"\n";
}

std::string fishCompletion(const CompletedProgram& program) {
  const std::string start = "complete -c " + program.name;
  const std::string first = start + " -n __fish_use_subcommand";
  std::string text = kNotice;
  for (const CompletedOption& option : program.options) text += fishOption(program, first, option);
  for (const CompletedCommand& command : program.commands)
    text +=
        first + " -f -a " + command.name + " -d '" + escaped(command.description, "'\\") + "'\n";
  for (const CompletedCommand& command : program.commands) {
    const std::string inside = start + " -n '__fish_seen_subcommand_from " + command.name + "'";
    for (const CompletedOption& option : command.options)
      text += fishOption(program, inside, option);
    if (command.argument.kind == CompletedValue::Kind::kQueue ||
        command.argument.kind == CompletedValue::Kind::kWord)
      text += inside + fishValue(program, command.argument) + "\n";
  }
  return text;
}
