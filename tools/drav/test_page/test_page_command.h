// SPDX-License-Identifier: Apache-2.0
// The command line of drav test-page.
#ifndef TOOLS_DRAV_TEST_PAGE_TEST_PAGE_COMMAND_H_
#define TOOLS_DRAV_TEST_PAGE_TEST_PAGE_COMMAND_H_

#include "tools/drav/command.h"

// Adds the command to `app`.
Command addTestPage(CLI::App& app);

#endif  // TOOLS_DRAV_TEST_PAGE_TEST_PAGE_COMMAND_H_
