// SPDX-License-Identifier: Apache-2.0
// The plain 8-bit picture that the models work on.
#ifndef TESTS_MODEL_GREY_H_
#define TESTS_MODEL_GREY_H_

#include <cstddef>
#include <cstdint>
#include <vector>

namespace model {

// One byte per pixel, row after row from the first row on, no padding between rows. `pixels`
// holds exactly width * height bytes.
struct Grey {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> pixels;

  size_t indexOf(int x, int y) const {
    return static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x);
  }
  uint8_t at(int x, int y) const { return pixels[indexOf(x, y)]; }
  void set(int x, int y, uint8_t level) { pixels[indexOf(x, y)] = level; }
};

// A picture of the given size, every pixel at `level`.
inline Grey makeGrey(int width, int height, uint8_t level) {
  Grey picture;
  picture.width = width;
  picture.height = height;
  picture.pixels.assign(static_cast<size_t>(width) * static_cast<size_t>(height), level);
  return picture;
}

}  // namespace model

#endif  // TESTS_MODEL_GREY_H_
