// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/clean/picture_name.h"

#include <array>
#include <charconv>
#include <cstdint>

namespace {

// A number of the name: what it ends with, and the values it can have.
struct Field {
  std::string_view end;
  int64_t least;
  int64_t most;
};

constexpr std::array<Field, 7> kFields = {{
    {"-", 0, INT32_MAX},     // year
    {"-", 1, 12},            // month
    {"_", 1, 31},            // day
    {"_", 0, 23},            // hour
    {"_", 0, 59},            // minute
    {"_", 0, 60},            // second; 60 is a leap second
    {".bmp", 0, INT64_MAX},  // count of the job's pictures
}};

bool skip(std::string_view& rest, std::string_view text) {
  if (rest.substr(0, text.size()) != text) return false;
  rest.remove_prefix(text.size());
  return true;
}

// from_chars takes no plus sign and no space; a minus sign fails the range.
bool skipNumber(std::string_view& rest, const Field& field) {
  int64_t value = 0;
  const auto [end, code] = std::from_chars(rest.data(), rest.data() + rest.size(), value);
  if (code != std::errc{} || value < field.least || value > field.most) return false;
  const auto digits = static_cast<size_t>(end - rest.data());
  if (rest[0] == '-' || (rest[0] == '0' && digits > 1)) return false;
  rest.remove_prefix(digits);
  return true;
}

}  // namespace

bool isPictureName(std::string_view name) {
  if (!skip(name, "origin_") && !skip(name, "dithered_")) return false;
  for (const Field& field : kFields)
    if (!skipNumber(name, field) || !skip(name, field.end)) return false;
  return name.empty();
}
