// SPDX-License-Identifier: Apache-2.0
// The diagnostic pictures of a folder.
#ifndef TESTS_SUPPORT_SAVED_PICTURES_H_
#define TESTS_SUPPORT_SAVED_PICTURES_H_

#include <string>
#include <vector>

#include "tests/model/pages.h"
#include "tests/support/files.h"

// A picture named <kind>_<date>_<time>_<number>.bmp.
struct SavedPicture {
  std::string name;
  std::string kind;   // "origin", "dithered" or "prnimg"
  std::string stamp;  // date and time as in the name
  long number = 0;
  Bytes bytes;
};

// All of them in the order of their numbers. A file with another kind of name
// fails the test.
std::vector<SavedPicture> savedPictures(const TempFolder& folder);

// Whether kinds and contents are those of the model's pictures, and the numbers
// follow each other.
testing::AssertionResult samePictures(const std::vector<model::SavedImage>& expected,
                                      const std::vector<SavedPicture>& actual);

#endif  // TESTS_SUPPORT_SAVED_PICTURES_H_
