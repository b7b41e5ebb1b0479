// SPDX-License-Identifier: Apache-2.0
#include "documents/prepare/clean_drawing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <vector>

#include "documents/prepare/local_noise.h"
#include "documents/prepare/paper_surface.h"

namespace {

// Of the paper's level.
constexpr float kLeastKnee = 0.025F;     // what is lighter is paper in any case
constexpr float kStepShare = 0.5F;       // of a change of light that the surface may miss
constexpr float kSpreads = 3.0F;         // spreads of the bare paper that are paper
constexpr float kNoiseVariances = 2.0F;  // that the Wiener filter takes away
constexpr float kBlackestInk = 0.25F;    // ink up to this lightness is stretched to black
constexpr size_t kInkPercentile = 10;    // of what is darker than half, which is black

// The softened rows around the one that is being cleaned, and the sums of their window.
class WindowRows {
 public:
  WindowRows(const LightnessView& picture, uint32_t reach)
      : picture_(picture),
        reach_(reach),
        rows_(2 * size_t{reach} + 1),
        sums_(picture.width + 2 * size_t{reach}),
        squares_(sums_.size()),
        column_(picture.width + size_t{2}) {
    for (std::vector<float>& row : rows_) row.resize(sums_.size());
    for (uint32_t y = 0; y <= reach; ++y) soften(y);
  }

  // Makes row `y` the middle one. Rows are asked for from the first on. Row y - 1 and those
  // above may have been overwritten since.
  void moveTo(uint32_t y) {
    if (y > 0) soften(y + reach_);
    std::fill(sums_.begin(), sums_.end(), 0.0F);
    std::fill(squares_.begin(), squares_.end(), 0.0F);
    const int64_t last = int64_t{y} + reach_;
    for (int64_t row = last - 2 * int64_t{reach_}; row <= last; ++row) {
      const std::vector<float>& levels = stored(row);
      for (size_t x = 0; x < levels.size(); ++x) {
        sums_[x] += levels[x];
        squares_[x] += levels[x] * levels[x];
      }
    }
    middle_ = stored(y).data() + reach_;
  }

  // The Wiener filter: `noise` is taken from the variance of each window.
  void filtered(float noise, std::span<float> row) const {
    const auto side = static_cast<float>(rows_.size());
    const float share = 1.0F / (side * side);
    for (size_t x = 0; x < row.size(); ++x) {
      float sum = 0;
      float squares = 0;
      for (size_t k = 0; k < rows_.size(); ++k) {
        sum += sums_[x + k];
        squares += squares_[x + k];
      }
      const float mean = sum * share;
      const float variance = std::max(squares * share - mean * mean, noise);
      const float gain = variance > 0 ? (variance - noise) / variance : 1.0F;
      row[x] = mean + gain * (middle_[x] - mean);
    }
  }

 private:
  uint32_t inside(int64_t y) const {
    return static_cast<uint32_t>(std::clamp<int64_t>(y, 0, int64_t{picture_.height} - 1));
  }
  std::vector<float>& stored(int64_t y) { return rows_[inside(y) % rows_.size()]; }

  // Stores row `y` after the 3 x 3 binomial filter; the edge's pixels repeat.
  void soften(uint32_t y) {
    if (y >= picture_.height) return;
    const uint8_t* above = picture_.row(inside(int64_t{y} - 1));
    const uint8_t* here = picture_.row(y);
    const uint8_t* below = picture_.row(inside(int64_t{y} + 1));
    const uint32_t width = picture_.width;
    for (uint32_t x = 0; x < width; ++x) {
      column_[x + 1] = static_cast<float>(above[x] + 2 * here[x] + below[x]);
    }
    column_[0] = column_[1];
    column_[width + size_t{1}] = column_[width];
    std::vector<float>& row = stored(y);
    float* out = row.data() + reach_;
    for (uint32_t x = 0; x < width; ++x) {
      out[x] = (column_[x] + 2 * column_[x + size_t{1}] + column_[x + size_t{2}]) * 0.0625F;
    }
    std::fill_n(row.data(), reach_, out[0]);
    std::fill_n(out + width, reach_, out[width - 1]);
  }

  LightnessView picture_;
  uint32_t reach_;
  std::vector<std::vector<float>> rows_;  // with `reach` pixels more at both ends
  std::vector<float> sums_;
  std::vector<float> squares_;
  std::vector<float> column_;
  const float* middle_ = nullptr;
};

// The share of the paper's level that the darkest ink has, from some of the pixels.
float blackLevel(const LightnessView& picture, const PaperSurface& paper, float share) {
  constexpr uint32_t kEvery = 3;  // pixels, along both sides
  constexpr size_t kBins = 128;   // up to half of the paper's level
  std::array<size_t, kBins> counts = {};
  size_t ink = 0;
  std::vector<float> level(picture.width);
  for (uint32_t y = 0; y < picture.height; y += kEvery) {
    interpolateRow(paper.level, y, level);
    const uint8_t* row = picture.row(y);
    for (uint32_t x = 0; x < picture.width; x += kEvery) {
      const float lightness = static_cast<float>(row[x]) / (level[x] * share);
      if (lightness >= 0.5F) continue;
      ++counts[static_cast<size_t>(lightness * (2 * kBins))];
      ++ink;
    }
  }
  size_t bin = 0;
  for (size_t seen = counts[0]; bin + 1 < kBins && seen * 100 < ink * kInkPercentile;) {
    seen += counts[++bin];
  }
  return std::min(kBlackestInk, static_cast<float>(bin) / (2 * kBins));
}

// Replaces a filtered row of levels by lightness on white paper. `level` and `step` are the
// surface's along the row.
void whiten(std::span<const float> levels, std::span<const float> level,
            std::span<const float> step, const PaperNoise& noise, float black, uint8_t* out) {
  const float stretch = 1.0F / (1.0F - black);
  for (size_t x = 0; x < levels.size(); ++x) {
    const float paper = 1.0F / (level[x] * noise.share);
    const float knee = std::max(kLeastKnee, kSpreads * noise.spread * paper + kStepShare * step[x]);
    const float ink = 1.0F - levels[x] * paper;
    // Nothing up to the knee, all from three knees on.
    const float kept = std::max(0.0F, std::min(ink, 1.5F * (ink - knee)));
    out[x] = static_cast<uint8_t>(255.5F - 255.0F * std::min(1.0F, kept * stretch));
  }
}

}  // namespace

void cleanDrawing(std::span<uint8_t> pixels, uint32_t width, uint32_t height, double dotsPerInch) {
  if (pixels.size() != size_t{width} * height) {
    throw std::invalid_argument("cleanDrawing: the pixels are not width x height");
  }
  if (!(dotsPerInch >= 60 && dotsPerInch <= 2400)) {
    throw std::invalid_argument("cleanDrawing: the resolution is not 60 to 2400 dots per inch");
  }
  if (pixels.empty()) return;
  const LightnessView picture = {pixels, width, height};
  constexpr double kMillimetresPerInch = 25.4;
  const double pixelsPerMm = dotsPerInch / kMillimetresPerInch;
  const uint32_t reach = statisticsReach(pixelsPerMm);
  const PaperSurface paper = findPaper(picture, pixelsPerMm);
  const PaperNoise noise = measureNoise(picture, paper, reach);
  const float black = blackLevel(picture, paper, noise.share);

  WindowRows rows(picture, reach);
  std::vector<float> filtered(width);
  std::vector<float> level(width);
  std::vector<float> step(width);
  for (uint32_t y = 0; y < height; ++y) {
    rows.moveTo(y);
    rows.filtered(kNoiseVariances * noise.variance, filtered);
    interpolateRow(paper.level, y, level);
    interpolateRow(paper.step, y, step);
    whiten(filtered, level, step, noise, black, &pixels[size_t{y} * width]);
  }
}
