// SPDX-License-Identifier: Apache-2.0
#include "app/server_lock.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <optional>

namespace app {
namespace {

using Clock = std::chrono::steady_clock;

// Longer than a server takes to end.
constexpr std::chrono::seconds kGivesWayWithin{12};

// Every server locks the first byte, one that a command has started the second as well. So
// the kernel tells which kind has it, and its number, which a file could only claim.
constexpr off_t kMark = 1;

struct flock lockOf(off_t start, off_t length) {
  struct flock lock = {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = start;
  lock.l_len = length;
  return lock;
}

// The process that has it; nothing when it is free, and 0 for a process in another namespace.
std::optional<pid_t> holderOf(int file, off_t byte) {
  struct flock lock = lockOf(byte, 1);
  if (::fcntl(file, F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) return std::nullopt;
  return lock.l_pid;
}

// Waits for a server that a command has started, and tells it to end. Whether it has.
bool takeOver(int file, struct flock& wanted) {
  pid_t told = 0;
  const auto end = Clock::now() + kGivesWayWithin;
  for (auto holder = holderOf(file, kMark); holder && Clock::now() < end;
       holder = holderOf(file, kMark)) {
    if (*holder > 0 && *holder != told) (void)::kill(told = *holder, SIGTERM);
    (void)::poll(nullptr, 0, 50);
  }
  return ::fcntl(file, F_SETLK, &wanted) == 0;
}

}  // namespace

bool lockForServer(const std::string& file, StartedBy starter, std::string& error) {
  const std::string name = file + ".lock";
  const int lock = ::open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (lock < 0) return true;
  struct flock wanted = lockOf(0, starter == StartedBy::kCommand ? kMark + 1 : 1);
  // Who has got the lock keeps the file open as long as it runs.
  if (::fcntl(lock, F_SETLK, &wanted) == 0) return true;
  if (errno != EAGAIN && errno != EACCES) return true;  // a file system that has no locks
  if (starter == StartedBy::kUser && takeOver(lock, wanted)) return true;
  error = "process " + std::to_string(holderOf(lock, 0).value_or(0)) + " is a server that has " +
          file + "; \"drav-printer-app shutdown\" ends it";
  ::close(lock);
  return false;
}

}  // namespace app
