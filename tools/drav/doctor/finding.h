// SPDX-License-Identifier: Apache-2.0
// What a check of the installation found, and how it is told.
#ifndef TOOLS_DRAV_DOCTOR_FINDING_H_
#define TOOLS_DRAV_DOCTOR_FINDING_H_

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tools/drav/io/text.h"  // shellWord for the fixes

enum class Level {
  kOk,
  kNote,  // as it should be; something could be better for some. Not a fault.
  kSkip,  // was not checked; the text says why. Not a fault.
  kWarn,  // prints, but not as it should, or not for long
  kFail,  // does not print, or prints rubbish
};

struct Finding {
  Finding(Level foundLevel, std::string what, std::string told,
          std::vector<std::string> commands = {})
      : level(foundLevel),
        check(std::move(what)),
        text(std::move(told)),
        fix(std::move(commands)) {}

  Level level = Level::kOk;
  std::string check;               // what was looked at, a few words
  std::string text;                // what it is like
  std::vector<std::string> fix;    // commands, or advice, that mend it; one a line
  std::vector<std::string> lines;  // what belongs to it, such as log lines
};

using Findings = std::vector<Finding>;

// Whether any of them is a warning or a failure.
bool anythingFound(const Findings& findings);

// The report: a line for each check, what mends it beneath, totals at the end.
// Control characters are made visible.
std::string reportText(const Findings& findings);

#endif  // TOOLS_DRAV_DOCTOR_FINDING_H_
