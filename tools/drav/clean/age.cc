// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/clean/age.h"

#include <charconv>

namespace {

constexpr int64_t kDay = 24 * 60 * 60;
constexpr int64_t kMostSeconds = 100 * 365 * kDay;

// Seconds of a unit; 0 for none.
int64_t unitSeconds(std::string_view unit) {
  if (unit == "s") return 1;
  if (unit == "m") return 60;
  if (unit == "h") return 60 * 60;
  if (unit == "d") return kDay;
  if (unit == "w") return 7 * kDay;
  return 0;
}

}  // namespace

bool parseAge(std::string_view text, int64_t& seconds, std::string& error) {
  int64_t count = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), count);
  const std::string_view unit = text.substr(static_cast<size_t>(end - text.data()));
  const int64_t one = unit.empty() && count == 0 ? 1 : unitSeconds(unit);
  if (code == std::errc::invalid_argument || count < 0 || one == 0 || text[0] == '-') {
    error = '"' + std::string(text) +
            "\" is not an age; an age is a number with s, m, h, d or w, such as 7d";
    return false;
  }
  if (code != std::errc{} || count > kMostSeconds / one) {
    error = '"' + std::string(text) + "\" is more than a hundred years";
    return false;
  }
  seconds = count * one;
  return true;
}
