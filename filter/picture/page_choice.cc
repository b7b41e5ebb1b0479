// SPDX-License-Identifier: Apache-2.0
#include "filter/picture/page_choice.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr int kMostCopies = 9999;

std::string_view value(const char* name, int count, cups_option_t* options) {
  const char* text = cupsGetOption(name, count, options);
  return text == nullptr ? "" : text;
}

// "1-3,7", where either end of a range may be missing.
std::vector<std::pair<uint32_t, uint32_t>> readRanges(const char* text) {
  std::vector<std::pair<uint32_t, uint32_t>> ranges;
  const auto number = [&text](uint32_t missing) {
    if (std::isdigit(static_cast<unsigned char>(*text)) == 0) return missing;
    char* end = nullptr;
    const unsigned long read = std::strtoul(text, &end, 10);
    text = end;
    return static_cast<uint32_t>(std::min<unsigned long>(read, UINT32_MAX));
  };
  while (*text != '\0') {
    const bool isRange = std::strcspn(text, "-") < std::strcspn(text, ",");
    const uint32_t first = number(1);
    const bool hasEnd = isRange && *text == '-';
    if (hasEnd) ++text;
    ranges.emplace_back(first, hasEnd ? number(UINT32_MAX) : first);
    text += std::strcspn(text, ",");
    if (*text == ',') ++text;
  }
  return ranges;
}

}  // namespace

PageChoice::PageChoice(int count, cups_option_t* options, const char* copies) {
  if (const char* ranges = cupsGetOption("page-ranges", count, options))
    ranges_ = readRanges(ranges);
  const std::string_view set = value("page-set", count, options);
  if (set == "odd") parity_ = Parity::odd;
  if (set == "even") parity_ = Parity::even;
  copies_ = std::clamp(std::atoi(copies), 1, kMostCopies);
  const std::string_view collate = value("collate", count, options);
  isCollated_ =
      collate == "true" || collate == "yes" || collate == "on" ||
      value("Collate", count, options) == "True" ||
      value("multiple-document-handling", count, options) == "separate-documents-collated-copies";
}

bool PageChoice::has(uint32_t page) const {
  if (parity_ != Parity::all && (page % 2 == 1) != (parity_ == Parity::odd)) return false;
  for (const auto& [first, last] : ranges_)
    if (page >= first && page <= last) return true;
  return ranges_.empty();
}

const char* unsupportedOption(int count, cups_option_t* options, bool isRoll, bool isPicture) {
  const char* up = cupsGetOption("number-up", count, options);
  if (up != nullptr && std::atoi(up) != 1) {
    if (isRoll) return "number-up on a roll: leave it out, and one page follows the other";
    return isPicture ? "number-up: print the picture as a PDF"
                     : "number-up without CUPS's converters: leave it out";
  }
  if (value("outputorder", count, options) == "reverse") return "outputorder=reverse";
  return nullptr;
}
