// SPDX-License-Identifier: Apache-2.0
// Allocations that fail on demand, and a count of those that are still held.
// The linker redirects malloc, calloc, posix_memalign and free of the objects of
// one test program to failing_allocations.cc, which also replaces operator new
// and delete for the whole program, the C++ library's own code included. C
// libraries keep the real allocator. The CMake function drav_wrap_allocations
// (wrap_allocations.cmake) sets that up and defines DRAV_TEST_WRAPS_ALLOCATIONS
// where it works.
#ifndef TESTS_SUPPORT_FAILING_ALLOCATIONS_H_
#define TESTS_SUPPORT_FAILING_ALLOCATIONS_H_

enum class Refusal {
  everyFurther,  // memory has run out for good
  onlyOne,       // and is there again for the next one
};

// While one of these lives, `granted` allocations succeed; then the next one, or
// all after them, fail. At most one at a time.
class FailingAllocations {
 public:
  explicit FailingAllocations(int granted, Refusal refusal = Refusal::everyFurther);
  ~FailingAllocations();
  FailingAllocations(const FailingAllocations&) = delete;
  FailingAllocations& operator=(const FailingAllocations&) = delete;

  // How many allocations have been refused so far.
  int refused() const;
};

// Blocks that were handed out and not given back yet.
long heldAllocations();

#endif  // TESTS_SUPPORT_FAILING_ALLOCATIONS_H_
