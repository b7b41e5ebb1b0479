// SPDX-License-Identifier: Apache-2.0
// Reads a whole input of a command: a file, a pipe, or standard input.
#ifndef TOOLS_DRAV_IO_INPUT_FILE_H_
#define TOOLS_DRAV_IO_INPUT_FILE_H_

#include <cstdint>
#include <string>
#include <vector>

// No input may be larger, in bytes.
inline constexpr uint64_t kMaxInputBytes = uint64_t{2} << 30U;

// Puts everything that `path` holds into `bytes`; "-" is standard input. An empty
// input is fine. False with one line in `error`, which names the input, when it
// cannot be read or holds more than `limit` bytes. May throw std::bad_alloc.
[[nodiscard]] bool readInput(const std::string& path, std::vector<uint8_t>& bytes,
                             std::string& error, uint64_t limit = kMaxInputBytes);

#endif  // TOOLS_DRAV_IO_INPUT_FILE_H_
