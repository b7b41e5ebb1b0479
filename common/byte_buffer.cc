// SPDX-License-Identifier: Apache-2.0
#include "common/byte_buffer.h"

#include <sys/mman.h>

#include <algorithm>
#include <limits>

namespace {

// Uses huge pages where the system has them: mapping an A4 page 4 KiB at a time
// costs as much as reading it.
void* allocateUnset(size_t bytes) {
#ifdef MADV_HUGEPAGE
  constexpr size_t kHugePage = size_t{2} << 20U;
  if (bytes >= 2 * kHugePage) {
    void* block = nullptr;
    if (posix_memalign(&block, kHugePage, bytes) != 0) return nullptr;
    (void)madvise(block, bytes, MADV_HUGEPAGE);
    return block;
  }
#endif
  return std::malloc(bytes);
}

}  // namespace

bool ByteBuffer::allocateZeros(uint64_t bytes) {
  release();
  if (bytes > std::numeric_limits<size_t>::max()) return false;
  return hold(std::calloc(1, std::max<size_t>(static_cast<size_t>(bytes), 1)), bytes);
}

bool ByteBuffer::growTo(uint64_t bytes) {
  if (bytes <= capacity_) return true;
  release();
  if (bytes > std::numeric_limits<size_t>::max()) return false;
  return hold(allocateUnset(static_cast<size_t>(bytes)), bytes);
}

void ByteBuffer::release() {
  block_.reset();
  capacity_ = 0;
}

bool ByteBuffer::hold(void* block, uint64_t bytes) {
  block_.reset(static_cast<uint8_t*>(block));
  capacity_ = block != nullptr ? bytes : 0;
  return block != nullptr;
}
