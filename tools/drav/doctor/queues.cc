// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/queues.h"

#include <algorithm>

bool isQueueName(const std::string& name) {
  constexpr size_t kLongest = 127;
  if (name.empty() || name.size() > kLongest || name[0] == '.' || name[0] == '-') return false;
  return std::none_of(name.begin(), name.end(), [](char letter) {
    const auto code = static_cast<unsigned char>(letter);
    return code <= 0x20 || code == 0x7F || letter == '/' || letter == '#' || letter == '\\' ||
           letter == '\'' || letter == '"' || letter == '?';
  });
}
