// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/folder_check.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include "tools/drav/clean/age.h"
#include "tools/drav/clean/picture_folder.h"
#include "tools/drav/doctor/access.h"
#include "tools/drav/doctor/advice.h"

namespace {

constexpr uint64_t kManyPictureBytes = 500'000'000;  // some 30 A4 pages
constexpr uint64_t kManyRecordBytes = 500'000'000;
constexpr uint64_t kLittleFreeBytes = 200'000'000;
constexpr unsigned kWriteAndPass = 3;

struct DirectoryCloser {
  void operator()(DIR* directory) const { closedir(directory); }
};

// Why the spool user cannot make files in the folder `path`; "" when it can. With
// `unknown` that cannot be told, and the text says why.
std::string closedReason(const std::string& path, const Installation& installation, bool& unknown) {
  const std::string place = installation.onDisk(path);
  struct stat status = {};
  unknown = false;
  const std::string closed = firstClosedFolder(path, installation);
  if (!closed.empty()) return "user " + installation.user + " cannot enter " + closed;
  if (::stat(place.c_str(), &status) != 0) {
    const int code = errno;
    unknown = isClosedToUs(code);
    return place + ": " + std::strerror(code);
  }
  if (!S_ISDIR(status.st_mode)) return place + " is not a folder";
  if (!spoolUserMay(status, kWriteAndPass, installation))
    return "user " + installation.user + " cannot write to " + place + " (mode " +
           modeText(status) + ")";
  return "";
}

std::string ownFolderCommand(const std::string& place, const Installation& installation) {
  return "sudo install -d -o root -g " + installation.group + " -m 1770 " + shellWord(place);
}

void checkRights(const Installation& installation, Findings& findings) {
  const std::string place = installation.onDisk(installation.spoolTmp);
  const std::string fix = ownFolderCommand(place, installation);
  struct stat status = {};
  if (::lstat(place.c_str(), &status) == 0 && S_ISLNK(status.st_mode)) {
    findings.push_back({Level::kWarn,
                        "pictures",
                        place + " is a symbolic link, which --clean does not follow",
                        {"sudo rm " + shellWord(place), fix}});
    return;
  }
  bool unknown = false;
  const std::string closed = closedReason(installation.spoolTmp, installation, unknown);
  if (unknown) {
    findings.push_back({Level::kSkip, "pictures", uncheckedText(closed)});
  } else if (!closed.empty()) {
    findings.push_back({Level::kWarn,
                        "pictures",
                        closed + ": diagnostic pictures are not saved (jobs print nevertheless)",
                        {fix}});
  } else if (::stat(place.c_str(), &status) == 0 && (status.st_mode & S_IWOTH) != 0) {
    findings.push_back({Level::kWarn,
                        "pictures",
                        "everyone can write to " + place + " (mode " + modeText(status) + ")",
                        {fix}});
  } else {
    findings.push_back({Level::kOk, "pictures", place + " can be written to"});
  }
}

void checkSpace(const Installation& installation, Findings& findings) {
  ClearRequest request;
  request.folder = installation.onDisk(installation.spoolTmp);
  request.now = installation.now;
  request.dryRun = true;
  ClearOutcome outcome;
  std::string error;
  std::string ignored;
  if (!parseAge(kDefaultAge, request.olderThan, ignored)) return;
  if (!clearPictures(request, outcome, error)) {
    findings.push_back({Level::kSkip, "picture space", uncheckedText(error)});
    return;
  }
  if (outcome.folderMissing) return;
  const uint64_t bytes = outcome.removed.bytes + outcome.younger.bytes;
  const uint64_t files = outcome.removed.files + outcome.younger.files;
  struct statvfs disk = {};
  const bool known = ::statvfs(request.folder.c_str(), &disk) == 0;
  const uint64_t free = known ? uint64_t{disk.f_bavail} * disk.f_frsize : UINT64_MAX;
  std::string text = std::to_string(files) + " pictures of customers' pages, " + sizeText(bytes);
  if (known) text += "; " + sizeText(free) + " free";
  Finding finding = {Level::kOk, "picture space", text};
  if (bytes >= kManyPictureBytes || free < kLittleFreeBytes) {
    finding.level = Level::kWarn;
    // Old ones when that helps, else all of them.
    const bool oldHelp = outcome.removed.bytes * 2 >= bytes && outcome.removed.files > 0;
    if (files > 0)
      finding.fix.push_back(
          std::string("sudo drav doctor --clean") + (oldHelp ? "" : " --older-than 0") +
          (installation.root.empty() ? "" : " --folder " + shellWord(request.folder)));
    if (free < kLittleFreeBytes)
      finding.fix.emplace_back("make room on this disk: a full one stops printing");
  }
  findings.push_back(finding);
}

// Records are "PREFIX-YYYYMMDDhhmmss.bin"; bytes of those in the folder.
uint64_t recordBytes(const std::string& folder, const std::string& stem, uint64_t& files) {
  uint64_t bytes = 0;
  files = 0;
  const std::unique_ptr<DIR, DirectoryCloser> directory(::opendir(folder.c_str()));
  if (!directory) return 0;
  constexpr const char* kEnd = ".bin";
  // NOLINTNEXTLINE(concurrency-mt-unsafe): one thread
  for (const dirent* entry = ::readdir(directory.get()); entry != nullptr;
       entry = ::readdir(directory.get())) {  // NOLINT(concurrency-mt-unsafe)
    const std::string name = entry->d_name;
    struct stat status = {};
    if (name.rfind(stem + "-", 0) != 0 || name.size() < std::strlen(kEnd) ||
        name.compare(name.size() - std::strlen(kEnd), std::string::npos, kEnd) != 0 ||
        ::fstatat(::dirfd(directory.get()), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISREG(status.st_mode))
      continue;
    ++files;
    bytes += static_cast<uint64_t>(status.st_size);
  }
  return bytes;
}

}  // namespace

void checkPictureFolder(const Installation& installation, Findings& findings) {
  checkRights(installation, findings);
  checkSpace(installation, findings);
}

void checkRecordFolder(const std::string& queue, const PpdSummary& ppd,
                       const Installation& installation, Findings& findings) {
  const std::string check = "queue " + queue + " record";
  const size_t slash = ppd.recordPrefix.rfind('/');
  // A relative name is taken from the filters' working folder, the root.
  const std::string folder =
      slash == std::string::npos || slash == 0 ? "/" : ppd.recordPrefix.substr(0, slash);
  const std::string stem =
      slash == std::string::npos ? ppd.recordPrefix : ppd.recordPrefix.substr(slash + 1);
  const std::string place = installation.onDisk(folder);
  bool unknown = false;
  const std::string closed = closedReason(folder, installation, unknown);
  if (unknown) {
    findings.push_back({Level::kSkip, check, uncheckedText(closed)});
    return;
  }
  if (!closed.empty() && !ppd.recording) {
    findings.push_back(
        {Level::kOk, check, "recording is off; if it were on, it would fail: " + closed});
    return;
  }
  if (!closed.empty()) {
    findings.push_back({Level::kFail,
                        check,
                        closed + ": commands cannot be recorded",
                        {folder == "/" ? newPpdCommand(queue, ppd.fileName)
                                       : ownFolderCommand(place, installation)}});
    return;
  }
  uint64_t files = 0;
  const bool countable = ::access(place.c_str(), R_OK | X_OK) == 0;
  const uint64_t bytes = countable ? recordBytes(place, stem, files) : 0;
  Finding finding = {Level::kOk, check,
                     std::string("recording is ") + (ppd.recording ? "on" : "off")};
  finding.text += countable ? ", " + std::to_string(files) + " records, " + sizeText(bytes)
                            : "; records not counted: run with sudo";
  if (bytes >= kManyRecordBytes) {
    finding.level = Level::kWarn;
    finding.fix.push_back("sudo find " + shellWord(place) + " -maxdepth 1 -type f -name " +
                          shellWord(stem + "-*.bin") + " -delete");
  }
  if (ppd.recording) {
    finding.level = Level::kWarn;
    finding.text += "; every job adds one, and nothing removes them";
    finding.fix.push_back("sudo lpadmin -p " + shellWord(queue) + " -o RecordPrinterCommands=0");
  }
  findings.push_back(finding);
}
