// SPDX-License-Identifier: Apache-2.0
// A block of bytes for a page, freed with its owner.
#ifndef COMMON_BYTE_BUFFER_H_
#define COMMON_BYTE_BUFFER_H_

#include <cstdint>
#include <cstdlib>
#include <memory>

// The two requests may be mixed: both replace what was there before.
class ByteBuffer {
 public:
  ByteBuffer() = default;
  ByteBuffer(const ByteBuffer&) = delete;
  ByteBuffer& operator=(const ByteBuffer&) = delete;

  // Replaces the block by one of `bytes` zeros; false when it cannot be had.
  // Asking for 0 bytes succeeds.
  [[nodiscard]] bool allocateZeros(uint64_t bytes);

  // Keeps a block that holds `bytes` already, else replaces it by a larger one
  // whose bytes are not set; false when that cannot be had.
  [[nodiscard]] bool growTo(uint64_t bytes);

  void release();

  bool isAllocated() const { return block_ != nullptr; }
  uint8_t* data() const { return block_.get(); }

 private:
  struct Free {
    void operator()(uint8_t* block) const { std::free(block); }
  };
  // Takes over a block from malloc and its kin, null when there is none.
  bool hold(void* block, uint64_t bytes);

  std::unique_ptr<uint8_t, Free> block_;
  uint64_t capacity_ = 0;
};

#endif  // COMMON_BYTE_BUFFER_H_
