// SPDX-License-Identifier: Apache-2.0
// Scratch folders, whole files, and streams in memory.
#ifndef TESTS_SUPPORT_FILES_H_
#define TESTS_SUPPORT_FILES_H_

#include <cstdio>
#include <string>
#include <vector>

#include "tests/support/bytes.h"

// A new folder that is removed with everything in it.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::string& path() const { return path_; }
  // Path of a file in the folder; it need not exist.
  std::string file(const std::string& name) const { return path_ + "/" + name; }
  // Names of everything in the folder, sorted.
  std::vector<std::string> names() const;

 private:
  std::string path_;
};

void writeFile(const std::string& path, const Bytes& bytes);
void writeFile(const std::string& path, const std::string& text);
// Content of a file; a file that cannot be read fails the test.
Bytes readFile(const std::string& path);

// A stream whose bytes stay in memory.
class MemoryStream {
 public:
  MemoryStream();
  ~MemoryStream();
  MemoryStream(const MemoryStream&) = delete;
  MemoryStream& operator=(const MemoryStream&) = delete;

  std::FILE* get() const { return stream_; }
  // Everything written so far.
  Bytes bytes() const;
  std::string text() const;

 private:
  char* data_ = nullptr;
  size_t size_ = 0;
  std::FILE* stream_ = nullptr;
};

#endif  // TESTS_SUPPORT_FILES_H_
