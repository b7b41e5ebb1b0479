// SPDX-License-Identifier: Apache-2.0
// An environment variable that gets its old value back with its scope.
#ifndef TESTS_SUPPORT_SCOPED_ENV_H_
#define TESTS_SUPPORT_SCOPED_ENV_H_

#include <stdlib.h>

#include <optional>
#include <string>
#include <utility>

class ScopedEnv {
 public:
  // Sets the variable, or removes it when there is no value.
  ScopedEnv(std::string name, const std::optional<std::string>& value) : name_(std::move(name)) {
    if (const char* old = getenv(name_.c_str())) old_ = old;
    set(value);
  }
  ~ScopedEnv() { set(old_); }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  void set(const std::optional<std::string>& value) const {
    if (value) {
      setenv(name_.c_str(), value->c_str(), 1);
    } else {
      unsetenv(name_.c_str());
    }
  }

  std::string name_;
  std::optional<std::string> old_;
};

#endif  // TESTS_SUPPORT_SCOPED_ENV_H_
