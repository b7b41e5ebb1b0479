// SPDX-License-Identifier: Apache-2.0
#include "documents/prepare/paper_surface.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "documents/prepare/outlined_areas.h"

namespace {

constexpr double kCellMm = 1.0;
constexpr uint32_t kSmallestCell = 4;   // pixels
constexpr double kWidestInkMm = 30.0;   // what is wider in both directions counts as paper
constexpr float kBareShare = 0.95F;     // of the level that the closing or the surface says
constexpr float kDarkestPaper = 0.16F;  // of the picture's light paper: shadow in the dimmest light
constexpr float kDarkestLevel = 24;     // of paper in any light
constexpr float kFlankShare = 0.92F;    // of the surface, for a shadow's flank
constexpr float kFlankStep = 0.03F;     // most that the level changes from cell to cell there
constexpr int kRelaxations = 60;

// What one cell alone can tell. Its samples are means of a few pixels, so that grain counts
// little.
struct CellLevels {
  float paper;    // lightness of the paper: mean of the lighter samples
  float darkest;  // of nearly all of them
};

CellLevels levelsOfCell(const LightnessView& picture, uint32_t left, uint32_t top, uint32_t cell) {
  constexpr uint32_t kSamples = 6;  // along a side
  const uint32_t right = std::min(left + cell, picture.width);
  const uint32_t bottom = std::min(top + cell, picture.height);
  const uint32_t step = std::max(1U, cell / kSamples);
  std::array<uint32_t, (2 * kSamples) * (2 * kSamples)> samples = {};
  size_t count = 0;
  for (uint32_t y = top; y < bottom; y += step) {
    const uint32_t yEnd = std::min(y + step, bottom);
    for (uint32_t x = left; x < right; x += step) {
      const uint32_t xEnd = std::min(x + step, right);
      uint32_t sum = 0;
      for (uint32_t row = y; row < yEnd; ++row) {
        for (uint32_t column = x; column < xEnd; ++column) sum += picture.row(row)[column];
      }
      samples[count++] = sum * 256 / ((yEnd - y) * (xEnd - x));
    }
  }
  // Ranks 60 to 90 %: less than half of a cell with a line across it is ink.
  const auto rank = [&](size_t percent) {
    return samples.begin() + static_cast<std::ptrdiff_t>(count * percent / 100);
  };
  std::sort(samples.begin(), rank(100));
  const auto last = std::max(rank(90), rank(60) + 1);
  uint64_t sum = 0;
  for (auto sample = rank(60); sample != last; ++sample) sum += *sample;
  const float paper = static_cast<float>(sum) / (256.0F * static_cast<float>(last - rank(60)));
  return {paper, static_cast<float>(*rank(7)) / 256.0F};
}

CellGrid makeGrid(uint32_t cell, uint32_t columns, uint32_t rows, float value = 0) {
  return {cell, columns, rows, std::vector<float>(size_t{columns} * rows, value)};
}

CellGrid emptyGrid(const CellGrid& like) { return makeGrid(like.cell, like.columns, like.rows); }

// The picture's cells.
struct PictureCells {
  CellGrid paper;
  CellGrid darkest;
};

PictureCells measureCells(const LightnessView& picture, double pixelsPerMm) {
  const uint32_t cell =
      std::max(kSmallestCell, static_cast<uint32_t>(std::lround(kCellMm * pixelsPerMm)));
  CellGrid grid = makeGrid(cell, (picture.width - 1) / cell + 1, (picture.height - 1) / cell + 1);
  PictureCells cells = {grid, std::move(grid)};
  for (uint32_t y = 0; y < cells.paper.rows; ++y) {
    for (uint32_t x = 0; x < cells.paper.columns; ++x) {
      const CellLevels levels = levelsOfCell(picture, x * cell, y * cell, cell);
      cells.paper.at(x, y) = levels.paper;
      cells.darkest.at(x, y) = levels.darkest;
    }
  }
  return cells;
}

// Calls back with each cell's neighbours of its 3 x 3, as many as there are.
template <typename Callback>
void forNeighbours(const CellGrid& grid, uint32_t x, uint32_t y, const Callback& callback) {
  for (uint32_t row = y > 0 ? y - 1 : 0; row <= y + 1 && row < grid.rows; ++row) {
    for (uint32_t column = x > 0 ? x - 1 : 0; column <= x + 1 && column < grid.columns; ++column)
      callback(size_t{row} * grid.columns + column);
  }
}

CellGrid median3x3(const CellGrid& grid) {
  CellGrid result = emptyGrid(grid);
  for (uint32_t y = 0; y < grid.rows; ++y) {
    for (uint32_t x = 0; x < grid.columns; ++x) {
      std::array<float, 9> values = {};
      size_t count = 0;
      forNeighbours(grid, x, y, [&](size_t at) { values[count++] = grid.values[at]; });
      const auto middle = values.begin() + static_cast<std::ptrdiff_t>(count / 2);
      std::nth_element(values.begin(), middle, values.begin() + static_cast<std::ptrdiff_t>(count));
      result.at(x, y) = *middle;
    }
  }
  return result;
}

// Slides a window of `window` cells along each row and keeps the best of it; the rows
// become shorter by window - 1. The result lies transposed, so that the next call slides
// along the columns.
template <typename Better>
CellGrid slide(const CellGrid& grid, uint32_t window, const Better& better) {
  CellGrid result = makeGrid(grid.cell, grid.rows, grid.columns + 1 - window);
  for (uint32_t y = 0; y < grid.rows; ++y) {
    for (uint32_t x = 0; x < result.rows; ++x) {
      const float* from = &grid.at(x, y);
      result.at(y, x) = *std::max_element(from, from + window, better);
    }
  }
  return result;
}

// The grid with `margin` cells more on each side, darker than any.
CellGrid withMargin(const CellGrid& grid, uint32_t margin) {
  CellGrid result = makeGrid(grid.cell, grid.columns + 2 * margin, grid.rows + 2 * margin, -1.0F);
  for (uint32_t y = 0; y < grid.rows; ++y) {
    std::copy_n(&grid.values[size_t{y} * grid.columns], grid.columns,
                &result.at(margin, y + margin));
  }
  return result;
}

// The closing by a square of 2 * reach + 1 cells. The square may hang over the picture's
// edges: what is dark up to an edge is a shadow.
CellGrid closing(const CellGrid& grid, uint32_t reach) {
  const uint32_t window = 2 * reach + 1;
  const auto darker = [](float a, float b) { return a < b; };
  const auto lighter = [](float a, float b) { return a > b; };
  CellGrid result = withMargin(grid, 2 * reach);
  result = slide(result, window, darker);  // keeps the lightest
  result = slide(result, window, darker);
  result = slide(result, window, lighter);  // keeps the darkest
  return slide(result, window, lighter);
}

float percentile(std::vector<float> values, size_t percent) {
  const auto at = values.begin() + static_cast<std::ptrdiff_t>((values.size() - 1) * percent / 100);
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

// How far a cell's level lies from its neighbours' median: twice the usual.
float tolerance(const CellGrid& cells, const CellGrid& smooth) {
  std::vector<float> distances(cells.values.size());
  for (size_t i = 0; i < distances.size(); ++i) {
    distances[i] = std::abs(cells.values[i] - smooth.values[i]);
  }
  return 2 * percentile(std::move(distances), 50);
}

// Each known cell is the mean of the known cells around it.
CellGrid smoothKnown(const CellGrid& cells, const std::vector<uint8_t>& known) {
  CellGrid result = emptyGrid(cells);
  for (uint32_t y = 0; y < cells.rows; ++y) {
    for (uint32_t x = 0; x < cells.columns; ++x) {
      if (known[size_t{y} * cells.columns + x] == 0) continue;
      float sum = 0;
      float count = 0;
      forNeighbours(cells, x, y, [&](size_t at) {
        if (known[at] == 0) return;
        sum += cells.values[at];
        ++count;
      });
      result.at(x, y) = sum / count;
    }
  }
  return result;
}

// Pull and push: the unknown cells take what a grid of half the size has there, whose
// cells are the means of the known ones among four. At least one cell is known.
void fillUnknown(CellGrid& grid, const std::vector<uint8_t>& known) {
  if (std::find(known.begin(), known.end(), 0) == known.end()) return;
  CellGrid half = makeGrid(grid.cell * 2, (grid.columns + 1) / 2, (grid.rows + 1) / 2);
  std::vector<uint8_t> halfKnown(half.values.size());
  std::vector<float> counts(half.values.size());
  for (uint32_t y = 0; y < grid.rows; ++y) {
    for (uint32_t x = 0; x < grid.columns; ++x) {
      if (known[size_t{y} * grid.columns + x] == 0) continue;
      const size_t to = size_t{y / 2} * half.columns + x / 2;
      half.values[to] += grid.at(x, y);
      ++counts[to];
    }
  }
  for (size_t i = 0; i < counts.size(); ++i) {
    halfKnown[i] = counts[i] > 0 ? 1 : 0;
    if (counts[i] > 0) half.values[i] /= counts[i];
  }
  fillUnknown(half, halfKnown);
  for (uint32_t y = 0; y < grid.rows; ++y) {
    for (uint32_t x = 0; x < grid.columns; ++x) {
      if (known[size_t{y} * grid.columns + x] == 0) grid.at(x, y) = half.at(x / 2, y / 2);
    }
  }
}

// Draws the unknown cells to the mean of their four neighbours, again and again, with
// over-relaxation: a membrane between the known ones.
void relax(CellGrid& grid, const std::vector<uint8_t>& known) {
  constexpr float kOver = 1.7F;
  for (int round = 0; round < kRelaxations; ++round) {
    for (uint32_t y = 0; y < grid.rows; ++y) {
      for (uint32_t x = 0; x < grid.columns; ++x) {
        if (known[size_t{y} * grid.columns + x] != 0) continue;
        float& value = grid.at(x, y);
        // Beyond the picture's edge a cell is as the one at the edge.
        const float left = x > 0 ? grid.at(x - 1, y) : value;
        const float right = x + 1 < grid.columns ? grid.at(x + 1, y) : value;
        const float up = y > 0 ? grid.at(x, y - 1) : value;
        const float down = y + 1 < grid.rows ? grid.at(x, y + 1) : value;
        value += kOver * ((left + right + up + down) / 4 - value);
      }
    }
  }
}

CellGrid laySurface(const CellGrid& cells, const std::vector<uint8_t>& known) {
  CellGrid surface = smoothKnown(cells, known);
  fillUnknown(surface, known);
  relax(surface, known);
  for (float& level : surface.values) level = std::clamp(level, 1.0F, 255.0F);
  return surface;
}

CellGrid relativeSteps(const CellGrid& level) {
  CellGrid steps = emptyGrid(level);
  for (uint32_t y = 0; y < level.rows; ++y) {
    for (uint32_t x = 0; x < level.columns; ++x) {
      float least = level.at(x, y);
      float most = least;
      forNeighbours(level, x, y, [&](size_t at) {
        least = std::min(least, level.values[at]);
        most = std::max(most, level.values[at]);
      });
      steps.at(x, y) = (most - least) / level.at(x, y);
    }
  }
  return steps;
}

// Of the cells that were bare so far those that are not darker than the surface; says
// whether there are any.
bool keepBare(const CellGrid& smooth, const CellGrid& surface, float darkest, float slack,
              std::vector<uint8_t>& bare) {
  bool found = false;
  for (size_t i = 0; i < bare.size(); ++i) {
    const float level = smooth.values[i];
    const bool light = level >= darkest && level >= kBareShare * surface.values[i] - slack;
    bare[i] = light && bare[i] != 0 ? 1 : 0;
    found = found || bare[i] != 0;
  }
  return found;
}

// What the closing took for light shading, but goes over into bare paper without a step: the
// flank of a shadow.
void growBare(const CellGrid& smooth, const CellGrid& surface, const std::vector<uint8_t>& shaded,
              std::vector<uint8_t>& bare) {
  std::vector<size_t> edge;
  for (size_t i = 0; i < bare.size(); ++i) {
    if (bare[i] != 0) edge.push_back(i);
  }
  while (!edge.empty()) {
    const size_t from = edge.back();
    edge.pop_back();
    const auto x = static_cast<uint32_t>(from % smooth.columns);
    const auto y = static_cast<uint32_t>(from / smooth.columns);
    forNeighbours(smooth, x, y, [&](size_t to) {
      const float level = smooth.values[to];
      if (bare[to] != 0 || shaded[to] != 0 || level < kFlankShare * surface.values[to]) return;
      if (std::abs(level - smooth.values[from]) > kFlankStep * smooth.values[from]) return;
      bare[to] = 1;
      edge.push_back(to);
    });
  }
}

}  // namespace

PaperSurface findPaper(const LightnessView& picture, double pixelsPerMm) {
  const PictureCells cells = measureCells(picture, pixelsPerMm);
  const std::vector<uint8_t> shaded = shadedAreas(cells.paper, cells.darkest);
  const CellGrid smooth = median3x3(cells.paper);
  const auto wanted = static_cast<uint32_t>(kWidestInkMm * pixelsPerMm / (2.0 * smooth.cell));
  const uint32_t reach = std::min(wanted, std::max(smooth.columns, smooth.rows));
  const float slack = tolerance(cells.paper, smooth);
  const float darkest = std::max(kDarkestLevel, kDarkestPaper * percentile(smooth.values, 95));
  PaperSurface paper = {closing(smooth, reach), emptyGrid(smooth),
                        std::vector<uint8_t>(shaded.size())};
  std::transform(shaded.begin(), shaded.end(), paper.isBare.begin(),
                 [](uint8_t dark) { return dark == 0 ? uint8_t{1} : uint8_t{0}; });
  // First by the closing, then by the surface that the cells left span.
  for (int round = 0; round < 2; ++round) {
    if (!keepBare(smooth, paper.level, darkest, slack, paper.isBare)) {
      // Nothing is light enough to be paper: white paper, all of it inked.
      std::fill(paper.level.values.begin(), paper.level.values.end(), 255.0F);
      return paper;
    }
    paper.level = laySurface(smooth, paper.isBare);
  }
  growBare(smooth, paper.level, shaded, paper.isBare);
  paper.level = laySurface(smooth, paper.isBare);
  paper.step = relativeSteps(paper.level);
  return paper;
}

void interpolateRow(const CellGrid& grid, uint32_t y, std::span<float> row) {
  // How far a pixel's middle lies behind the first cell's, in half pixels; a cell has `side`.
  const uint64_t side = 2 * uint64_t{grid.cell};
  const auto behind = [&](uint32_t pixel, uint32_t count) {
    const uint64_t middle = 2 * uint64_t{pixel} + 1;
    return std::min(std::max<uint64_t>(middle, grid.cell) - grid.cell, (count - 1) * side);
  };
  const float part = 1.0F / static_cast<float>(side);
  const auto share = [&](uint64_t rest) { return static_cast<float>(rest) * part; };
  const uint64_t down = behind(y, grid.rows);
  const auto top = static_cast<uint32_t>(down / side);
  const uint32_t bottom = std::min(top + 1, grid.rows - 1);
  const auto column = [&](uint32_t x) {
    return grid.at(x, top) + share(down % side) * (grid.at(x, bottom) - grid.at(x, top));
  };
  const auto width = static_cast<uint32_t>(row.size());
  uint32_t x = 0;
  while (x < width) {  // up to the next cell's middle
    const uint64_t across = behind(x, grid.columns);
    const auto left = static_cast<uint32_t>(across / side);
    const float first = column(left);
    const float change = column(std::min(left + 1, grid.columns - 1)) - first;
    const uint64_t end = left + 1 < grid.columns ? (grid.cell + (left + 1) * side) / 2 : width;
    for (; x < std::min<uint64_t>(end, width); ++x) {
      row[x] = first + change * share(behind(x, grid.columns) - left * side);
    }
  }
}
