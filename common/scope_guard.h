// SPDX-License-Identifier: Apache-2.0
// Runs a piece of code when the scope is left, whichever way.
#ifndef COMMON_SCOPE_GUARD_H_
#define COMMON_SCOPE_GUARD_H_

#include <utility>

template <typename Action>
class [[nodiscard]] ScopeGuard {
 public:
  explicit ScopeGuard(Action action) : action_(std::move(action)) {}
  ~ScopeGuard() { action_(); }
  ScopeGuard(const ScopeGuard&) = delete;
  ScopeGuard& operator=(const ScopeGuard&) = delete;
  ScopeGuard(ScopeGuard&&) = delete;
  ScopeGuard& operator=(ScopeGuard&&) = delete;

 private:
  Action action_;
};

#endif  // COMMON_SCOPE_GUARD_H_
