// SPDX-License-Identifier: Apache-2.0
// Finds the word that a user who mistyped most likely meant.
#ifndef TOOLS_DRAV_IO_NEAREST_WORD_H_
#define TOOLS_DRAV_IO_NEAREST_WORD_H_

#include <string>
#include <vector>

// The first of `words` that takes the fewest letters inserted, dropped or exchanged
// to become `word`, whatever their case; the beginning of a word is as near as one
// letter. Empty when even that word is too far from `word`.
std::string nearestWord(const std::string& word, const std::vector<std::string>& words);

#endif  // TOOLS_DRAV_IO_NEAREST_WORD_H_
