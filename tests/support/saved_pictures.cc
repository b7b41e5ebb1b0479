// SPDX-License-Identifier: Apache-2.0
#include "tests/support/saved_pictures.h"

#include <algorithm>
#include <cstdlib>

std::vector<SavedPicture> savedPictures(const TempFolder& folder) {
  std::vector<SavedPicture> pictures;
  for (const std::string& name : folder.names()) {
    const size_t first = name.find('_');
    const size_t last = name.rfind('_');
    const size_t end = name.rfind(".bmp");
    if (first == std::string::npos || last == first || end == std::string::npos ||
        end + 4 != name.size() || end < last) {
      ADD_FAILURE() << "no name of a picture: " << name;
      continue;
    }
    SavedPicture picture;
    picture.name = name;
    picture.kind = name.substr(0, first);
    picture.stamp = name.substr(first + 1, last - first - 1);
    picture.number = std::strtol(name.c_str() + last + 1, nullptr, 10);
    picture.bytes = readFile(folder.file(name));
    pictures.push_back(picture);
  }
  std::sort(pictures.begin(), pictures.end(),
            [](const SavedPicture& a, const SavedPicture& b) { return a.number < b.number; });
  return pictures;
}

testing::AssertionResult samePictures(const std::vector<model::SavedImage>& expected,
                                      const std::vector<SavedPicture>& actual) {
  if (expected.size() != actual.size()) {
    return testing::AssertionFailure()
           << "expected " << expected.size() << " pictures, got " << actual.size();
  }
  for (size_t i = 0; i < expected.size(); ++i) {
    if (actual[i].kind != expected[i].kind ||
        actual[i].number != actual[0].number + static_cast<long>(i)) {
      return testing::AssertionFailure() << "picture " << i << " should be the next "
                                         << expected[i].kind << ", is " << actual[i].name;
    }
    const testing::AssertionResult same = sameBytes(expected[i].bytes, actual[i].bytes);
    if (!same) return testing::AssertionFailure() << actual[i].name << ": " << same.message();
  }
  return testing::AssertionSuccess();
}
