// SPDX-License-Identifier: Apache-2.0
// Creates the files that the filter leaves behind (diagnostic pictures, the
// command record). They hold the customer's page and their names can be
// guessed, in a folder that other users can write to.
#ifndef COMMON_PRIVATE_FILE_H_
#define COMMON_PRIVATE_FILE_H_

#include <cstdio>

// Opens `path` for writing from its start, as fopen does with `mode` ("w" or
// "wb+"). A new file gets mode 0600; an existing regular file is emptied. Never
// follows a symbolic link in the last component, never writes to anything but
// a regular file with a single name, and never waits for a reader.
// Returns null with errno set when the file cannot be opened; the caller owns
// the stream and closes it with fclose.
std::FILE* openPrivateFile(const char* path, const char* mode);

#endif  // COMMON_PRIVATE_FILE_H_
