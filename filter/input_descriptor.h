// SPDX-License-Identifier: Apache-2.0
// Where the raster stream of a job comes from.
#ifndef FILTER_INPUT_DESCRIPTOR_H_
#define FILTER_INPUT_DESCRIPTOR_H_

#include <fcntl.h>
#include <unistd.h>

#include <utility>

// Closes a file that it has opened itself; standard input stays open.
class InputDescriptor {
 public:
  explicit InputDescriptor(int standardInput) : descriptor_(standardInput) {}
  InputDescriptor(InputDescriptor&& other) noexcept
      : descriptor_(other.descriptor_), opened_(std::exchange(other.opened_, false)) {}
  ~InputDescriptor() {
    if (opened_) close(descriptor_);
  }
  InputDescriptor(const InputDescriptor&) = delete;
  InputDescriptor& operator=(const InputDescriptor&) = delete;
  InputDescriptor& operator=(InputDescriptor&&) = delete;

  // Takes the file instead of standard input; false when it cannot be opened.
  // REQUIRES: called at most once.
  [[nodiscard]] bool open(const char* path) {
    descriptor_ = ::open(path, O_RDONLY | O_CLOEXEC);
    opened_ = descriptor_ != -1;
    return opened_;
  }

  int get() const { return descriptor_; }

 private:
  int descriptor_;
  bool opened_ = false;
};

#endif  // FILTER_INPUT_DESCRIPTOR_H_
