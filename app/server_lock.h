// SPDX-License-Identifier: Apache-2.0
// One server alone has a state file, and one alone the socket at which commands find it.
#ifndef APP_SERVER_LOCK_H_
#define APP_SERVER_LOCK_H_

#include <cstdint>
#include <string>

namespace app {

enum class StartedBy : uint8_t {
  kUser,
  kCommand,  // that found no server; it has no port, and ends for one that a user starts
};

// Keeps `FILE.lock` until this process ends, however it ends. False with one line in `error`
// when another server has it. A folder where nobody may write needs no lock.
bool lockForServer(const std::string& file, StartedBy starter, std::string& error);

}  // namespace app

#endif  // APP_SERVER_LOCK_H_
