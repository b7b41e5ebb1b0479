// SPDX-License-Identifier: Apache-2.0
#include "app/shutdown.h"

#include <semaphore.h>
#include <unistd.h>
#include <csignal>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <thread>

namespace app {
namespace {

std::atomic<bool> stopping = false;  // lock-free: a signal handler sets it
sem_t stopped;
struct sigaction before[NSIG];

constexpr std::chrono::seconds kMostTime{9};

void stop(int signal) {
  const int error = errno;
  stopping = true;
  (void)sem_post(&stopped);
  if (before[signal].sa_handler != SIG_DFL && before[signal].sa_handler != SIG_IGN)
    before[signal].sa_handler(signal);
  errno = error;
}

void catchSignals() {
  for (const int signal : {SIGTERM, SIGINT}) {
    struct sigaction action = {};
    action.sa_handler = stop;
    sigemptyset(&action.sa_mask);
    (void)sigaction(signal, &action, &before[signal]);
  }
}

// Runs in PAPPL's main loop, after PAPPL has set its own handlers. A request to shut down
// is seen here as well. It also wakes the loop every second, which saves the state: PAPPL
// alone would do so up to 30 s after a change.
bool onTick(pappl_system_t* system, void* /*data*/) {
  static bool isCaught = false;
  if (!isCaught) catchSignals();
  isCaught = true;
  if (!stopping && papplSystemIsShutdown(system)) {
    stopping = true;
    (void)sem_post(&stopped);
  }
  return true;
}

void endInTime() {
  while (sem_wait(&stopped) != 0) {
  }
  std::this_thread::sleep_for(kMostTime);
  std::_Exit(EXIT_SUCCESS);
}

}  // namespace

bool shallStop() { return stopping; }

void watchForShutdown(pappl_system_t* system) {
  (void)sem_init(&stopped, 0, 0);
  sigset_t all;
  sigset_t mask;
  sigfillset(&all);
  (void)pthread_sigmask(SIG_SETMASK, &all, &mask);
  std::thread(endInTime).detach();
  (void)pthread_sigmask(SIG_SETMASK, &mask, nullptr);
  (void)papplSystemAddTimerCallback(system, std::time(nullptr), 1, onTick, nullptr);
}

}  // namespace app
