// SPDX-License-Identifier: Apache-2.0
#include "app/device_state.h"

#include <map>
#include <memory>
#include <string>

namespace app {

DeviceState& DeviceState::of(const DeviceAddress& address) {
  static std::mutex mutex;
  static std::map<std::string, std::unique_ptr<DeviceState>> states;
  const std::lock_guard lock(mutex);
  std::unique_ptr<DeviceState>& state = states[address.uri];
  if (!state) state = std::make_unique<DeviceState>();
  return *state;
}

bool DeviceState::acquire(const GiveUp& giveUp) {
  constexpr std::chrono::milliseconds kWait{100};
  std::unique_lock lock(mutex_);
  while (!freed_.wait_for(lock, kWait, [this] { return !isTaken_; }))
    if (giveUp()) return false;
  isTaken_ = true;
  return true;
}

bool DeviceState::tryAcquire() {
  const std::lock_guard lock(mutex_);
  if (isTaken_) return false;
  isTaken_ = true;
  return true;
}

void DeviceState::release() {
  {
    const std::lock_guard lock(mutex_);
    isTaken_ = false;
  }
  freed_.notify_all();
}

}  // namespace app
