// SPDX-License-Identifier: Apache-2.0
// Allocations that fail on demand. The linker redirects calloc and operator new
// of the objects of one test program to failing_allocations.cc; the CMake
// function drav_wrap_allocations (wrap_allocations.cmake)
// sets that up and defines DRAV_TEST_WRAPS_ALLOCATIONS where it works.
#ifndef TESTS_SUPPORT_FAILING_ALLOCATIONS_H_
#define TESTS_SUPPORT_FAILING_ALLOCATIONS_H_

// While one of these lives, `granted` allocations succeed and all after them
// fail. At most one at a time.
class FailingAllocations {
 public:
  explicit FailingAllocations(int granted);
  ~FailingAllocations();
  FailingAllocations(const FailingAllocations&) = delete;
  FailingAllocations& operator=(const FailingAllocations&) = delete;

  // How many allocations have been refused so far.
  int refused() const;
};

#endif  // TESTS_SUPPORT_FAILING_ALLOCATIONS_H_
