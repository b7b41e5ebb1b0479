// SPDX-License-Identifier: Apache-2.0
// Keeps what is printed on standard error while it lives, without touching the
// descriptor, on which the sanitizers report.
#ifndef TESTS_FUZZ_LOG_IN_MEMORY_H_
#define TESTS_FUZZ_LOG_IN_MEMORY_H_

#include <cstdio>
#include <string>

#include "tests/support/files.h"

class LogInMemory {
 public:
  LogInMemory() : outer_(stderr) { stderr = lines_.get(); }
  ~LogInMemory() { stderr = outer_; }
  LogInMemory(const LogInMemory&) = delete;
  LogInMemory& operator=(const LogInMemory&) = delete;

  std::string text() const { return lines_.text(); }

 private:
  MemoryStream lines_;
  std::FILE* outer_;
};

#endif  // TESTS_FUZZ_LOG_IN_MEMORY_H_
