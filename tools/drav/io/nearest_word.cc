// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/nearest_word.h"

#include <algorithm>
#include <numeric>

namespace {

constexpr size_t kLongestWord = 64;  // longer ones are no slips of the finger
constexpr size_t kShortestBeginning = 3;

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  });
  return text;
}

// Levenshtein's distance.
size_t distance(const std::string& one, const std::string& other) {
  std::vector<size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), size_t{0});
  for (size_t i = 0; i < one.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i + 1;
    for (size_t j = 0; j < other.size(); ++j) {
      const size_t exchanged = diagonal + (one[i] == other[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({exchanged, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string nearestWord(const std::string& word, const std::vector<std::string>& words) {
  if (word.size() > kLongestWord) return "";
  const std::string wanted = lowered(word);
  std::string nearest;
  size_t least = std::max<size_t>(1, word.size() / 3) + 1;
  for (const std::string& candidate : words) {
    const std::string known = lowered(candidate);
    const bool begins = wanted.size() >= kShortestBeginning && known.starts_with(wanted);
    const size_t apart = begins && known != wanted ? 1 : distance(wanted, known);
    if (apart >= least) continue;
    least = apart;
    nearest = candidate;
  }
  return nearest;
}
