// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/output_name.h"

#include <sys/stat.h>

#include <algorithm>

#include "tools/drav/io/text.h"

namespace {

// Where the ending begins, the point included; the length when there is none.
size_t endingAt(const std::string& path) {
  const size_t slash = path.rfind('/');
  const size_t name = slash == std::string::npos ? 0 : slash + 1;
  const size_t point = path.rfind('.');
  return point == std::string::npos || point <= name ? path.size() : point;
}

}  // namespace

std::string defaultOutputName(const std::string& input, const std::string& suffix) {
  if (input == "-" || input.starts_with("/dev/"))
    return suffix.substr(suffix.find_first_not_of('-'));
  const std::string whole = input.substr(0, endingAt(input));
  const size_t slash = whole.rfind('/');
  return whole.substr(slash == std::string::npos ? 0 : slash + 1) + suffix;
}

std::string insertBeforeEnding(const std::string& path, const std::string& insert) {
  std::string out = path;
  return out.insert(endingAt(path), insert);
}

std::string pageName(const std::string& path, unsigned number, unsigned last) {
  const std::string digits = std::to_string(number);
  const size_t width = std::to_string(last).size();
  std::string insert(1, '-');
  insert.append(width > digits.size() ? width - digits.size() : 0, '0').append(digits);
  return insertBeforeEnding(path, insert);
}

std::string endingOf(const std::string& path) {
  std::string ending = path.substr(endingAt(path));
  std::transform(ending.begin(), ending.end(), ending.begin(), [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  });
  return ending;
}

bool checkNotInput(const std::string& out, const std::string& input, std::string& error) {
  struct stat one = {};
  struct stat other = {};
  if (::stat(out.c_str(), &one) != 0 || ::stat(input.c_str(), &other) != 0 ||
      one.st_dev != other.st_dev || one.st_ino != other.st_ino)
    return true;
  error = printablePath(out) + ": is the input, which would be lost";
  return false;
}
