// SPDX-License-Identifier: Apache-2.0
#include "common/log.h"
#include "filter/job_signals.h"
#include "filter/picture/run_picture_filter.h"

int main(int argc, char* argv[]) {
  installJobSignals();
  reserveStandardDescriptors();
  keepLogLinesWhole();
  return runPictureFilter(argc, argv, documents::installedWorld());
}
