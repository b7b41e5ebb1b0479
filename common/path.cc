// SPDX-License-Identifier: Apache-2.0
#include "common/path.h"

const char* dravPathGetBasename(const char* path) {
  if (path == nullptr) return nullptr;
  const char* base = path;
  for (const char* p = path; *p != '\0'; ++p) {
    if (*p == '/' || *p == '\\') base = p + 1;
  }
  return base;
}
