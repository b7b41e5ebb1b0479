// SPDX-License-Identifier: Apache-2.0
#include "common/private_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

// Checks and empties the open file; returns 0 or an errno value.
int claimRegularFile(int descriptor) {
  struct stat status = {};
  if (fstat(descriptor, &status) != 0) return errno;  // GCOVR_EXCL_BR_LINE: a broken disk alone
  if (!S_ISREG(status.st_mode) || status.st_nlink > 1) return EEXIST;
  if (ftruncate(descriptor, 0) != 0) return errno;  // GCOVR_EXCL_BR_LINE: a broken disk alone
  return 0;
}

}  // namespace

std::FILE* openPrivateFile(const char* path, const char* mode) {
  const int access = std::strchr(mode, '+') != nullptr ? O_RDWR : O_WRONLY;
  // O_NONBLOCK: opening a FIFO must fail instead of waiting for a reader. It
  // has no effect on regular files. The file is emptied only after the check.
  const int descriptor =
      open(path, access | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (descriptor < 0) return nullptr;
  int error = claimRegularFile(descriptor);
  std::FILE* stream = nullptr;
  if (error == 0) {
    stream = fdopen(descriptor, mode);
    if (stream == nullptr) error = errno;  // GCOVR_EXCL_BR_LINE: no memory in libc
  }
  if (stream == nullptr) {
    close(descriptor);
    errno = error;
  }
  return stream;
}
