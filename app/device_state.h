// SPDX-License-Identifier: Apache-2.0
// What queues on the same device share: whose turn it is, and what it last said.
#ifndef APP_DEVICE_STATE_H_
#define APP_DEVICE_STATE_H_

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "app/device.h"

namespace app {

class DeviceState {
 public:
  // The state of the device with that address: one for all queues on it, as long as the
  // program runs.
  static DeviceState& of(const DeviceAddress& address);

  // Waits for the device. False when given up.
  bool acquire(const GiveUp& giveUp);
  // Takes the device if nobody has it.
  bool tryAcquire();
  void release();

  // For who has the device: when it may be asked again, and what it said.
  std::chrono::steady_clock::time_point nextQuestion;
  unsigned reasons = 0;
  const char* fault = nullptr;

 private:
  std::mutex mutex_;
  std::condition_variable freed_;
  bool isTaken_ = false;
};

}  // namespace app

#endif  // APP_DEVICE_STATE_H_
