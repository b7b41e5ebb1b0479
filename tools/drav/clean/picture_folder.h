// SPDX-License-Identifier: Apache-2.0
// The folder in which the filter leaves its diagnostic pictures. Others can write
// to it, so nothing in it is trusted: names are matched exactly, no symbolic link
// is followed, and only regular files with a single name count as pictures.
#ifndef TOOLS_DRAV_CLEAN_PICTURE_FOLDER_H_
#define TOOLS_DRAV_CLEAN_PICTURE_FOLDER_H_

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

// Where the filter leaves its pictures.
inline constexpr const char* kPictureFolder = "/var/spool/cups/tmp";

// Pictures that --clean takes, when nothing else is said, are older than this.
inline constexpr const char* kDefaultAge = "7d";

struct Picture {
  std::string name;  // without the folder
  uint64_t bytes = 0;
  std::time_t changed = 0;  // when its content was last written
};

struct PictureCount {
  uint64_t files = 0;
  uint64_t bytes = 0;

  void add(uint64_t size) {
    ++files;
    bytes += size;
  }
};

// One folder, opened once: whatever is renamed or linked afterwards, its files
// are looked at and removed in this folder and nowhere else.
class PictureFolder {
 public:
  PictureFolder() = default;
  ~PictureFolder();
  PictureFolder(const PictureFolder&) = delete;
  PictureFolder& operator=(const PictureFolder&) = delete;
  PictureFolder(PictureFolder&&) = delete;
  PictureFolder& operator=(PictureFolder&&) = delete;

  // Opens `path`, which must be a folder and no symbolic link to one. Every
  // function: false with one line in `error`; here and in list() it names the
  // folder, later the file.
  [[nodiscard]] bool open(const std::string& path, std::string& error);
  // Whether the last open() failed because there is nothing of that name.
  bool missing() const { return missing_; }

  // Every name that a picture could have, sorted. What bears it need not be a picture.
  [[nodiscard]] bool list(std::vector<std::string>& names, std::string& error) const;

  enum class Kind { kPicture, kOther, kGone };
  // What `name` is at this moment; kOther is a folder, a link, a device, or a file
  // that has a second name (the filter makes none and writes to none).
  Kind look(const std::string& name, Picture& picture) const;

  // Removes the name. A folder stays and is an error.
  [[nodiscard]] bool remove(const std::string& name, std::string& error) const;

  // Opens a picture for reading; -1 when it is no longer a picture. The caller closes it.
  int openPicture(const std::string& name) const;

 private:
  std::string path_;
  int descriptor_ = -1;
  bool missing_ = false;
};

struct ClearRequest {
  std::string folder = kPictureFolder;
  int64_t olderThan = 0;  // seconds since the last change; 0 takes all
  std::time_t now = 0;
  bool dryRun = false;  // counts what it would remove
};

struct ClearOutcome {
  bool folderMissing = false;
  PictureCount removed;
  PictureCount younger;    // pictures that are not old enough
  uint64_t leftAlone = 0;  // named like a picture, but none
  uint64_t failed = 0;     // could not be removed
  std::string failure;     // the first of them, with the reason
};

// Removes the pictures of the folder that are older than asked. What cannot be
// removed is counted and does not stop the rest. False with one line in `error`
// when the folder cannot be read; a folder that is not there is fine.
[[nodiscard]] bool clearPictures(const ClearRequest& request, ClearOutcome& outcome,
                                 std::string& error);

// The outcome in one line, such as "removed 12 pictures, 104.4 MB; 2 younger
// pictures stay".
std::string clearingText(const ClearRequest& request, const ClearOutcome& outcome);

#endif  // TOOLS_DRAV_CLEAN_PICTURE_FOLDER_H_
