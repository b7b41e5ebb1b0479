// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/finding.h"

#include <algorithm>

#include "tools/drav/io/text.h"

namespace {

const char* levelWord(Level level) {
  switch (level) {
    case Level::kOk:
      return "ok    ";
    case Level::kNote:
      return "note  ";
    case Level::kSkip:
      return "skip  ";
    case Level::kWarn:
      return "warn  ";
    case Level::kFail:
      return "FAIL  ";
  }
  return "";
}

std::string counted(std::ptrdiff_t count, const std::string& word) {
  return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

}  // namespace

bool anythingFound(const Findings& findings) {
  return std::any_of(findings.begin(), findings.end(), [](const Finding& finding) {
    return finding.level == Level::kWarn || finding.level == Level::kFail;
  });
}

std::string reportText(const Findings& findings) {
  std::string text;
  for (const Finding& finding : findings) {
    text += levelWord(finding.level);
    text += printablePath(finding.check + ": " + finding.text) + "\n";
    for (const std::string& line : finding.lines) text += "        " + printablePath(line) + "\n";
    const std::string before = finding.level == Level::kNote ? "      tip: " : "      fix: ";
    for (const std::string& fix : finding.fix) text += before + printablePath(fix) + "\n";
  }
  const auto count = [&findings](Level level) {
    return std::count_if(findings.begin(), findings.end(),
                         [level](const Finding& finding) { return finding.level == level; });
  };
  text += "\n";
  text += counted(count(Level::kFail), "failure") + ", " + counted(count(Level::kWarn), "warning") +
          ", " + std::to_string(count(Level::kOk)) + " ok, " + std::to_string(count(Level::kSkip)) +
          " not checked";
  if (count(Level::kNote) > 0) text += ", " + counted(count(Level::kNote), "note");
  return text + "\n";
}
