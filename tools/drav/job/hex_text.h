// SPDX-License-Identifier: Apache-2.0
// Bytes for people.
#ifndef TOOLS_DRAV_JOB_HEX_TEXT_H_
#define TOOLS_DRAV_JOB_HEX_TEXT_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

// "1B 40"; the first `most` bytes, and " ..." when there are more.
std::string hexText(std::span<const uint8_t> bytes, size_t most);

#endif  // TOOLS_DRAV_JOB_HEX_TEXT_H_
