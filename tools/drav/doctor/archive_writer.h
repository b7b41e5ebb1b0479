// SPDX-License-Identifier: Apache-2.0
// A tar archive, compressed with gzip, that only its owner can read.
#ifndef TOOLS_DRAV_DOCTOR_ARCHIVE_WRITER_H_
#define TOOLS_DRAV_DOCTOR_ARCHIVE_WRITER_H_

#include <ctime>
#include <memory>
#include <string>

class ArchiveWriter {
 public:
  ArchiveWriter();
  ~ArchiveWriter();
  ArchiveWriter(const ArchiveWriter&) = delete;
  ArchiveWriter& operator=(const ArchiveWriter&) = delete;
  ArchiveWriter(ArchiveWriter&&) = delete;
  ArchiveWriter& operator=(ArchiveWriter&&) = delete;

  // Begins the archive; it appears under `path` with finish(). Every function:
  // false with one line in `error`.
  [[nodiscard]] bool open(const std::string& path, std::string& error);
  // Adds a file of this content.
  [[nodiscard]] bool add(const std::string& name, const std::string& content, std::time_t changed,
                         std::string& error);
  // Adds what is left to read of an open file, up to the size that it has now.
  [[nodiscard]] bool addOpenFile(const std::string& name, int descriptor, std::string& error);
  [[nodiscard]] bool finish(std::string& error);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

#endif  // TOOLS_DRAV_DOCTOR_ARCHIVE_WRITER_H_
