// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/access.h"

#include <array>
#include <cstdio>

bool spoolUserMay(const struct stat& status, unsigned bits, const Installation& installation) {
  unsigned shift = 0;
  if (installation.uid == status.st_uid) {
    shift = 6;
  } else if (installation.gid == status.st_gid) {
    shift = 3;
  }
  return ((static_cast<unsigned>(status.st_mode) >> shift) & bits) == bits;
}

std::string rightsFault(const struct stat& status, const Installation& installation) {
  if (status.st_uid != installation.rootUid)
    return "belongs to user " + std::to_string(status.st_uid) + ", not to root";
  if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
    return "group or others can write to it (mode " + modeText(status) + ")";
  if ((status.st_mode & S_ISUID) != 0)
    return "has the set-user-id bit (mode " + modeText(status) + ")";
  return "";
}

std::string modeText(const struct stat& status) {
  std::array<char, 16> text = {};
  (void)std::snprintf(text.data(), text.size(), "%04o",
                      static_cast<unsigned>(status.st_mode & static_cast<mode_t>(07777)));
  return text.data();
}

std::vector<std::string> foldersAbove(const std::string& path) {
  std::vector<std::string> folders;
  for (size_t slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1))
    if (path[slash - 1] != '/') folders.push_back(path.substr(0, slash));
  return folders;
}

std::string firstClosedFolder(const std::string& path, const Installation& installation) {
  for (const std::string& folder : foldersAbove(path)) {
    std::string place = installation.onDisk(folder);
    struct stat status = {};
    if (::stat(place.c_str(), &status) == 0 && !spoolUserMay(status, 1, installation)) return place;
  }
  return "";
}
