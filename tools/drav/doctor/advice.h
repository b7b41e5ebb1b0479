// SPDX-License-Identifier: Apache-2.0
// Commands that mend what more than one check finds.
#ifndef TOOLS_DRAV_DOCTOR_ADVICE_H_
#define TOOLS_DRAV_DOCTOR_ADVICE_H_

#include <string>

// Puts the files of the package back.
std::string reinstallCommand();

// Starts the scheduler, or starts it again.
std::string startSchedulerCommand();
std::string restartSchedulerCommand();

// Gives a queue a fresh PPD; `fileName` is the PCFileName of its old one, or "".
std::string newPpdCommand(const std::string& queue, const std::string& fileName);

#endif  // TOOLS_DRAV_DOCTOR_ADVICE_H_
