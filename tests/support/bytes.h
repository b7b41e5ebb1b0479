// SPDX-License-Identifier: Apache-2.0
// Byte strings in tests: written as hexadecimal text, compared with a short
// message.
#ifndef TESTS_SUPPORT_BYTES_H_
#define TESTS_SUPPORT_BYTES_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

using Bytes = std::vector<uint8_t>;

// The bytes of a text like "1B 40, 1D 76"; everything but hexadecimal digits is
// passed over.
inline Bytes hex(std::string_view text) {
  Bytes bytes;
  std::string digits;
  for (const char c : text) {
    if (std::isxdigit(static_cast<unsigned char>(c)) == 0) continue;
    digits.push_back(c);
    if (digits.size() < 2) continue;
    bytes.push_back(static_cast<uint8_t>(std::stoul(digits, nullptr, 16)));
    digits.clear();
  }
  return bytes;
}

inline void append(Bytes& bytes, const Bytes& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

// Some bytes of a text of hexadecimal pairs, from `from` on.
inline std::string hexText(const Bytes& bytes, size_t from, size_t count) {
  std::string text;
  for (size_t i = from; i < bytes.size() && i < from + count; ++i) {
    char pair[4];
    std::snprintf(pair, sizeof pair, "%02X ", static_cast<unsigned>(bytes[i]));
    text += pair;
  }
  return text;
}

// Equality that names the first difference instead of printing everything.
inline testing::AssertionResult sameBytes(const Bytes& expected, const Bytes& actual) {
  const size_t common = std::min(expected.size(), actual.size());
  size_t at = 0;
  while (at < common && expected[at] == actual[at]) ++at;
  if (at == expected.size() && at == actual.size()) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "bytes differ at " << at << ": expected " << expected.size()
                                     << " bytes, here " << hexText(expected, at, 16) << "; got "
                                     << actual.size() << " bytes, here " << hexText(actual, at, 16);
}

#endif  // TESTS_SUPPORT_BYTES_H_
