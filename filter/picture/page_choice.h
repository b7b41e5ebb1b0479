// SPDX-License-Identifier: Apache-2.0
// Which pages of a document a job prints, in what order and how often.
#ifndef FILTER_PICTURE_PAGE_CHOICE_H_
#define FILTER_PICTURE_PAGE_CHOICE_H_

#include <cups/cups.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

class PageChoice {
 public:
  // From the options page-ranges, page-set and collate, or those that mean the same, and
  // the filter's argument of copies.
  PageChoice(int count, cups_option_t* options, const char* copies);

  bool has(uint32_t page) const;  // from 1

  // The whole document so often, and each page so often in it.
  int rounds() const { return isCollated_ ? copies_ : 1; }
  int copiesOfPage() const { return isCollated_ ? 1 : copies_; }

 private:
  enum class Parity : uint8_t { all, odd, even };

  std::vector<std::pair<uint32_t, uint32_t>> ranges_;  // first and last
  Parity parity_ = Parity::all;
  int copies_ = 1;
  bool isCollated_ = false;
};

// What is asked for and is not done here, with what to do instead; null for nothing.
const char* unsupportedOption(int count, cups_option_t* options, bool isRoll, bool isPicture);

#endif  // FILTER_PICTURE_PAGE_CHOICE_H_
