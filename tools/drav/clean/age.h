// SPDX-License-Identifier: Apache-2.0
// Ages as users write them.
#ifndef TOOLS_DRAV_CLEAN_AGE_H_
#define TOOLS_DRAV_CLEAN_AGE_H_

#include <cstdint>
#include <string>
#include <string_view>

// Reads an age such as 90s, 30m, 12h, 7d or 2w, or 0, into `seconds`. At most a
// hundred years of 365 days. False with one line in `error`.
[[nodiscard]] bool parseAge(std::string_view text, int64_t& seconds, std::string& error);

#endif  // TOOLS_DRAV_CLEAN_AGE_H_
