// SPDX-License-Identifier: Apache-2.0
// The command line of drav doctor.
#ifndef TOOLS_DRAV_DOCTOR_DOCTOR_COMMAND_H_
#define TOOLS_DRAV_DOCTOR_DOCTOR_COMMAND_H_

#include "tools/drav/command.h"

// Adds the command to `app`.
Command addDoctor(CLI::App& app);

#endif  // TOOLS_DRAV_DOCTOR_DOCTOR_COMMAND_H_
