// SPDX-License-Identifier: Apache-2.0
#include "tests/model/page_patterns.h"

namespace model {
namespace {

uint8_t clampLevel(int64_t v) {
  if (v < 0) return 0;
  if (v > 255) return 255;
  return static_cast<uint8_t>(v);
}

// 0 to 255 over `count` steps; a single step is 0.
uint8_t rampLevel(int step, int count) {
  if (count < 2) return 0;
  return static_cast<uint8_t>(int64_t{step} * 255 / (count - 1));
}

void fillRect(Grey& page, int left, int top, int width, int height, uint8_t level) {
  for (int y = top; y < top + height; ++y) {
    for (int x = left; x < left + width; ++x) {
      if (x >= 0 && y >= 0 && x < page.width && y < page.height) page.set(x, y, level);
    }
  }
}

}  // namespace

uint64_t Random::next() {
  state_ += 0x9E3779B97F4A7C15U;
  uint64_t z = state_;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9U;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBU;
  return z ^ (z >> 31);
}

uint32_t Random::below(uint32_t limit) {
  if (limit == 0) return 0;
  return static_cast<uint32_t>((next() >> 32) % limit);
}

uint8_t Random::byte() { return static_cast<uint8_t>(next() >> 56); }

int sineOf(int64_t phase) {
  // Half a wave is close to the parabola through its two zeros and its crest.
  const int64_t p = ((phase % 1024) + 1024) % 1024;
  const int64_t t = p % 512;
  const int64_t crest = t * (512 - t) / 64;
  return static_cast<int>(p < 512 ? crest : -crest);
}

Grey flatPage(int width, int height, uint8_t level) { return makeGrey(width, height, level); }

Grey horizontalGradientPage(int width, int height) {
  Grey page = makeGrey(width, height, 0);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) page.set(x, y, rampLevel(x, width));
  }
  return page;
}

Grey verticalGradientPage(int width, int height) {
  Grey page = makeGrey(width, height, 0);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) page.set(x, y, rampLevel(y, height));
  }
  return page;
}

Grey noisePage(int width, int height, uint64_t seed) {
  Random random(seed);
  Grey page = makeGrey(width, height, 0);
  for (uint8_t& level : page.pixels) level = random.byte();
  return page;
}

Grey sparseNoisePage(int width, int height, uint64_t seed, uint32_t perMille) {
  Random random(seed);
  Grey page = makeGrey(width, height, 0);
  for (uint8_t& level : page.pixels) {
    const bool inked = random.below(1000) < perMille;
    const uint8_t ink = random.byte();
    if (inked) level = ink;
  }
  return page;
}

Grey textPage(int width, int height, uint64_t seed) {
  Random random(seed);
  Grey page = makeGrey(width, height, 0);
  for (int top = 4; top < height; top += 22) {
    for (int left = 6; left < width - 6; left += 11) {
      if (random.below(6) == 0) continue;  // a space between words
      for (int stroke = 0; stroke < 3; ++stroke) {
        const int along = static_cast<int>(random.below(2));
        const int dx = static_cast<int>(random.below(7));
        const int dy = static_cast<int>(random.below(13));
        if (along == 0) {
          fillRect(page, left, top + dy, 9, 2, 255);
        } else {
          fillRect(page, left + dx, top, 2, 15, 255);
        }
      }
    }
  }
  return page;
}

Grey photoPage(int width, int height, uint64_t seed) {
  Random random(seed);
  Grey page = makeGrey(width, height, 0);
  int64_t stepX[4] = {};
  int64_t stepY[4] = {};
  int64_t shift[4] = {};
  for (int k = 0; k < 4; ++k) {
    // Steps are in 1/16 of a phase unit: waves of 60 to 2000 pixels.
    stepX[k] = 8 + random.below(260);
    stepY[k] = 8 + random.below(260);
    shift[k] = random.below(1024);
  }
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      int64_t sum = 0;
      for (int k = 0; k < 4; ++k) {
        const int64_t direction = k % 2 == 0 ? 1 : -1;
        sum += sineOf((x * stepX[k] + direction * y * stepY[k]) / 16 + shift[k]);
      }
      const int64_t grain = static_cast<int64_t>(random.below(17)) - 8;
      page.set(x, y, clampLevel(128 + sum / 20 + grain));
    }
  }
  return page;
}

Grey circlesPage(int width, int height, uint64_t seed) {
  Random random(seed);
  Grey page = makeGrey(width, height, 0);
  const int smaller = width < height ? width : height;
  for (int k = 0; k < 9; ++k) {
    const int64_t cx = random.below(static_cast<uint32_t>(width));
    const int64_t cy = random.below(static_cast<uint32_t>(height));
    const int64_t radius = 3 + random.below(static_cast<uint32_t>(smaller / 4 + 1));
    const int64_t ink = 120 + random.below(136);
    const int64_t limit = radius * radius;
    for (int64_t y = cy - radius; y <= cy + radius; ++y) {
      for (int64_t x = cx - radius; x <= cx + radius; ++x) {
        if (x < 0 || y < 0 || x >= width || y >= height) continue;
        const int64_t distance = (x - cx) * (x - cx) + (y - cy) * (y - cy);
        if (distance > limit) continue;
        const int64_t level = ink * (limit - distance) / limit;
        page.set(static_cast<int>(x), static_cast<int>(y), clampLevel(level));
      }
    }
  }
  return page;
}

Grey ringsPage(int width, int height, uint64_t seed) {
  Random random(seed);
  Grey page = makeGrey(width, height, 0);
  const int smaller = width < height ? width : height;
  for (int k = 0; k < 40; ++k) {
    const int64_t cx = random.below(static_cast<uint32_t>(width));
    const int64_t cy = random.below(static_cast<uint32_t>(height));
    const int64_t radius = 20 + random.below(static_cast<uint32_t>(smaller / 4 + 1));
    for (int64_t y = cy - radius - 4; y <= cy + radius + 4; ++y) {
      for (int64_t x = cx - radius - 4; x <= cx + radius + 4; ++x) {
        if (x < 0 || y < 0 || x >= width || y >= height) continue;
        // Twice the radius times the distance from the line.
        const int64_t square = (x - cx) * (x - cx) + (y - cy) * (y - cy);
        const int64_t off =
            square > radius * radius ? square - radius * radius : radius * radius - square;
        const int64_t level = 255 * (7 * radius - off) / (2 * radius);
        if (level > 0) page.set(static_cast<int>(x), static_cast<int>(y), clampLevel(level));
      }
    }
  }
  return page;
}

const std::vector<std::string>& patternNames() {
  static const std::vector<std::string> names = {"blank",    "flat",   "full",   "horizontal",
                                                 "vertical", "noise",  "sparse", "text",
                                                 "photo",    "circles"};
  return names;
}

Grey patternPage(const std::string& name, int width, int height, uint64_t seed) {
  if (name == "flat") {
    return flatPage(width, height, static_cast<uint8_t>(1 + Random(seed).below(254)));
  }
  if (name == "full") return flatPage(width, height, 255);
  if (name == "horizontal") return horizontalGradientPage(width, height);
  if (name == "vertical") return verticalGradientPage(width, height);
  if (name == "noise") return noisePage(width, height, seed);
  if (name == "sparse") return sparseNoisePage(width, height, seed);
  if (name == "text") return textPage(width, height, seed);
  if (name == "photo") return photoPage(width, height, seed);
  if (name == "circles") return circlesPage(width, height, seed);
  return flatPage(width, height, 0);
}

}  // namespace model
