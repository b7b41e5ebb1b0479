// SPDX-License-Identifier: Apache-2.0
// The output of a child process in the pieces that a reader wants.
#ifndef DOCUMENTS_BUFFERED_CHILD_H_
#define DOCUMENTS_BUFFERED_CHILD_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "common/child_process.h"
#include "documents/grey_pages.h"

namespace documents {

class BufferedChild {
 public:
  [[nodiscard]] bool start(const ChildCommand& command, std::string& error) {
    begin_ = end_ = 0;
    hasEnded_ = false;
    return process_.start(command, error);
  }

  // Fills `bytes`. False when the output ends before.
  bool read(std::span<uint8_t> bytes);
  // The next line with its end, of at most `most` bytes; empty when there is none.
  std::string readLine(size_t most);
  // Passes over so many bytes. False when the output ends before.
  bool skip(uint64_t count);
  // True when the output has ended. Waits for it.
  bool atEnd() { return begin_ == end_ && !fill(); }

  // True when its output has ended, as far as was read.
  bool hasEnded() const { return hasEnded_; }

  ChildProcess& process() { return process_; }

 private:
  bool fill();

  ChildProcess process_;
  std::vector<uint8_t> buffer_ = std::vector<uint8_t>(size_t{1} << 16U);
  size_t begin_ = 0;
  size_t end_ = 0;
  bool hasEnded_ = false;
};

// Starts `program`, drav-picture-reader or drav-text-reader, on the open file with its limits of
// time and files. False with one line in `error`.
[[nodiscard]] bool startReader(BufferedChild& reader, const std::string& program,
                               const std::string& request, int descriptor, const World& world,
                               std::string& error);

// Why drav-picture-reader or drav-text-reader failed: its own refusal, or `cannot` with a
// reason. Ends it.
std::string readerFailure(BufferedChild& reader, const std::string& cannot);

}  // namespace documents

#endif  // DOCUMENTS_BUFFERED_CHILD_H_
