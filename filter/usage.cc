// SPDX-License-Identifier: Apache-2.0
#include "filter/usage.h"

#include <cstdio>

#include "common/path.h"

void printUsage(const char* programPath) {
  const char* name = programPath != nullptr ? dravPathGetBasename(programPath) : "rastertodrav";
  // "copyies" is part of a text that is fixed.
  std::fprintf(stderr, "%s v%s\n\nUsage:\n\n    %s job_id user title copyies options [file]\n\n",
               name, DRAV_VERSION, name);
}
