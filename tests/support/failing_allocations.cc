// SPDX-License-Identifier: Apache-2.0
#include "tests/support/failing_allocations.h"

#include <cstddef>
#include <new>

namespace {

bool armed = false;
int remaining = 0;
int refusals = 0;

bool refuses() {
  if (!armed) return false;
  if (remaining > 0) {
    --remaining;
    return false;
  }
  ++refusals;
  return true;
}

}  // namespace

FailingAllocations::FailingAllocations(int granted) {
  remaining = granted;
  refusals = 0;
  armed = true;
}

FailingAllocations::~FailingAllocations() { armed = false; }

int FailingAllocations::refused() const { return refusals; }

// The names are the linker's: --wrap=NAME sends calls of NAME to __wrap_NAME and
// calls of __real_NAME to NAME. _Znwm and _Znam are operator new and new[].
extern "C" {
void* __real_calloc(size_t count, size_t size);
void* __real__Znwm(size_t size);
void* __real__Znam(size_t size);
void* __wrap_calloc(size_t count, size_t size);
void* __wrap__Znwm(size_t size);
void* __wrap__Znam(size_t size);

void* __wrap_calloc(size_t count, size_t size) {
  return refuses() ? nullptr : __real_calloc(count, size);
}

void* __wrap__Znwm(size_t size) {
  if (refuses()) throw std::bad_alloc();
  return __real__Znwm(size);
}

void* __wrap__Znam(size_t size) {
  if (refuses()) throw std::bad_alloc();
  return __real__Znam(size);
}
}
