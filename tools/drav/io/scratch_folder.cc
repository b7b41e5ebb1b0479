// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/scratch_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "common/temporary_file.h"

namespace {

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
