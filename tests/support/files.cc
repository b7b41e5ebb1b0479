// SPDX-License-Identifier: Apache-2.0
#include "tests/support/files.h"

#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

TempFolder::TempFolder() {
  std::string pattern = testing::TempDir() + "drav-test-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no scratch folder");
  path_ = pattern;
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::vector<std::string> TempFolder::names() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path_)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

void writeFile(const std::string& path, const Bytes& bytes) {
  // A new file each time: some file systems write a file that was emptied to the
  // disk at once, which would make up most of the tests' time.
  std::remove(path.c_str());
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::streamsize>(bytes.size()));
  out.close();
  if (!out.good()) throw std::runtime_error("cannot write " + path);
}

void writeFile(const std::string& path, const std::string& text) {
  writeFile(path, Bytes(text.begin(), text.end()));
}

Bytes readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  EXPECT_TRUE(in.good()) << "cannot read " << path;
  std::ostringstream content;
  content << in.rdbuf();
  const std::string text = content.str();
  return {text.begin(), text.end()};
}

MemoryStream::MemoryStream() : stream_(open_memstream(&data_, &size_)) {
  if (stream_ == nullptr) throw std::runtime_error("no stream in memory");
}

MemoryStream::~MemoryStream() {
  std::fclose(stream_);
  free(data_);
}

Bytes MemoryStream::bytes() const {
  std::fflush(stream_);
  return {data_, data_ + size_};
}

std::string MemoryStream::text() const {
  std::fflush(stream_);
  return {data_, size_};
}
