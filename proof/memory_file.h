// SPDX-License-Identifier: Apache-2.0
// A stream whose bytes end up in memory.
#ifndef PROOF_MEMORY_FILE_H_
#define PROOF_MEMORY_FILE_H_

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>

class MemoryFile {
 public:
  MemoryFile() : stream_(::open_memstream(&data_, &size_)) {}
  ~MemoryFile() {
    if (stream_ != nullptr) (void)std::fclose(stream_);
    std::free(data_);
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  MemoryFile(MemoryFile&&) = delete;
  MemoryFile& operator=(MemoryFile&&) = delete;

  // Where to write; null when there is no memory. Stays owned by this object.
  std::FILE* get() const { return stream_; }

  // Both: what was written so far, valid until the next write. REQUIRES: get() is not null.
  std::span<const uint8_t> bytes() {
    (void)std::fflush(stream_);
    return {reinterpret_cast<const uint8_t*>(data_), size_};
  }
  std::string_view text() {
    const auto all = bytes();
    return {reinterpret_cast<const char*>(all.data()), all.size()};
  }

 private:
  char* data_ = nullptr;
  size_t size_ = 0;
  std::FILE* stream_;
};

#endif  // PROOF_MEMORY_FILE_H_
