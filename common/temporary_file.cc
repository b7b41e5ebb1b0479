// SPDX-License-Identifier: Apache-2.0
#include "common/temporary_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

std::string temporaryPath() {
  const char* folder = std::getenv("TMPDIR");
  return std::string(folder != nullptr && *folder == '/' ? folder : "/tmp") + "/drav-XXXXXX";
}

int openAnonymousFile(std::string& error) {
#ifdef __linux__
  const int inMemory = ::memfd_create("drav", MFD_CLOEXEC);
  if (inMemory >= 0) return inMemory;
#endif
  // GCOVR_EXCL_START: kernels without memfd_create
  std::string path = temporaryPath();
  const int descriptor = ::mkstemp(path.data());
  if (descriptor < 0) {
    error = path + ": " + std::strerror(errno);
    return -1;
  }
  (void)::unlink(path.c_str());
  (void)::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  return descriptor;
  // GCOVR_EXCL_STOP
}

int openAnonymousFile(const void* content, size_t size, std::string& error) {
  const int file = openAnonymousFile(error);
  if (file < 0) return file;
  const auto* bytes = static_cast<const char*>(content);
  for (size_t done = 0; done < size;) {
    const ssize_t wrote = ::write(file, bytes + done, size - done);
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote < 0) {
      error = std::strerror(errno);
      ::close(file);
      return -1;
    }
    done += static_cast<size_t>(wrote);
  }
  (void)::lseek(file, 0, SEEK_SET);
  return file;
}
