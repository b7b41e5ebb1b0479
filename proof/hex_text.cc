// SPDX-License-Identifier: Apache-2.0
#include "proof/hex_text.h"

#include <algorithm>
#include <string_view>

std::string hexText(std::span<const uint8_t> bytes, size_t most) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  for (const uint8_t byte : bytes.first(std::min(bytes.size(), most))) {
    if (!text.empty()) text += ' ';
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 15U];
  }
  if (bytes.size() > most) text += " ...";
  return text;
}
