// SPDX-License-Identifier: Apache-2.0
#include "common/scope_guard.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

TEST(ScopeGuardTest, RunsOnceWhenTheScopeIsLeft) {
  int runs = 0;
  {
    const ScopeGuard guard([&runs] { ++runs; });
    EXPECT_EQ(runs, 0);
  }
  EXPECT_EQ(runs, 1);
}

TEST(ScopeGuardTest, RunsWhenAnExceptionPasses) {
  int runs = 0;
  try {
    const ScopeGuard guard([&runs] { ++runs; });
    throw std::runtime_error("passes");
  } catch (const std::runtime_error&) {
    EXPECT_EQ(runs, 1);
  }
  EXPECT_EQ(runs, 1);
}

}  // namespace
