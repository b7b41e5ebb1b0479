// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/installation.h"

#include <grp.h>
#include <pwd.h>
#include <strings.h>
#include <unistd.h>

#include <array>
#include <sstream>
#include <vector>

#include "tools/drav/io/input_file.h"

namespace {

constexpr const char* kFilterName = "rastertodrav";
constexpr uint64_t kMaxFilesConfBytes = 1U << 20U;

std::string trimmed(const std::string& text) {
  const char* const space = " \t\r";
  const size_t first = text.find_first_not_of(space);
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(space) - first + 1);
}

// A directive of cups-files.conf (man 5 cups-files.conf) and where it goes.
struct Directive {
  const char* name;
  std::string Installation::*value;
};
constexpr std::array kDirectives = {
    Directive{"ServerRoot", &Installation::serverRoot},
    Directive{"ServerBin", &Installation::serverBin},
    Directive{"DataDir", &Installation::dataDir},
    Directive{"ErrorLog", &Installation::errorLog},
    Directive{"User", &Installation::user},
    Directive{"Group", &Installation::group},
};

void applyLine(const std::string& line, Installation& installation) {
  const size_t end = line.find_first_of(" \t");
  if (line.empty() || line[0] == '#' || end == std::string::npos) return;
  const std::string name = line.substr(0, end);
  for (const Directive& directive : kDirectives)
    if (strcasecmp(name.c_str(), directive.name) == 0)
      installation.*directive.value = trimmed(line.substr(end));
}

}  // namespace

std::string Installation::filterPath() const {
  // What is built for a folder outside CUPS's own is named by its PPD files.
  return filterDir + "/" + kFilterName;
}

Installation builtInstallation() {
  Installation installation;
  installation.serverBin = DRAV_CUPS_SERVERBIN;
  installation.dataDir = DRAV_CUPS_DATADIR;
  installation.filterDir = DRAV_FILTER_DIR;
  installation.driverDir = DRAV_DRIVER_DIR;
#ifdef __APPLE__
  installation.user = "_lp";
  installation.group = "_lp";
#endif
  return installation;
}

bool readFilesConf(const std::string& path, Installation& installation, std::string& error) {
  const std::string file = installation.onDisk(path);
  if (::access(file.c_str(), F_OK) != 0) return true;
  std::vector<uint8_t> bytes;
  if (!readInput(file, bytes, error, kMaxFilesConfBytes)) return false;
  const std::string builtBin = installation.serverBin;
  const std::string builtData = installation.dataDir;
  std::istringstream lines(std::string(bytes.begin(), bytes.end()));
  for (std::string line; std::getline(lines, line);) applyLine(trimmed(line), installation);
  // What was built to lie in CUPS's own folders moves with them.
  if (installation.filterDir == builtBin + "/filter")
    installation.filterDir = installation.serverBin + "/filter";
  if (installation.driverDir == builtData + "/drv")
    installation.driverDir = installation.dataDir + "/drv";
  return true;
}

void lookUpSpoolUser(Installation& installation) {
  // One thread. NOLINTNEXTLINE(concurrency-mt-unsafe)
  if (const passwd* user = ::getpwnam(installation.user.c_str())) installation.uid = user->pw_uid;
  // NOLINTNEXTLINE(concurrency-mt-unsafe)
  if (const group* named = ::getgrnam(installation.group.c_str())) installation.gid = named->gr_gid;
}
