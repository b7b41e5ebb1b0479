// SPDX-License-Identifier: Apache-2.0
// The calendar time that names files.
#ifndef COMMON_LOCAL_TIME_H_
#define COMMON_LOCAL_TIME_H_

#include <ctime>

// Date and time of `moment` in the time zone of the process; tm_year + 1900
// fits an int. All fields are 0 for a moment whose year an int cannot hold.
std::tm localTime(std::time_t moment);

#endif  // COMMON_LOCAL_TIME_H_
