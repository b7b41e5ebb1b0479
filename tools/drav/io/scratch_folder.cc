// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/scratch_folder.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace {

std::string temporaryPath() {
  const char* folder = std::getenv("TMPDIR");
  return std::string(folder != nullptr && *folder == '/' ? folder : "/tmp") + "/drav-XXXXXX";
}

std::string failure(const std::string& path) { return path + ": " + std::strerror(errno); }

}  // namespace

ScratchFolder::~ScratchFolder() {
  if (path_.empty()) return;
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

bool ScratchFolder::make(std::string& error) {
  if (!path_.empty()) return true;
  std::string path = temporaryPath();
  if (::mkdtemp(path.data()) == nullptr) {
    error = failure(path);
    return false;
  }
  path_ = path;
  return true;
}

bool writeScratchFile(const std::string& path, const void* content, size_t size,
                      std::string& error) {
  const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  std::FILE* file = descriptor < 0 ? nullptr : ::fdopen(descriptor, "wb");
  if (file == nullptr) {
    error = failure(path);
    return false;
  }
  const bool written = std::fwrite(content, 1, size, file) == size;
  if (std::fclose(file) == 0 && written) return true;
  error = failure(path);
  return false;
}

int openAnonymousFile(std::string& error) {
#ifdef __linux__
  const int inMemory = ::memfd_create("drav", MFD_CLOEXEC);
  if (inMemory >= 0) return inMemory;
#endif
  std::string path = temporaryPath();
  const int descriptor = ::mkstemp(path.data());
  if (descriptor < 0) {
    error = failure(path);
    return -1;
  }
  (void)::unlink(path.c_str());
  (void)::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  return descriptor;
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
