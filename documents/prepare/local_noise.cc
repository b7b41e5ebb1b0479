// SPDX-License-Identifier: Apache-2.0
#include "documents/prepare/local_noise.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace {

constexpr double kReachMm = 0.17;
constexpr size_t kMostSpots = 4000;

struct Spot {
  float mean = 0;
  float variance = 0;
};

// The level that the 3 x 3 binomial filter gives a pixel; the edge's pixels repeat.
float softened(const LightnessView& picture, int64_t x, int64_t y) {
  int sum = 0;
  for (int64_t dy = -1; dy <= 1; ++dy) {
    const uint8_t* row =
        picture.row(static_cast<uint32_t>(std::clamp<int64_t>(y + dy, 0, picture.height - 1)));
    for (int64_t dx = -1; dx <= 1; ++dx) {
      const int weight = (dx == 0 ? 2 : 1) * (dy == 0 ? 2 : 1);
      sum += weight * row[std::clamp<int64_t>(x + dx, 0, picture.width - 1)];
    }
  }
  return static_cast<float>(sum) / 16.0F;
}

Spot measureSpot(const LightnessView& picture, int64_t x, int64_t y, int64_t reach) {
  float sum = 0;
  float squares = 0;
  for (int64_t dy = -reach; dy <= reach; ++dy) {
    for (int64_t dx = -reach; dx <= reach; ++dx) {
      const float level = softened(picture, x + dx, y + dy);
      sum += level;
      squares += level * level;
    }
  }
  const auto side = static_cast<float>(2 * reach + 1);
  const float mean = sum / (side * side);
  return {mean, std::max(0.0F, squares / (side * side) - mean * mean)};
}

float median(std::vector<float>& values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

uint32_t statisticsReach(double pixelsPerMm) {
  return static_cast<uint32_t>(std::clamp(std::lround(kReachMm * pixelsPerMm), 1L, 4L));
}

PaperNoise measureNoise(const LightnessView& picture, const PaperSurface& paper, uint32_t reach) {
  const CellGrid& level = paper.level;
  const auto bare = static_cast<size_t>(std::count(paper.isBare.begin(), paper.isBare.end(), 1));
  const size_t every = std::max<size_t>(1, bare / kMostSpots);
  std::vector<float> variances;
  std::vector<float> shares;
  std::vector<float> levels;
  std::vector<float> row(picture.width);
  size_t seen = 0;
  for (uint32_t y = 0; y < level.rows; ++y) {
    const uint32_t middleY = std::min(y * level.cell + level.cell / 2, picture.height - 1);
    interpolateRow(level, middleY, row);
    for (uint32_t x = 0; x < level.columns; ++x) {
      if (paper.isBare[size_t{y} * level.columns + x] == 0 || seen++ % every != 0) continue;
      const uint32_t middleX = std::min(x * level.cell + level.cell / 2, picture.width - 1);
      const Spot spot = measureSpot(picture, middleX, middleY, reach);
      variances.push_back(spot.variance);
      shares.push_back(spot.mean / row[middleX]);
      levels.push_back(row[middleX]);
    }
  }
  PaperNoise noise;
  if (shares.empty()) return noise;
  noise.variance = median(variances);
  std::vector<float> sorted = shares;
  noise.share = median(sorted);
  for (size_t i = 0; i < shares.size(); ++i) {
    shares[i] = std::abs(shares[i] - noise.share) * levels[i];
  }
  noise.spread = 1.4826F * median(shares);
  return noise;
}
