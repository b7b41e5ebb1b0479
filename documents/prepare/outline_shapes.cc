// SPDX-License-Identifier: Apache-2.0
#include "documents/prepare/outline_shapes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

#include "documents/prepare/thin_lines.h"

namespace {

constexpr double kCentreMm = 0.12;       // standard deviation of the narrower Gaussian
constexpr double kSmallestCentre = 0.7;  // pixels
constexpr double kSurround = 1.6;        // of the wider one; Marr and Hildreth's ratio
// Red, green, blue: what a JPEG's coarse colours disturb most counts least.
constexpr std::array<float, 3> kRgbWeights = {0.7F, 1.0F, 0.5F};
constexpr double kUnit = 8;    // of a plane of responses: levels of difference times this
constexpr double kWeak = 0.8;  // levels of difference
constexpr double kStrong = 2.0;
constexpr double kWeakNoises = 4.5;  // standard deviations of the differences' noise
constexpr double kStrongNoises = 9;
constexpr double kWeakShare = 0.06;  // of the strongest response near by
constexpr double kNearMm = 0.8;
constexpr double kShortestMm = 1.0;

// A plane of bytes with one pixel of 0 around it.
struct Plane {
  uint32_t width = 0;  // with both margins
  uint32_t height = 0;
  std::vector<uint8_t> bytes;

  Plane(uint32_t innerWidth, uint32_t innerHeight)
      : width(innerWidth + 2), height(innerHeight + 2), bytes(size_t{width} * height) {}
  uint8_t* inner(uint32_t y) { return &bytes[(size_t{y} + 1) * width + 1]; }
};

std::vector<float> gaussianTaps(double sigma, uint32_t reach) {
  std::vector<float> taps(2 * size_t{reach} + 1);
  double sum = 0;
  for (size_t i = 0; i < taps.size(); ++i) {
    const double distance = static_cast<double>(i) - reach;
    const double weight = std::exp(-distance * distance / (2 * sigma * sigma));
    taps[i] = static_cast<float>(weight);
    sum += weight;
  }
  for (float& tap : taps) tap = static_cast<float>(static_cast<double>(tap) / sum);
  return taps;
}

// One colour's rows, blurred along the row by both Gaussians, as many as the blur down the
// columns needs.
class ColourRows {
 public:
  ColourRows(uint32_t width, uint32_t reach)
      : reach_(reach), line_(width + 2 * size_t{reach}), rows_(2 * size_t{reach} + 1) {
    for (auto& row : rows_) row.fill(std::vector<float>(width));
  }

  // `first` is the row's byte of this colour, the next ones are `stride` apart.
  void store(int64_t y, const uint8_t* first, uint32_t stride,
             const std::array<std::vector<float>, 2>& taps) {
    const size_t width = line_.size() - 2 * size_t{reach_};
    for (size_t x = 0; x < width; ++x) line_[x + reach_] = static_cast<float>(first[x * stride]);
    std::fill_n(line_.begin(), reach_, line_[reach_]);
    std::fill_n(line_.end() - reach_, reach_, line_[width + reach_ - 1]);
    for (size_t which = 0; which < 2; ++which) {
      std::vector<float>& row = at(y)[which];
      std::fill(row.begin(), row.end(), 0.0F);
      for (size_t k = 0; k < taps[which].size(); ++k) {
        const float tap = taps[which][k];
        for (size_t x = 0; x < width; ++x) row[x] += tap * line_[x + k];
      }
    }
  }

  // The wider blur less the narrower one: positive on an edge's dark side.
  void difference(int64_t y, const std::array<std::vector<float>, 2>& taps, std::span<float> out) {
    std::fill(out.begin(), out.end(), 0.0F);
    for (size_t k = 0; k < rows_.size(); ++k) {
      const auto& pair = at(y + static_cast<int64_t>(k) - reach_);
      for (size_t x = 0; x < out.size(); ++x) {
        out[x] += taps[1][k] * pair[1][x] - taps[0][k] * pair[0][x];
      }
    }
  }

 private:
  std::array<std::vector<float>, 2>& at(int64_t y) {
    return rows_[static_cast<size_t>(y + reach_) % rows_.size()];
  }

  uint32_t reach_;
  std::vector<float> line_;
  std::vector<std::array<std::vector<float>, 2>> rows_;
};

struct Picture {
  std::span<const uint8_t> pixels;
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t channels = 1;
};

struct Responses {
  Plane plane;       // kUnit times the difference, up to 255
  double noise = 0;  // standard deviation of the difference where nothing is, levels
};

// Robust: half of all differences are below 0.6745 standard deviations when most of the
// picture is flat.
double noiseOf(const std::vector<size_t>& histogram, double bins) {
  size_t all = 0;
  for (const size_t count : histogram) all += count;
  size_t seen = 0;
  size_t bin = 0;
  while (bin < histogram.size() && (seen += histogram[bin]) * 2 < all) ++bin;
  return static_cast<double>(bin) / bins / 0.6745;
}

Responses findResponses(const Picture& picture, double sigma) {
  constexpr float kBins = 32;  // a level
  const auto reach = static_cast<uint32_t>(std::ceil(3 * kSurround * sigma));
  const std::array<std::vector<float>, 2> taps = {gaussianTaps(sigma, reach),
                                                  gaussianTaps(kSurround * sigma, reach)};
  std::vector<ColourRows> colours(picture.channels, ColourRows(picture.width, reach));
  const auto store = [&](int64_t y) {
    const auto row = static_cast<size_t>(std::clamp<int64_t>(y, 0, int64_t{picture.height} - 1));
    const uint8_t* first = &picture.pixels[row * picture.width * picture.channels];
    for (uint32_t c = 0; c < picture.channels; ++c) {
      colours[c].store(y, first + c, picture.channels, taps);
    }
  };
  for (int64_t y = -int64_t{reach}; y < int64_t{reach}; ++y) store(y);
  Responses found = {Plane(picture.width, picture.height), 0};
  std::vector<size_t> histogram(16 * size_t{32});
  std::vector<float> difference(picture.width);
  for (uint32_t y = 0; y < picture.height; ++y) {
    store(int64_t{y} + reach);
    uint8_t* out = found.plane.inner(y);
    for (size_t c = 0; c < colours.size(); ++c) {
      colours[c].difference(y, taps, difference);
      const float weight = colours.size() == 1 ? 1.0F : kRgbWeights[c];
      for (size_t x = 0; x < difference.size(); ++x) {
        difference[x] *= weight;
        const float scaled = std::clamp(difference[x] * static_cast<float>(kUnit), 0.0F, 255.0F);
        out[x] = std::max(out[x], static_cast<uint8_t>(scaled));
      }
      for (const float value : difference) {
        ++histogram[std::min(static_cast<size_t>(std::abs(value) * kBins), histogram.size() - 1)];
      }
    }
  }
  found.noise = noiseOf(histogram, static_cast<double>(kBins));
  return found;
}

// The strongest of each row's 2 * reach + 1 bytes around a byte (M. van Herk, "A fast
// algorithm for local minimum and maximum filters", 1992).
void strongestAlong(uint8_t* first, size_t count, size_t stride, size_t reach) {
  const size_t window = 2 * reach + 1;
  const size_t padded = (count + 2 * reach + window - 1) / window * window;
  std::vector<uint8_t> line(padded);
  std::vector<uint8_t> ahead(padded);
  std::vector<uint8_t> back(padded);
  for (size_t i = 0; i < count; ++i) line[i + reach] = first[i * stride];
  for (size_t i = 0; i < padded; ++i) {
    ahead[i] = i % window == 0 ? line[i] : std::max(ahead[i - 1], line[i]);
  }
  for (size_t i = padded; i-- > 0;) {
    back[i] = i % window == window - 1 ? line[i] : std::max(back[i + 1], line[i]);
  }
  for (size_t i = 0; i < count; ++i) first[i * stride] = std::max(back[i], ahead[i + window - 1]);
}

Plane strongestNear(Plane plane, size_t reach) {
  for (uint32_t y = 0; y < plane.height; ++y) {
    strongestAlong(&plane.bytes[size_t{y} * plane.width], plane.width, 1, reach);
  }
  for (uint32_t x = 0; x < plane.width; ++x) {
    strongestAlong(&plane.bytes[x], plane.height, plane.width, reach);
  }
  return plane;
}

// Marks with 1 what is weak and hangs together with what is strong.
void markLines(Plane& plane, const Plane& strongest, double noise) {
  enum : uint8_t { kNothing = 0, kMarked = 1, kIsWeak = 2 };
  const double weak = kUnit * std::max(kWeak, kWeakNoises * noise);
  const double strong = kUnit * std::max(kStrong, kStrongNoises * noise);
  std::vector<size_t> line;
  for (size_t i = 0; i < plane.bytes.size(); ++i) {
    const double response = plane.bytes[i];
    const bool isWeak = response > weak && response > kWeakShare * strongest.bytes[i];
    const bool isStrong = isWeak && response > strong;
    plane.bytes[i] = isStrong ? kMarked : isWeak ? kIsWeak : kNothing;
    if (isStrong) line.push_back(i);
  }
  while (!line.empty()) {
    const size_t place = line.back();
    line.pop_back();
    for (const size_t row : {place - plane.width, place, place + plane.width}) {
      for (size_t next = row - 1; next <= row + 1; ++next) {
        if (plane.bytes[next] != kIsWeak) continue;
        plane.bytes[next] = kMarked;
        line.push_back(next);
      }
    }
  }
  for (uint8_t& mark : plane.bytes) mark = mark == kMarked ? 1 : 0;
}

// Closes what is narrower than two pixels: both sides of an edge whose colours are dark in
// different planes become one.
void closeSlits(Plane& plane) {
  Plane wide = strongestNear(plane, 1);
  for (uint8_t& mark : wide.bytes) mark = 1 - mark;
  wide = strongestNear(std::move(wide), 1);
  for (uint32_t y = 0; y + 2 < plane.height; ++y) {
    const uint8_t* from = wide.inner(y);
    std::transform(from, from + plane.width - 2, plane.inner(y),
                   [](uint8_t mark) { return static_cast<uint8_t>(1 - mark); });
  }
}

// What a round pen leaves of white paper around its middle pixel, (2 * reach + 1) squared.
struct Pen {
  int64_t reach = 0;
  std::vector<uint8_t> levels;
};

Pen makePen(double diameter) {
  constexpr int kParts = 8;  // of a pixel's side
  const double radius = std::max(0.5, diameter / 2);
  Pen pen;
  pen.reach = static_cast<int64_t>(std::ceil(radius - 0.5));
  for (int64_t y = -pen.reach; y <= pen.reach; ++y) {
    for (int64_t x = -pen.reach; x <= pen.reach; ++x) {
      int covered = 0;
      for (int partY = 0; partY < kParts; ++partY) {
        for (int partX = 0; partX < kParts; ++partX) {
          const double dx = static_cast<double>(x) + (partX + 0.5) / kParts - 0.5;
          const double dy = static_cast<double>(y) + (partY + 0.5) / kParts - 0.5;
          if (dx * dx + dy * dy <= radius * radius) ++covered;
        }
      }
      pen.levels.push_back(static_cast<uint8_t>(255 - 255 * covered / (kParts * kParts)));
    }
  }
  return pen;
}

std::vector<uint8_t> drawLines(Plane& lines, const Pen& pen) {
  const int64_t width = lines.width - 2;
  const int64_t height = lines.height - 2;
  std::vector<uint8_t> drawing(static_cast<size_t>(width * height), 255);
  for (int64_t y = 0; y < height; ++y) {
    const uint8_t* marks = lines.inner(static_cast<uint32_t>(y));
    for (int64_t x = 0; x < width; ++x) {
      if (marks[x] == 0) continue;
      const uint8_t* level = pen.levels.data();
      for (int64_t penY = y - pen.reach; penY <= y + pen.reach; ++penY) {
        for (int64_t penX = x - pen.reach; penX <= x + pen.reach; ++penX, ++level) {
          if (penX < 0 || penX >= width || penY < 0 || penY >= height) continue;
          uint8_t& to = drawing[static_cast<size_t>(penY * width + penX)];
          to = std::min(to, *level);
        }
      }
    }
  }
  return drawing;
}

void checkPicture(const Picture& picture, double dotsPerInch) {
  if (picture.channels != 1 && picture.channels != 3) {
    throw std::invalid_argument("outlineShapes: not 1 or 3 channels");
  }
  if (picture.pixels.size() != size_t{picture.width} * picture.height * picture.channels) {
    throw std::invalid_argument("outlineShapes: the pixels are not width x height x channels");
  }
  if (!(dotsPerInch >= 60 && dotsPerInch <= 2400)) {
    throw std::invalid_argument("outlineShapes: the resolution is not 60 to 2400 dots per inch");
  }
}

}  // namespace

std::vector<uint8_t> outlineShapes(std::span<const uint8_t> pixels, uint32_t width, uint32_t height,
                                   uint32_t channels, double dotsPerInch) {
  const Picture picture = {pixels, width, height, channels};
  checkPicture(picture, dotsPerInch);
  if (pixels.empty()) return {};
  constexpr double kMillimetresPerInch = 25.4;
  const double pixelsPerMm = dotsPerInch / kMillimetresPerInch;
  Responses found = findResponses(picture, std::max(kSmallestCentre, kCentreMm * pixelsPerMm));
  Plane& plane = found.plane;
  const auto near = static_cast<size_t>(std::max(1.0, std::round(kNearMm * pixelsPerMm)));
  markLines(plane, strongestNear(plane, near), found.noise);
  closeSlits(plane);
  thinLines(plane.bytes, plane.width);
  // Twice: where two short branches fork, the first round leaves one.
  for (int round = 0; round < 2; ++round) {
    dropShortBranches(plane.bytes, plane.width, static_cast<size_t>(kShortestMm * pixelsPerMm));
  }
  dropShortLines(plane.bytes, plane.width, static_cast<size_t>(kShortestMm * pixelsPerMm));
  return drawLines(plane, makePen(kOutlineMm * pixelsPerMm));
}
