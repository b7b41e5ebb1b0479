// SPDX-License-Identifier: Apache-2.0
// What the vector library's assertions call, for programs that take its headers alone.
// Optimized builds drop the assertions; builds with sanitizers keep them.
#include <hwy/base.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace hwy {

void Abort(const char* file, int line, const char* format, ...) {
  std::fprintf(stderr, "%s:%d: ", file, line);
  va_list values;
  va_start(values, format);
  std::vfprintf(stderr, format, values);
  va_end(values);
  std::abort();
}

}  // namespace hwy
