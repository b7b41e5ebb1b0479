// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/clean/picture_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include "tools/drav/clean/age.h"
#include "tools/drav/clean/picture_name.h"
#include "tools/drav/io/text.h"

namespace {

struct DirectoryCloser {
  void operator()(DIR* directory) const { closedir(directory); }
};

bool isPictureFile(const struct stat& status) {
  return S_ISREG(status.st_mode) && status.st_nlink == 1;
}

std::string counted(uint64_t count, const std::string& one, const std::string& many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

}  // namespace

PictureFolder::~PictureFolder() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

bool PictureFolder::open(const std::string& path, std::string& error) {
  if (descriptor_ >= 0) ::close(descriptor_);
  path_ = path;
  // A slash at the end would make the system follow a link of that name.
  std::string last = path;
  while (last.size() > 1 && last.back() == '/') last.pop_back();
  descriptor_ = ::open(last.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  const int code = errno;
  missing_ = descriptor_ < 0 && code == ENOENT;
  if (descriptor_ >= 0) return true;
  struct stat status = {};
  const bool isLink = ::lstat(last.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
  error =
      path_ + ": " + (isLink ? "is a symbolic link, which is not followed" : std::strerror(code));
  return false;
}

bool PictureFolder::list(std::vector<std::string>& names, std::string& error) const {
  names.clear();
  // A description of its own: reading through a duplicate would move both.
  const int own = ::openat(descriptor_, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const std::unique_ptr<DIR, DirectoryCloser> directory(own >= 0 ? ::fdopendir(own) : nullptr);
  if (!directory) {
    error = path_ + ": " + std::strerror(errno);
    if (own >= 0) ::close(own);
    return false;
  }
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(directory.get());  // NOLINT(concurrency-mt-unsafe)
    if (entry == nullptr) break;
    if (isPictureName(entry->d_name)) names.emplace_back(entry->d_name);
  }
  if (errno != 0) {
    error = path_ + ": " + std::strerror(errno);
    return false;
  }
  std::sort(names.begin(), names.end());
  return true;
}

PictureFolder::Kind PictureFolder::look(const std::string& name, Picture& picture) const {
  struct stat status = {};
  if (::fstatat(descriptor_, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return Kind::kGone;
  if (!isPictureFile(status)) return Kind::kOther;
  picture = {name, static_cast<uint64_t>(status.st_size), status.st_mtime};
  return Kind::kPicture;
}

bool PictureFolder::remove(const std::string& name, std::string& error) const {
  // unlink takes the name itself, whatever it stands for by now, and no folder.
  if (::unlinkat(descriptor_, name.c_str(), 0) == 0 || errno == ENOENT) return true;
  error = path_ + "/" + name + ": " + std::strerror(errno);
  return false;
}

int PictureFolder::openPicture(const std::string& name) const {
  // O_NONBLOCK: a pipe that took the name must not be waited for.
  const int file =
      ::openat(descriptor_, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) return -1;
  struct stat status = {};
  if (::fstat(file, &status) == 0 && isPictureFile(status)) return file;
  ::close(file);
  return -1;
}

bool clearPictures(const ClearRequest& request, ClearOutcome& outcome, std::string& error) {
  outcome = {};
  PictureFolder folder;
  std::vector<std::string> names;
  if (!folder.open(request.folder, error)) {
    outcome.folderMissing = folder.missing();
    return outcome.folderMissing;
  }
  if (!folder.list(names, error)) return false;
  for (const std::string& name : names) {
    Picture picture;
    const PictureFolder::Kind kind = folder.look(name, picture);
    std::string failure;
    if (kind == PictureFolder::Kind::kGone) continue;
    if (kind == PictureFolder::Kind::kOther) {
      ++outcome.leftAlone;
    } else if (request.olderThan > 0 && request.now - picture.changed < request.olderThan) {
      outcome.younger.add(picture.bytes);
    } else if (request.dryRun || folder.remove(name, failure)) {
      outcome.removed.add(picture.bytes);
    } else if (outcome.failed++ == 0) {
      outcome.failure = failure;
    }
  }
  return true;
}

std::string clearingText(const ClearRequest& request, const ClearOutcome& outcome) {
  if (outcome.folderMissing)
    return "there is no folder " + request.folder + ", so there are no pictures";
  std::string text = request.dryRun ? "would remove " : "removed ";
  text += counted(outcome.removed.files, "picture", "pictures");
  if (outcome.removed.files != 0) text += ", " + sizeText(outcome.removed.bytes);
  if (outcome.younger.files != 0)
    text += "; " + counted(outcome.younger.files, "younger picture stays", "younger pictures stay");
  if (outcome.leftAlone != 0)
    text += "; left alone " + std::to_string(outcome.leftAlone) +
            " that only have a picture's name (links, folders, files with a second name)";
  return text;
}
