// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/interruption.h"

#include <array>
#include <csignal>

namespace {

constexpr std::array kEndingSignals = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t gArrived = 0;  // number of the first signal

extern "C" void noteSignal(int signalNumber) {
  if (gArrived == 0) gArrived = signalNumber;
}

// Exchanges the handler of each signal that has the handler `from`.
void exchangeHandlers(void (*from)(int), void (*to)(int)) {
  for (const int signalNumber : kEndingSignals) {
    struct sigaction current = {};
    if (::sigaction(signalNumber, nullptr, &current) != 0 || current.sa_handler != from) continue;
    struct sigaction action = {};
    action.sa_handler = to;
    sigemptyset(&action.sa_mask);
    (void)::sigaction(signalNumber, &action, nullptr);
  }
}

}  // namespace

Interruption::Interruption() {
  gArrived = 0;
  exchangeHandlers(SIG_DFL, noteSignal);
}

Interruption::~Interruption() {
  exchangeHandlers(noteSignal, SIG_DFL);
  if (gArrived != 0) (void)::raise(gArrived);
  gArrived = 0;
}

bool Interruption::requested() { return gArrived != 0; }
