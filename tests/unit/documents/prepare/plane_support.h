// SPDX-License-Identifier: Apache-2.0
// What the tests of the preparation share: planes drawn by rule, and what hangs together
// in them.
#ifndef TESTS_UNIT_DOCUMENTS_PREPARE_PLANE_SUPPORT_H_
#define TESTS_UNIT_DOCUMENTS_PREPARE_PLANE_SUPPORT_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "tests/model/grey.h"

// A picture whose pixels a rule gives, clamped to a byte.
inline model::Grey drawn(int width, int height, const std::function<double(int, int)>& rule) {
  model::Grey picture = model::makeGrey(width, height, 0);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      picture.set(x, y, static_cast<uint8_t>(std::clamp(rule(x, y) + 0.5, 0.0, 255.0)));
    }
  }
  return picture;
}

// Pixels that are reached from (x, y) over pixels that `passes`, by sides alone or by
// corners too; they are struck off `passes`.
inline size_t reachedFrom(std::vector<bool>& passes, int width, int x, int y, bool byCorners) {
  const int height = static_cast<int>(passes.size()) / width;
  std::vector<std::pair<int, int>> line = {{x, y}};
  passes[static_cast<size_t>(y * width + x)] = false;
  for (size_t i = 0; i < line.size(); ++i) {
    for (int dy = -1; dy <= 1; ++dy) {
      for (int dx = -1; dx <= 1; ++dx) {
        if (!byCorners && dx != 0 && dy != 0) continue;
        const int nextX = line[i].first + dx;
        const int nextY = line[i].second + dy;
        if (nextX < 0 || nextX >= width || nextY < 0 || nextY >= height) continue;
        const auto next = static_cast<size_t>(nextY * width + nextX);
        if (!passes[next]) continue;
        passes[next] = false;
        line.emplace_back(nextX, nextY);
      }
    }
  }
  return line.size();
}

// How many parts hang together.
inline int countParts(std::vector<bool> passes, int width, bool byCorners) {
  int parts = 0;
  for (size_t i = 0; i < passes.size(); ++i) {
    if (!passes[i]) continue;
    const auto place = static_cast<int>(i);
    reachedFrom(passes, width, place % width, place / width, byCorners);
    ++parts;
  }
  return parts;
}

#endif  // TESTS_UNIT_DOCUMENTS_PREPARE_PLANE_SUPPORT_H_
