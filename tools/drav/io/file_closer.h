// SPDX-License-Identifier: Apache-2.0
// Owns a stream of the C library.
#ifndef TOOLS_DRAV_IO_FILE_CLOSER_H_
#define TOOLS_DRAV_IO_FILE_CLOSER_H_

#include <cstdio>
#include <memory>

struct FileCloser {
  void operator()(std::FILE* file) const { (void)std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

#endif  // TOOLS_DRAV_IO_FILE_CLOSER_H_
