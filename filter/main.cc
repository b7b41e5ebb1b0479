// SPDX-License-Identifier: Apache-2.0
#include "filter/job_signals.h"
#include "filter/run_filter.h"

int main(int argc, char* argv[]) {
  installJobSignals();
  reserveStandardDescriptors();
  return runFilter(argc, argv);
}
