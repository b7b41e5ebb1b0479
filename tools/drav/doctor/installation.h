// SPDX-License-Identifier: Apache-2.0
// Where the parts of an installation lie, and as whom the scheduler runs them.
#ifndef TOOLS_DRAV_DOCTOR_INSTALLATION_H_
#define TOOLS_DRAV_DOCTOR_INSTALLATION_H_

#include <sys/types.h>

#include <ctime>
#include <optional>
#include <string>

// Paths are those of the running system; onDisk() puts the root before them.
struct Installation {
  std::string root;  // a staged system; empty for the machine's own
  std::string serverRoot = "/etc/cups";
  std::string serverBin;                         // holds filter/ and backend/
  std::string filterDir;                         // where the filter was built to go
  std::string driverDir;                         // where the driver source or PPD files go
  std::string dataDir;                           // CUPS's own files; rules below mime/
  std::string spoolTmp = "/var/spool/cups/tmp";  // the filter's pictures; fixed
  std::string errorLog = "/var/log/cups/error_log";
  std::string user = "lp";  // as whom the scheduler runs filters
  std::string group = "lp";
  std::optional<uid_t> uid;  // of these names on this machine, if it has them
  std::optional<gid_t> gid;
  uid_t rootUid = 0;     // who must own what the scheduler runs
  std::time_t now = 0;   // seconds since 1970
  bool connect = false;  // whether printers on the network may be called

  std::string onDisk(const std::string& path) const { return root + path; }
  // The filter where the scheduler looks for it.
  std::string filterPath() const;
};

// How the program was built: /usr/lib/cups and so on, and the names of the
// scheduler's user.
Installation builtInstallation();

// Takes over what the scheduler's cups-files.conf at `path` (below the root) says.
// A file that is not there changes nothing. False with one line in `error` when it
// is there and cannot be read.
[[nodiscard]] bool readFilesConf(const std::string& path, Installation& installation,
                                 std::string& error);

// Looks up uid and gid by name.
void lookUpSpoolUser(Installation& installation);

#endif  // TOOLS_DRAV_DOCTOR_INSTALLATION_H_
