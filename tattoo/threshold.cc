// SPDX-License-Identifier: Apache-2.0
#include "tattoo/threshold.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>

#include "tattoo/fast_math.h"

namespace {

constexpr int kLevels = 256;
constexpr int32_t kNoSolution = 128;
constexpr uint64_t kEachByte = 0x0101010101010101;

// Whether the eight levels are 0 or 255 each: 255 times their top bit.
bool isTwoLevels(uint64_t levels) { return levels == ((levels >> 7U) & kEachByte) * 255; }

// How many of eight such levels are 255.
int32_t solidLevels(uint64_t levels) {
  return static_cast<int32_t>(((levels & kEachByte) * kEachByte) >> 56U);
}

}  // namespace

void countLevels(const uint8_t* pixels, size_t size, LevelHistogram& histogram) {
  constexpr size_t kGroup = 16;  // levels
  // Eight counters a level: neighbours of one level must not wait for each other's count.
  std::array<std::array<int32_t, kLevels>, 8> counts = {};
  int32_t solid = 0;  // groups of paper and solid ink: levels 255
  int32_t grouped = 0;
  const size_t whole = size - size % kGroup;
  for (size_t i = 0; i < whole; i += kGroup) {
    std::array<uint64_t, kGroup / sizeof(uint64_t)> words = {};
    std::memcpy(words.data(), pixels + i, sizeof words);
    if (words[0] == words[1] && words[0] == std::rotl(words[0], 8)) {
      counts[0][words[0] & 0xFFU] += static_cast<int32_t>(kGroup);  // as most of a drawing is
      continue;
    }
    if (isTwoLevels(words[0]) && isTwoLevels(words[1])) {  // as most of a text is
      solid += solidLevels(words[0]) + solidLevels(words[1]);
      grouped += static_cast<int32_t>(kGroup);
      continue;
    }
    for (size_t k = 0; k < kGroup; ++k) ++counts[k % counts.size()][pixels[i + k]];
  }
  for (size_t i = whole; i < size; ++i) ++histogram[pixels[i]];
  histogram[kLevels - 1] += solid;
  histogram[0] += grouped - solid;
  for (size_t k = 0; k < kLevels; ++k) {
    for (const auto& count : counts) histogram[k] += count[k];
  }
}

// Counts the first width * height bytes, a 32-bit product.
int32_t thresh_global_moments(const QZImage& image) {
  const auto count = static_cast<int32_t>(static_cast<uint32_t>(image.width) *
                                          static_cast<uint32_t>(image.height));
  const int64_t readable = std::min(int64_t{count}, image.byteCount());
  LevelHistogram histogram = {};
  if (readable > 0) countLevels(image.data, static_cast<size_t>(readable), histogram);
  return momentThreshold(histogram, count);
}

int32_t momentThreshold(const LevelHistogram& histogram, int32_t count) {
  std::array<float, kLevels> p = {};  // share of each level
  for (size_t k = 0; k < kLevels; ++k) {
    p[k] = static_cast<float>(histogram[k]) / static_cast<float>(count);
  }

  // Moments about zero; the powers of k are whole numbers before they become
  // single precision.
  const float m0 = 1.0F;
  float m1 = 0.0F;
  float m2 = 0.0F;
  float m3 = 0.0F;
  for (int32_t k = 0; k < kLevels; ++k) {
    const float share = p[static_cast<size_t>(k)];
    m1 = static_cast<float>(k) * share + m1;
    m2 = static_cast<float>(k * k) * share + m2;
    m3 = static_cast<float>(k * k * k) * share + m3;
  }

  // The two levels z0 < z1 of the moment-preserving image are the roots of
  // z^2 + c1 z + c0.
  const float cd = m0 * m2 + (-(m1 * m1));
  const float c0 = ((-m2) * m2 + m1 * m3) / cd;
  const float c1 = (m0 * (-m3) + m2 * m1) / cd;
  const auto disc =
      static_cast<float>(static_cast<double>(c1 * c1) + static_cast<double>(c0) * -4.0);
  // One grey level (0 / 0), or levels so close that cd cancels: the equations
  // say nothing, and the square root would not end.
  const bool undefined = disc != disc || disc == std::numeric_limits<float>::infinity();
  if (undefined || disc < 0.0F) return kNoSolution;

  const float z0 = 0.5F * (-c1 - my_sqrt(disc));
  const float z1 = 0.5F * (-c1 + my_sqrt(disc));
  const float darkShare = (z1 - m1) / (z1 - z0);
  float sum = 0.0F;
  for (int32_t k = 0; k < kLevels; ++k) {
    sum = p[static_cast<size_t>(k)] + sum;
    if (sum > darkShare) return k;
  }
  return -1;
}
