// SPDX-License-Identifier: Apache-2.0
#include <csignal>

#include "tools/drav/cli.h"

int main(int argc, char* argv[]) {
  // A write past the file size limit shall fail like one to a full disk.
  (void)::signal(SIGXFSZ, SIG_IGN);
  return runDrav(argc, argv);
}
