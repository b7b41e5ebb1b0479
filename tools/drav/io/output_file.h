// SPDX-License-Identifier: Apache-2.0
// A file that appears under its name only when it is complete.
#ifndef TOOLS_DRAV_IO_OUTPUT_FILE_H_
#define TOOLS_DRAV_IO_OUTPUT_FILE_H_

#include <cstdio>
#include <string>

// Everything is written to a temporary file in the folder of the output, which
// commit() renames. Without a commit, and also when SIGINT, SIGTERM or SIGHUP ends the
// program, the temporary file is removed and an older output stays as it was. Several
// may be open at a time, from one thread.
class OutputFile {
 public:
  OutputFile() = default;
  ~OutputFile() { discard(); }
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  OutputFile(OutputFile&&) = delete;
  OutputFile& operator=(OutputFile&&) = delete;

  // Creates the temporary file, with the rights that a new file gets. Refuses an
  // output that exists and is no regular file (a folder, a device, a pipe).
  // False with one line in `error`, which names the output.
  [[nodiscard]] bool open(const std::string& path, std::string& error);

  // Where to write; null unless open. Stays owned by this object.
  std::FILE* stream() const { return stream_; }

  // Writes out what is left, so that nothing but the name is missing. False with one
  // line in `error` when any write failed; the temporary file is then gone.
  [[nodiscard]] bool complete(std::string& error);

  // Completes the file and gives it its name; a symbolic link of that
  // name is replaced, not followed. False with one line in `error` when any write
  // failed; the temporary file is then gone.
  [[nodiscard]] bool commit(std::string& error);

 private:
  void discard();
  void enlist();
  void strikeOut();

  std::string path_;
  std::string temporary_;
  std::FILE* stream_ = nullptr;
};

#endif  // TOOLS_DRAV_IO_OUTPUT_FILE_H_
