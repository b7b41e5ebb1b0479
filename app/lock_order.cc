// SPDX-License-Identifier: Apache-2.0
#include "app/lock_order.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>

namespace app {
namespace {

std::atomic<pthread_rwlock_t*> systemLock = nullptr;
thread_local int othersHeld = 0;

using Call = int (*)(pthread_rwlock_t*);

Call libraryCall(const char* name) { return reinterpret_cast<Call>(::dlsym(RTLD_NEXT, name)); }

bool isOther(const pthread_rwlock_t* lock) { return lock != systemLock; }

}  // namespace

// It is the first member of what PAPPL calls its system.
void mendLockOrder(pappl_system_t* system) {
  systemLock = reinterpret_cast<pthread_rwlock_t*>(system);
}

}  // namespace app

// A sanitizer has functions of its own in place of the library's.
extern "C" {
#define DRAV_EXPORT __attribute__((visibility("default")))
__attribute__((weak)) int __interceptor_pthread_rwlock_rdlock(pthread_rwlock_t* lock);
__attribute__((weak)) int __interceptor_pthread_rwlock_wrlock(pthread_rwlock_t* lock);
__attribute__((weak)) int __interceptor_pthread_rwlock_unlock(pthread_rwlock_t* lock);

DRAV_EXPORT int pthread_rwlock_rdlock(pthread_rwlock_t* lock) noexcept {
  static const app::Call call = __interceptor_pthread_rwlock_rdlock != nullptr
                                    ? __interceptor_pthread_rwlock_rdlock
                                    : app::libraryCall("pthread_rwlock_rdlock");
  const int result = call(lock);
  if (result == 0 && app::isOther(lock)) ++app::othersHeld;
  return result;
}

DRAV_EXPORT int pthread_rwlock_wrlock(pthread_rwlock_t* lock) noexcept {
  static const app::Call call = __interceptor_pthread_rwlock_wrlock != nullptr
                                    ? __interceptor_pthread_rwlock_wrlock
                                    : app::libraryCall("pthread_rwlock_wrlock");
  if (!app::isOther(lock) && app::othersHeld > 0) return pthread_rwlock_rdlock(lock);
  const int result = call(lock);
  if (result == 0 && app::isOther(lock)) ++app::othersHeld;
  return result;
}

DRAV_EXPORT int pthread_rwlock_unlock(pthread_rwlock_t* lock) noexcept {
  static const app::Call call = __interceptor_pthread_rwlock_unlock != nullptr
                                    ? __interceptor_pthread_rwlock_unlock
                                    : app::libraryCall("pthread_rwlock_unlock");
  const int result = call(lock);
  if (result == 0 && app::isOther(lock)) --app::othersHeld;
  return result;
}
}
