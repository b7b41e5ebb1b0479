// SPDX-License-Identifier: Apache-2.0
// Limits and signals of the process, changed until the end of a scope.
#ifndef TESTS_SUPPORT_PROCESS_LIMITS_H_
#define TESTS_SUPPORT_PROCESS_LIMITS_H_

#include <sys/resource.h>

#include <algorithm>
#include <csignal>

// Ignores a signal until the end of the scope.
class IgnoredSignal {
 public:
  explicit IgnoredSignal(int signal) : signal_(signal), old_(std::signal(signal, SIG_IGN)) {}
  ~IgnoredSignal() { std::signal(signal_, old_); }
  IgnoredSignal(const IgnoredSignal&) = delete;
  IgnoredSignal& operator=(const IgnoredSignal&) = delete;

 private:
  int signal_;
  void (*old_)(int);
};

// Lowers a limit of the process until the end of the scope.
class LoweredLimit {
 public:
  LoweredLimit(int resource, rlim_t limit) : resource_(resource) {
    getrlimit(resourceOf(resource_), &old_);
    struct rlimit lower = old_;
    lower.rlim_cur = std::min(limit, old_.rlim_max);
    good_ = setrlimit(resourceOf(resource_), &lower) == 0;
  }
  ~LoweredLimit() { setrlimit(resourceOf(resource_), &old_); }
  LoweredLimit(const LoweredLimit&) = delete;
  LoweredLimit& operator=(const LoweredLimit&) = delete;
  bool isSet() const { return good_; }

 private:
#if defined(__GLIBC__)
  static __rlimit_resource resourceOf(int resource) {
    return static_cast<__rlimit_resource>(resource);
  }
#else
  static int resourceOf(int resource) { return resource; }
#endif
  int resource_;
  struct rlimit old_ = {};
  bool good_ = false;
};

#endif  // TESTS_SUPPORT_PROCESS_LIMITS_H_
