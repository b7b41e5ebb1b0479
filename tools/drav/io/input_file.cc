// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "common/scope_guard.h"
#include "tools/drav/io/text.h"

namespace {

constexpr size_t kChunk = size_t{1} << 20U;

std::string inputName(const std::string& path) {
  return path == "-" ? "standard input" : printablePath(path);
}

}  // namespace

bool readInput(const std::string& path, std::vector<uint8_t>& bytes, std::string& error,
               uint64_t limit) {
  bytes.clear();
  const int descriptor = path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    error = inputName(path) + ": " + std::strerror(errno);
    return false;
  }
  const ScopeGuard closer([descriptor] {
    if (descriptor != STDIN_FILENO) ::close(descriptor);
  });

  // A regular file says how large it is; one byte more finds its end.
  struct stat status = {};
  if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0)
    bytes.reserve(static_cast<size_t>(std::min(static_cast<uint64_t>(status.st_size), limit) + 1));

  size_t size = 0;
  for (;;) {
    if (size == bytes.size()) bytes.resize(std::max(bytes.capacity(), size + kChunk));
    const ssize_t got =
        ::read(descriptor, bytes.data() + size, std::min(bytes.size() - size, kChunk));
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      error = inputName(path) + ": " + std::strerror(errno);
      return false;
    }
    if (got == 0) break;
    size += static_cast<size_t>(got);
    if (size > limit) {
      error = inputName(path) + ": larger than " + std::to_string(limit) +
              " bytes, the most that is read";
      return false;
    }
  }
  bytes.resize(size);
  return true;
}
