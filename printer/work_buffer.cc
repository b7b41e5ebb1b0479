// SPDX-License-Identifier: Apache-2.0
#include "printer/work_buffer.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

bool WorkBuffer::allocate(uint64_t bytes) {
  release();
  if (bytes > std::numeric_limits<size_t>::max()) return false;
  data_ = static_cast<uint8_t*>(std::calloc(1, std::max<size_t>(static_cast<size_t>(bytes), 1)));
  return data_ != nullptr;
}

void WorkBuffer::release() {
  std::free(data_);
  data_ = nullptr;
}
