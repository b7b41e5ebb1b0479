// SPDX-License-Identifier: Apache-2.0
// Rights of files and folders, as the scheduler judges them and as they count for
// the user that it runs filters as. Access control lists are not looked at.
#ifndef TOOLS_DRAV_DOCTOR_ACCESS_H_
#define TOOLS_DRAV_DOCTOR_ACCESS_H_

#include <sys/stat.h>

#include <string>
#include <vector>

#include "tools/drav/doctor/installation.h"

// Whether the spool user may do all of `bits` (octal digit: 4 read, 2 write,
// 1 execute or pass). Unknown users are taken for others.
bool spoolUserMay(const struct stat& status, unsigned bits, const Installation& installation);

// What the scheduler holds against running a program or using its folder with
// these rights: "" or a few words. It asks for root as owner, no write right for
// group or others, whatever the group, and no set-user-id bit.
std::string rightsFault(const struct stat& status, const Installation& installation);

// "0755"
std::string modeText(const struct stat& status);

// The folders above `path` from the root (left out) to the last one:
// /usr, /usr/lib, /usr/lib/cups for /usr/lib/cups/filter.
std::vector<std::string> foldersAbove(const std::string& path);

// The first folder on the way to `path` (in the installation, below its root) that
// the spool user cannot pass, as it is on disk; "" when there is none.
std::string firstClosedFolder(const std::string& path, const Installation& installation);

#endif  // TOOLS_DRAV_DOCTOR_ACCESS_H_
