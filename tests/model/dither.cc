// SPDX-License-Identifier: Apache-2.0
#include "tests/model/dither.h"

namespace model {
namespace {

std::vector<uint8_t> fixedThreshold(const Grey& picture) {
  std::vector<uint8_t> out;
  for (uint8_t level : picture.pixels) out.push_back(level <= 128 ? 0 : 1);
  return out;
}

std::vector<uint8_t> ordered(const Grey& picture) {
  std::vector<uint8_t> out;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const int d = (picture.at(x, y) * 16) / 255;
      const int r = d % 16;
      const int o = d / 16;
      // The position only reaches 2 for a level above 255, which a byte cannot hold.
      const int position = orderedThreshold(x, y) < r ? o + 1 : o;
      out.push_back(static_cast<uint8_t>(position));
    }
  }
  return out;
}

std::vector<uint8_t> bayer(const Grey& picture) {
  std::vector<uint8_t> out;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      out.push_back(picture.at(x, y) <= bayerThreshold(x, y) ? 0 : 1);
    }
  }
  return out;
}

std::vector<uint8_t> diffuse(Grey picture, const ErrorKernel& kernel) {
  std::vector<uint8_t> out;
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const int64_t level = picture.at(x, y);
      int64_t error = level;
      uint8_t dot = 0;
      if (level > 128) {
        dot = 1;
        error = level - 255;
      }
      out.push_back(dot);
      for (const KernelCell& cell : kernel.cells) {
        const int nx = x + cell.dx;
        const int ny = y + cell.dy;
        // A neighbour outside the picture loses its share; nobody else gets it.
        if (nx < 0 || nx >= picture.width || ny < 0 || ny >= picture.height) continue;
        int64_t value = picture.at(nx, ny) + (error * cell.weight) / kernel.divisor;
        if (value < 0) value = 0;
        if (value > 255) value = 255;
        picture.set(nx, ny, static_cast<uint8_t>(value));
      }
    }
  }
  return out;
}

}  // namespace

ErrorKernel errorKernel(long method) {
  switch (method) {
    case 2:  // Burkes
      return {32, {{1, 0, 8}, {2, 0, 4}, {-2, 1, 2}, {-1, 1, 4}, {0, 1, 8}, {1, 1, 4}, {2, 1, 2}}};
    case 3:  // Stucki
      return {42,
              {{1, 0, 8},
               {2, 0, 4},
               {-2, 1, 2},
               {-1, 1, 4},
               {0, 1, 8},
               {1, 1, 4},
               {2, 1, 2},
               {-2, 2, 1},
               {-1, 2, 2},
               {0, 2, 4},
               {1, 2, 2},
               {2, 2, 1}}};
    case 4:  // Jarvis, Judice and Ninke
      return {48,
              {{1, 0, 7},
               {2, 0, 5},
               {-2, 1, 3},
               {-1, 1, 5},
               {0, 1, 7},
               {1, 1, 5},
               {2, 1, 3},
               {-2, 2, 1},
               {-1, 2, 3},
               {0, 2, 5},
               {1, 2, 3},
               {2, 2, 1}}};
    case 5:  // Sierra
      return {32,
              {{1, 0, 5},
               {2, 0, 3},
               {-2, 1, 2},
               {-1, 1, 4},
               {0, 1, 5},
               {1, 1, 4},
               {2, 1, 2},
               {-1, 2, 2},
               {0, 2, 3},
               {1, 2, 2}}};
    case 6:  // Stevenson and Arce
      return {200,
              {{2, 0, 32},
               {-3, 1, 12},
               {-1, 1, 26},
               {1, 1, 30},
               {3, 1, 16},
               {-2, 2, 12},
               {0, 2, 26},
               {2, 2, 12},
               {-3, 3, 5},
               {-1, 3, 12},
               {1, 3, 12},
               {3, 3, 5}}};
    default:  // Floyd and Steinberg
      return {16, {{1, 0, 7}, {-1, 1, 3}, {0, 1, 5}, {1, 1, 1}}};
  }
}

int orderedThreshold(long x, long y) {
  static const int matrix[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
  return matrix[y & 3][x & 3];
}

int bayerThreshold(long x, long y) {
  const int order = 4;
  const int i = static_cast<int>((x % order) + order * (y % order));
  int a = i / order;
  int b = i % order;
  int v = 0;
  for (int round = 0; round < order; ++round) {
    v = (((v << 1) | ((a & 1) ^ (b & 1))) << 1) | (b & 1);
    a >>= 1;
    b >>= 1;
  }
  return v & 255;
}

std::vector<uint8_t> dither(const Grey& picture, long method) {
  if (method == 0) return fixedThreshold(picture);
  if (method == 1) return ordered(picture);
  if (method == 7) return bayer(picture);
  return diffuse(picture, errorKernel(method));
}

}  // namespace model
