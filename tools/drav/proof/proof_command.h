// SPDX-License-Identifier: Apache-2.0
// The command line of drav proof.
#ifndef TOOLS_DRAV_PROOF_PROOF_COMMAND_H_
#define TOOLS_DRAV_PROOF_PROOF_COMMAND_H_

#include "tools/drav/command.h"

// Adds the command to `app`.
Command addProof(CLI::App& app);

#endif  // TOOLS_DRAV_PROOF_PROOF_COMMAND_H_
