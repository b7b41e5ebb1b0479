// SPDX-License-Identifier: Apache-2.0
#include "tests/support/failing_allocations.h"

#include <cerrno>
#include <cstddef>
#include <new>

namespace {

bool armed = false;
bool once = false;
int remaining = 0;
int refusals = 0;
long held = 0;

bool refuses() {
  if (!armed) return false;
  if (remaining > 0) {
    --remaining;
    return false;
  }
  if (once && refusals > 0) return false;
  ++refusals;
  return true;
}

void* counted(void* block) {
  if (block != nullptr) ++held;
  return block;
}

}  // namespace

FailingAllocations::FailingAllocations(int granted, Refusal refusal) {
  once = refusal == Refusal::onlyOne;
  remaining = granted;
  refusals = 0;
  armed = true;
}

FailingAllocations::~FailingAllocations() { armed = false; }

int FailingAllocations::refused() const { return refusals; }

long heldAllocations() { return held; }

// The names are the linker's: --wrap=NAME sends calls of NAME to __wrap_NAME and
// calls of __real_NAME to NAME.
extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
int __real_posix_memalign(void** block, size_t alignment, size_t size);
void __real_free(void* block);
void* __wrap_malloc(size_t size);
void* __wrap_calloc(size_t count, size_t size);
int __wrap_posix_memalign(void** block, size_t alignment, size_t size);
void __wrap_free(void* block);

void* __wrap_malloc(size_t size) { return refuses() ? nullptr : counted(__real_malloc(size)); }

void* __wrap_calloc(size_t count, size_t size) {
  return refuses() ? nullptr : counted(__real_calloc(count, size));
}

int __wrap_posix_memalign(void** block, size_t alignment, size_t size) {
  if (refuses()) return ENOMEM;
  const int error = __real_posix_memalign(block, alignment, size);
  if (error == 0) ++held;
  return error;
}

void __wrap_free(void* block) {
  if (block != nullptr) --held;
  __real_free(block);
}
}

// Every form that does not ask for an alignment, so that none pairs with one of
// the library's.
void* operator new(size_t size) {
  void* block = __wrap_malloc(size != 0 ? size : 1);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new[](size_t size) { return operator new(size); }
void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return __wrap_malloc(size != 0 ? size : 1);
}
void* operator new[](size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return __wrap_malloc(size != 0 ? size : 1);
}
void operator delete(void* block) noexcept { __wrap_free(block); }
void operator delete[](void* block) noexcept { __wrap_free(block); }
void operator delete(void* block, size_t /*size*/) noexcept { __wrap_free(block); }
void operator delete[](void* block, size_t /*size*/) noexcept { __wrap_free(block); }
void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept { __wrap_free(block); }
void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept { __wrap_free(block); }
