// SPDX-License-Identifier: Apache-2.0
// A zero-filled block of bytes that is freed with its owner.
#ifndef PRINTER_WORK_BUFFER_H_
#define PRINTER_WORK_BUFFER_H_

#include <cstdint>

class WorkBuffer {
 public:
  WorkBuffer() = default;
  ~WorkBuffer() { release(); }
  WorkBuffer(const WorkBuffer&) = delete;
  WorkBuffer& operator=(const WorkBuffer&) = delete;

  // Replaces the block by one of `bytes` zeros; false when it cannot be had.
  // Asking for 0 bytes succeeds.
  [[nodiscard]] bool allocate(uint64_t bytes);
  void release();

  bool isAllocated() const { return data_ != nullptr; }
  uint8_t* data() const { return data_; }

 private:
  uint8_t* data_ = nullptr;
};

#endif  // PRINTER_WORK_BUFFER_H_
