// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/interruption.h"

#include <array>
#include <csignal>

namespace {

volatile std::sig_atomic_t gArrived = 0;  // number of the first signal

extern "C" void noteSignal(int signalNumber) {
  if (gArrived == 0) gArrived = signalNumber;
}

std::array<struct sigaction, kEndingSignals.size()> gBefore;

}  // namespace

Interruption::Interruption() {
  gArrived = 0;
  for (size_t i = 0; i < kEndingSignals.size(); ++i) {
    struct sigaction& before = gBefore.at(i);
    if (::sigaction(kEndingSignals.at(i), nullptr, &before) != 0 || before.sa_handler == SIG_IGN)
      continue;
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    sigemptyset(&action.sa_mask);
    (void)::sigaction(kEndingSignals.at(i), &action, nullptr);
  }
}

Interruption::~Interruption() {
  for (size_t i = 0; i < kEndingSignals.size(); ++i)
    (void)::sigaction(kEndingSignals.at(i), &gBefore.at(i), nullptr);
  if (gArrived != 0) (void)::raise(gArrived);
  gArrived = 0;
}

bool Interruption::requested() { return gArrived != 0; }
