// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

std::string printablePath(const std::string& path) {
  std::string name = path;
  std::replace_if(
      name.begin(), name.end(),
      [](char letter) { return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F; }, '?');
  return name;
}

std::string sizeText(uint64_t bytes) {
  if (bytes < 1000) return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
  constexpr std::array kUnits = {"kB", "MB", "GB", "TB", "PB", "EB"};
  double size = static_cast<double>(bytes) / 1000;
  size_t unit = 0;
  while (size >= 999.95 && unit + 1 < kUnits.size()) {
    size /= 1000;
    ++unit;
  }
  std::array<char, 32> text = {};
  (void)std::snprintf(text.data(), text.size(), "%.1f %s", size, kUnits[unit]);
  return text.data();
}

std::string shellWord(const std::string& text) {
  constexpr std::string_view kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+=./:,@%";
  if (!text.empty() && text.find_first_not_of(kPlain) == std::string::npos) return text;
  std::string word(1, '\'');
  for (const char letter : text) {
    if (letter == '\'') word.append("'\\'");
    word.push_back(letter);
  }
  word.push_back('\'');
  return word;
}
