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
// 1 execute or pass). A spool user whom this machine does not know counts as "others".
bool spoolUserMay(const struct stat& status, unsigned bits, const Installation& installation);

// Why the scheduler refuses a program or folder with these rights, in a few words;
// "" when it does not. It wants root as the owner, no write right for group or
// others, whatever the group, and no set-user-id bit.
std::string rightsFault(const struct stat& status, const Installation& installation);

// "0755"
std::string modeText(const struct stat& status);

// The folders above `path`, from below the root to the last one:
// /usr, /usr/lib, /usr/lib/cups for /usr/lib/cups/filter.
std::vector<std::string> foldersAbove(const std::string& path);

// The first folder on the way to `path` (in the installation, below its root) that
// the spool user cannot enter, as it is on disk; "" when there is none.
std::string firstClosedFolder(const std::string& path, const Installation& installation);

#endif  // TOOLS_DRAV_DOCTOR_ACCESS_H_
