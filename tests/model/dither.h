// SPDX-License-Identifier: Apache-2.0
// The classic halftone methods on plain pictures.
#ifndef TESTS_MODEL_DITHER_H_
#define TESTS_MODEL_DITHER_H_

#include <cstdint>
#include <vector>

#include "tests/model/grey.h"

namespace model {

// One neighbour that receives `weight` / divisor of a pixel's error.
struct KernelCell {
  int dx;
  int dy;
  int weight;
};

// An error-diffusion kernel; cells are served in the listed order.
struct ErrorKernel {
  int divisor = 0;
  std::vector<KernelCell> cells;
};

// The kernel of methods 2 to 6, and Floyd-Steinberg for every other number.
ErrorKernel errorKernel(long method);

// Threshold of the 4 x 4 ordered matrix, 0 to 15.
int orderedThreshold(long x, long y);

// Threshold of the generated Bayer table, 0 to 240.
int bayerThreshold(long x, long y);

// Halftones the picture and returns one 0 (black) or 1 (white) per pixel. Methods: 0 fixed
// threshold, 1 ordered 4 x 4, 2 Burkes, 3 Stucki, 4 Jarvis-Judice-Ninke, 5 Sierra,
// 6 Stevenson-Arce, 7 Bayer, any other value Floyd-Steinberg.
std::vector<uint8_t> dither(const Grey& picture, long method);

}  // namespace model

#endif  // TESTS_MODEL_DITHER_H_
