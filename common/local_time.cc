// SPDX-License-Identifier: Apache-2.0
#include "common/local_time.h"

#include <limits>
#include <mutex>

std::tm localTime(std::time_t moment) {
  constexpr int kLastYear = std::numeric_limits<int>::max() - 1900;
  std::tm fields = {};
  static std::mutex timeZone;  // the C library's, which tzset replaces
  const std::lock_guard lock(timeZone);
  tzset();  // localtime_r alone need not read the time zone
  if (localtime_r(&moment, &fields) == nullptr || fields.tm_year > kLastYear) return {};
  return fields;
}
