// SPDX-License-Identifier: Apache-2.0
// A fuzzer's input as a source of choices, with the interface of model::Random,
// and the check that ends the program.
#ifndef TESTS_FUZZ_BYTE_FEED_H_
#define TESTS_FUZZ_BYTE_FEED_H_

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <vector>

// Ends the program, as a finding, when a promise does not hold.
inline void require(bool holds, const char* what) {
  if (holds) return;
  (void)dprintf(STDERR_FILENO, "does not hold: %s\n", what);
  std::abort();
}

// Hands out the bytes in order; 0 for ever behind the last one.
class ByteFeed {
 public:
  explicit ByteFeed(std::span<const uint8_t> bytes) : bytes_(bytes) {}

  bool empty() const { return bytes_.empty(); }
  std::span<const uint8_t> rest() const { return bytes_; }

  uint8_t byte() {
    if (bytes_.empty()) return 0;
    const uint8_t first = bytes_.front();
    bytes_ = bytes_.subspan(1);
    return first;
  }
  // From 0 to limit - 1, of as many bytes as the limit needs; 0 for a limit of 0.
  uint32_t below(uint32_t limit) {
    uint32_t value = 0;
    for (uint32_t reach = limit == 0 ? 0 : limit - 1; reach != 0; reach >>= 8U) {
      value = value << 8U | byte();
    }
    return limit == 0 ? 0 : value % limit;
  }
  uint64_t next() {
    uint64_t value = 0;
    for (int i = 0; i < 8; ++i) value = value << 8U | byte();
    return value;
  }

  // Fills `out` from a few bytes of the input: a short text of them over and over, or
  // noise that they are the seed of. Long arrays would use up the input otherwise.
  void fill(std::span<uint8_t> out) {
    const uint8_t kind = byte();
    std::vector<uint8_t> period(1U + kind % 16U);
    for (uint8_t& value : period) value = byte();
    if (kind < 128) {
      for (size_t i = 0; i < out.size(); ++i) out[i] = period[i % period.size()];
      return;
    }
    uint32_t state = 1;
    for (const uint8_t value : period) state = state * 257U + value + 1U;
    for (uint8_t& value : out) {
      state = state * 1664525U + 1013904223U;  // Numerical Recipes' generator
      value = static_cast<uint8_t>(state >> 24U);
    }
  }

 private:
  std::span<const uint8_t> bytes_;
};

#endif  // TESTS_FUZZ_BYTE_FEED_H_
