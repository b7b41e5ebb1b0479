// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/command.h"

#include <cstdio>
#include <iostream>

#include "tools/drav/io/text.h"

int failCommand(const std::string& text) {
  (void)std::fprintf(stderr, "drav: %s\n", printablePath(text).c_str());
  return kExitFailed;
}

void printNote(const std::string& text) {
  (void)std::fprintf(stderr, "drav: note: %s\n", printablePath(text).c_str());
}

int endCommand(int status) {
  return std::cout.flush().good() ? status : failCommand("standard output cannot be written");
}
