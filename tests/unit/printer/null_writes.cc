// SPDX-License-Identifier: Apache-2.0
// Fails the test in which a null pointer is handed to fwrite: undefined also where no
// byte is to be written, and no sanitizer sees it.
#include <gtest/gtest.h>

#include <cstdio>

extern "C" size_t __real_fwrite(const void* bytes, size_t size, size_t count, std::FILE* stream);

extern "C" size_t __wrap_fwrite(const void* bytes, size_t size, size_t count, std::FILE* stream) {
  EXPECT_NE(bytes, nullptr) << "fwrite of " << size << " bytes at a null pointer";
  return __real_fwrite(bytes, size, count, stream);
}
