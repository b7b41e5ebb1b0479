// SPDX-License-Identifier: Apache-2.0
// A private folder for files that other programs must find by name.
#ifndef TOOLS_DRAV_IO_SCRATCH_FOLDER_H_
#define TOOLS_DRAV_IO_SCRATCH_FOLDER_H_

#include <string>

// Made below TMPDIR, or /tmp, for this user alone; removed with everything in it.
// Needs an Interruption around it, or a signal leaves it behind.
class ScratchFolder {
 public:
  ScratchFolder() = default;
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ScratchFolder(ScratchFolder&&) = delete;
  ScratchFolder& operator=(ScratchFolder&&) = delete;

  // Makes the folder unless it is there. False with one line in `error`.
  [[nodiscard]] bool make(std::string& error);

  // Path of a file in the folder; it need not exist. REQUIRES: make() was true.
  std::string file(const std::string& name) const { return path_ + "/" + name; }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// Writes `content` to a file that exists after this. False with one line in `error`.
[[nodiscard]] bool writeScratchFile(const std::string& path, const void* content, size_t size,
                                    std::string& error);

#endif  // TOOLS_DRAV_IO_SCRATCH_FOLDER_H_
