// SPDX-License-Identifier: Apache-2.0
// Reads PNG pictures back.
#ifndef TESTS_UNIT_TOOLS_PNG_READING_H_
#define TESTS_UNIT_TOOLS_PNG_READING_H_

#include <gtest/gtest.h>
#include <png.h>

#include <string>

#include "tests/support/bytes.h"

struct Picture {
  uint32_t width = 0;
  uint32_t height = 0;
  Bytes levels;  // one byte a pixel, 0 black to 255 white
};

inline Picture readPng(const std::string& path) {
  Picture picture;
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
    ADD_FAILURE() << path << ": " << image.message;
    return picture;
  }
  picture.width = image.width;
  picture.height = image.height;
  image.format = PNG_FORMAT_GRAY;
  picture.levels.resize(PNG_IMAGE_SIZE(image));
  EXPECT_NE(png_image_finish_read(&image, nullptr, picture.levels.data(), 0, nullptr), 0)
      << image.message;
  return picture;
}

// The levels of packed rows: a set bit is black.
inline Bytes levelsOf(const Bytes& packed) {
  Bytes levels;
  for (const uint8_t byte : packed)
    for (int bit = 7; bit >= 0; --bit)
      levels.push_back((byte >> static_cast<unsigned>(bit) & 1U) != 0 ? 0 : 255);
  return levels;
}

#endif  // TESTS_UNIT_TOOLS_PNG_READING_H_
