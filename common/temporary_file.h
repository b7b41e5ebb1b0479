// SPDX-License-Identifier: Apache-2.0
// Files that are gone when their user is.
#ifndef COMMON_TEMPORARY_FILE_H_
#define COMMON_TEMPORARY_FILE_H_

#include <cstddef>
#include <string>

// Template for mkstemp and mkdtemp below TMPDIR, or /tmp.
std::string temporaryPath();

// Opens a file without a name, which is gone when its descriptor is closed: in memory
// where the system has that, else below TMPDIR. -1 with one line in `error`.
[[nodiscard]] int openAnonymousFile(std::string& error);

// The same with `content` in it, at its start.
[[nodiscard]] int openAnonymousFile(const void* content, size_t size, std::string& error);

#endif  // COMMON_TEMPORARY_FILE_H_
