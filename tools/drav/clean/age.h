// SPDX-License-Identifier: Apache-2.0
// Ages and sizes as users write and read them.
#ifndef TOOLS_DRAV_CLEAN_AGE_H_
#define TOOLS_DRAV_CLEAN_AGE_H_

#include <cstdint>
#include <string>
#include <string_view>

// Reads an age such as 90s, 30m, 12h, 7d or 2w, or 0, into `seconds`. At most a
// hundred years of 365 days. False with one line in `error`.
[[nodiscard]] bool parseAge(std::string_view text, int64_t& seconds, std::string& error);

// "812 bytes", "8.7 MB": decimal units, as file managers and disks are labelled.
std::string sizeText(uint64_t bytes);

#endif  // TOOLS_DRAV_CLEAN_AGE_H_
