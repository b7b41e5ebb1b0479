// SPDX-License-Identifier: Apache-2.0
// Pieces of job streams.
#ifndef TESTS_UNIT_TOOLS_JOB_BYTES_H_
#define TESTS_UNIT_TOOLS_JOB_BYTES_H_

#include <initializer_list>

#include "tests/support/bytes.h"

// A band of equal rows.
inline Bytes band(uint32_t bytesPerRow, uint32_t rows, uint8_t fill) {
  Bytes bytes = hex("1D 76 30 00");
  for (const uint32_t value : {bytesPerRow, rows}) {
    bytes.push_back(static_cast<uint8_t>(value));
    bytes.push_back(static_cast<uint8_t>(value >> 8U));
  }
  bytes.resize(bytes.size() + size_t{bytesPerRow} * rows, fill);
  return bytes;
}

// What a job begins with: 64 zero bytes, ESC @, density 8, ESC $; 76 bytes.
inline Bytes jobStart() {
  Bytes bytes(64, 0);
  append(bytes, hex("1B 40, 1F 1B 1F 13 14 08, 1B 24 01 00"));
  return bytes;
}

inline Bytes joined(std::initializer_list<Bytes> pieces) {
  Bytes bytes;
  for (const Bytes& piece : pieces) append(bytes, piece);
  return bytes;
}

#endif  // TESTS_UNIT_TOOLS_JOB_BYTES_H_
