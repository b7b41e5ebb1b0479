// SPDX-License-Identifier: Apache-2.0
// Commands that mend what more than one check finds.
#ifndef TOOLS_DRAV_DOCTOR_ADVICE_H_
#define TOOLS_DRAV_DOCTOR_ADVICE_H_

#include <string>
#include <string_view>

// Puts the files of the package back.
std::string reinstallCommand();

// Puts back the program `name` of the chain, one of CUPS's filters or our own.
std::string reinstallProgramCommand(const std::string& name);

// The program in 'File "/usr/lib/cups/filter/gstoraster" not available: ...' or in
// 'Unable to start filter "gstoraster" - ...', as the scheduler says it; "" in others.
std::string missingProgram(std::string_view message);

// Whether `code`, an errno value, says that the caller has no right to look, where
// root would have it.
bool isClosedToUs(int code);

// The text of a check that was skipped because the rights for it were missing.
std::string uncheckedText(const std::string& reason);

// Starts the scheduler, or starts it again.
std::string startSchedulerCommand();
std::string restartSchedulerCommand();

// Gives a queue a fresh PPD; `fileName` is the PCFileName of its old one, or "".
std::string newPpdCommand(const std::string& queue, const std::string& fileName);

#endif  // TOOLS_DRAV_DOCTOR_ADVICE_H_
