// SPDX-License-Identifier: Apache-2.0
#include "app/state_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace app {
namespace {

std::string path;  // set once, before the system runs

bool flushed(const std::string& name, int flags) {
  const int file = ::open(name.c_str(), flags | O_CLOEXEC);
  if (file < 0) return false;
  const bool good = ::fsync(file) == 0;
  ::close(file);
  return good;
}

bool saveState(pappl_system_t* system, void* /*data*/) {
  const std::string next = path + ".new";
  const bool good = papplSystemSaveState(system, next.c_str()) && flushed(next, O_RDWR) &&
                    std::rename(next.c_str(), path.c_str()) == 0;
  if (!good) {
    papplLog(system, PAPPL_LOGLEVEL_ERROR, "Unable to save the state in %s: %s", path.c_str(),
             std::strerror(errno));
    return false;
  }
  (void)flushed(std::filesystem::path(path).parent_path(), O_RDONLY | O_DIRECTORY);
  return true;
}

}  // namespace

std::string stateFolder() {
  std::string folder;
  const char* home = std::getenv("HOME");
  const char* users = std::getenv("XDG_STATE_HOME");
  if (const char* given = std::getenv("STATE_DIRECTORY"))
    folder = given;
  else if (::getuid() == 0)
    folder = "/var/lib/drav-printer-app";
  else if (users != nullptr && *users != '\0')
    folder = std::string(users) + "/drav-printer-app";
  else
    folder = std::string(home != nullptr ? home : "/tmp") + "/.local/state/drav-printer-app";
  std::error_code failure;
  std::filesystem::create_directories(folder, failure);
  return folder;
}

void keepState(pappl_system_t* system, const std::string& file) {
  path = file;
  (void)papplSystemLoadState(system, path.c_str());
  papplSystemSetSaveCallback(system, saveState, nullptr);
}

}  // namespace app
