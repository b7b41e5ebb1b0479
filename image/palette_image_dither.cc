// SPDX-License-Identifier: Apache-2.0
// The nine halftones. Rows run from the first to the last and pixels from left
// to right on every row. Each method exists once for 8-bit pages, with row
// pointers, and error diffusion once more through the pixel accessors for the
// other depths.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

#include "image/palette_image.h"

namespace {

constexpr int kThreshold = 128;  // levels above it are white

// ---- Kernels ---------------------------------------------------------------

struct DiffusionTap {
  int dx;
  int dy;
  int weight;
};

// Taps in the order in which they are applied. The weights sum to the divisor.
template <size_t kTaps>
struct DiffusionKernel {
  int divisor;
  std::array<DiffusionTap, kTaps> taps;

  static constexpr size_t kTapCount = kTaps;

  constexpr bool isNormalised() const {
    int sum = 0;
    for (const DiffusionTap& tap : taps) sum += tap.weight;
    return sum == divisor;
  }
  // Columns that a tap may reach to either side, and rows below.
  constexpr int reach() const {
    int farthest = 0;
    for (const DiffusionTap& tap : taps) {
      farthest = std::max(farthest, tap.dx < 0 ? -tap.dx : tap.dx);
    }
    return farthest;
  }
  constexpr int depth() const {
    int deepest = 0;
    for (const DiffusionTap& tap : taps) deepest = std::max(deepest, tap.dy);
    return deepest;
  }
};

constexpr DiffusionKernel<7> kBurkes = {
    32, {{{1, 0, 8}, {2, 0, 4}, {-2, 1, 2}, {-1, 1, 4}, {0, 1, 8}, {1, 1, 4}, {2, 1, 2}}}};

constexpr DiffusionKernel<12> kStucki = {42,
                                         {{{1, 0, 8},
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
                                           {2, 2, 1}}}};

constexpr DiffusionKernel<12> kJarvisJudiceNinke = {48,
                                                    {{{1, 0, 7},
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
                                                      {2, 2, 1}}}};

constexpr DiffusionKernel<10> kSierra = {32,
                                         {{{1, 0, 5},
                                           {2, 0, 3},
                                           {-2, 1, 2},
                                           {-1, 1, 4},
                                           {0, 1, 5},
                                           {1, 1, 4},
                                           {2, 1, 2},
                                           {-1, 2, 2},
                                           {0, 2, 3},
                                           {1, 2, 2}}}};

constexpr DiffusionKernel<12> kStevensonArce = {200,
                                                {{{2, 0, 32},
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
                                                  {3, 3, 5}}}};

constexpr DiffusionKernel<4> kFloydSteinberg = {16,
                                                {{{1, 0, 7}, {-1, 1, 3}, {0, 1, 5}, {1, 1, 1}}}};

static_assert(kBurkes.isNormalised() && kStucki.isNormalised() &&
              kJarvisJudiceNinke.isNormalised() && kSierra.isNormalised() &&
              kStevensonArce.isNormalised() && kFloydSteinberg.isNormalised());

// ---- Error diffusion ---------------------------------------------------------

// A neighbour's level plus its share of the error: the division truncates toward
// zero for each cell by itself, and the sum is clamped, so part of the error is
// lost. That is the method's arithmetic.
inline uint8_t diffused(uint8_t level, int error, int weight, int divisor) {
  return static_cast<uint8_t>(std::clamp(level + error * weight / divisor, 0, 255));
}

void setBit(uint8_t* row, long x) {
  row[x >> 3] = static_cast<uint8_t>(row[x >> 3] | (0x80U >> (x & 7)));
}

// The rows that a kernel can touch from the current row on; null below the image.
using RowWindow = std::array<uint8_t*, 4>;

template <const auto& kKernel, size_t kTap, bool kChecked>
inline void applyTap(const RowWindow& rows, long x, long width, int error) {
  constexpr DiffusionTap kCell = kKernel.taps[kTap];
  uint8_t* row = rows[kCell.dy];
  if constexpr (kChecked) {
    if (row == nullptr || x + kCell.dx < 0 || x + kCell.dx >= width) return;
  }
  row[x + kCell.dx] = diffused(row[x + kCell.dx], error, kCell.weight, kKernel.divisor);
}

template <const auto& kKernel, bool kChecked, size_t... kTaps>
inline void diffusePixel(const RowWindow& rows, long x, long width, uint8_t* bits,
                         std::index_sequence<kTaps...> /*taps*/) {
  const int level = rows[0][x];
  int error = level;
  if (level > kThreshold) {
    setBit(bits, x);
    error = level - 255;
  }
  (applyTap<kKernel, kTaps, kChecked>(rows, x, width, error), ...);
}

template <const auto& kKernel>
void diffuseGrey(PaletteImage& source, PaletteImage& target) {
  constexpr auto kTaps = std::make_index_sequence<kKernel.kTapCount>();
  constexpr long kReach = kKernel.reach();
  const auto width = static_cast<long>(source.GetWidth());
  for (uint32_t y = 0; y < source.GetHeight(); ++y) {
    RowWindow rows = {};
    for (uint32_t d = 0; d < rows.size(); ++d) rows[d] = source.GetBits(y + d);
    uint8_t* bits = target.GetBits(y);
    // Only the middle of a row whose kernel ends inside the image goes unchecked.
    const bool deepEnough = rows[kKernel.depth()] != nullptr;
    const long left = deepEnough ? std::min(kReach, width) : width;
    const long right = deepEnough ? std::max(left, width - kReach) : width;
    long x = 0;
    for (; x < left; ++x) diffusePixel<kKernel, true>(rows, x, width, bits, kTaps);
    for (; x < right; ++x) diffusePixel<kKernel, false>(rows, x, width, bits, kTaps);
    for (; x < width; ++x) diffusePixel<kKernel, true>(rows, x, width, bits, kTaps);
  }
}

// The same through the accessors, for 4 bits (levels 0 to 15) and 24 bits,
// whose index reads as 0 and cannot be written.
template <const auto& kKernel>
void diffuseIndexed(PaletteImage& source, PaletteImage& target) {
  const auto width = static_cast<long>(source.GetWidth());
  const auto height = static_cast<long>(source.GetHeight());
  for (long y = 0; y < height; ++y) {
    for (long x = 0; x < width; ++x) {
      const int level = source.BlindGetPixelIndex(x, y);
      const bool white = level > kThreshold;
      target.SetPixelIndex(x, y, white ? 255 : 0);
      const int error = white ? level - 255 : level;
      for (const DiffusionTap& tap : kKernel.taps) {
        const uint8_t old = source.GetPixelIndex(x + tap.dx, y + tap.dy);
        source.SetPixelIndex(x + tap.dx, y + tap.dy,
                             diffused(old, error, tap.weight, kKernel.divisor));
      }
    }
  }
}

template <const auto& kKernel>
void diffuse(PaletteImage& source, PaletteImage& target) {
  if (source.GetBpp() == 8) {
    diffuseGrey<kKernel>(source, target);
  } else {
    diffuseIndexed<kKernel>(source, target);
  }
}

// ---- Threshold methods -------------------------------------------------------

// Sets the bits of the pixels for which `isWhite(level, x, y)` holds.
template <typename Rule>
void thresholdEach(const PaletteImage& source, PaletteImage& target, Rule isWhite) {
  const auto width = static_cast<long>(source.GetWidth());
  const auto height = static_cast<long>(source.GetHeight());
  const bool grey = source.GetBpp() == 8;
  for (long y = 0; y < height; ++y) {
    const uint8_t* row = source.GetBits(static_cast<uint32_t>(y));
    uint8_t* bits = target.GetBits(static_cast<uint32_t>(y));
    for (long x = 0; x < width; ++x) {
      const int level = grey ? row[x] : source.BlindGetPixelIndex(x, y);
      if (isWhite(level, x, y)) setBit(bits, x);
    }
  }
}

void thresholdFixed(const PaletteImage& source, PaletteImage& target) {
  thresholdEach(source, target, [](int level, long, long) { return level > kThreshold; });
}

// Levels become 0 to 16; 16, reached by 255 alone, is white everywhere.
void thresholdOrdered(const PaletteImage& source, PaletteImage& target) {
  static constexpr int kMatrix[4][4] = {
      {0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
  thresholdEach(source, target, [](int level, long x, long y) {
    const int scaled = level * 16 / 255;
    return scaled >= 16 || kMatrix[y & 3][x & 3] < scaled;
  });
}

// The generator's table of a 16 x 16 Bayer matrix, by bit interleaving.
constexpr int kBayerOrder = 4;

constexpr std::array<uint8_t, 256> bayerTable() {
  std::array<uint8_t, 256> table = {};
  for (unsigned i = 0; i < table.size(); ++i) {
    unsigned a = i / kBayerOrder;
    unsigned b = i % kBayerOrder;
    unsigned value = 0;
    for (int bit = 0; bit < kBayerOrder; ++bit) {
      value = (((value << 1) | ((a & 1) ^ (b & 1))) << 1) | (b & 1);
      a >>= 1;
      b >>= 1;
    }
    table[i] = static_cast<uint8_t>(value);
  }
  return table;
}

// The look-up uses the order, 4, as its stride instead of the matrix's side, so
// that a 4 x 4 pattern of the first 16 entries prints. It stays so.
void thresholdBayer(const PaletteImage& source, PaletteImage& target) {
  static constexpr std::array<uint8_t, 256> kTable = bayerTable();
  thresholdEach(source, target, [](int level, long x, long y) {
    return level > kTable[static_cast<size_t>((x & 3) + kBayerOrder * (y & 3))];
  });
}

void runMethod(long method, PaletteImage& source, PaletteImage& target) {
  switch (method) {
    case 0:
      return thresholdFixed(source, target);
    case 1:
      return thresholdOrdered(source, target);
    case 2:
      return diffuse<kBurkes>(source, target);
    case 3:
      return diffuse<kStucki>(source, target);
    case 4:
      return diffuse<kJarvisJudiceNinke>(source, target);
    case 5:
      return diffuse<kSierra>(source, target);
    case 6:
      return diffuse<kStevensonArce>(source, target);
    case 7:
      return thresholdBayer(source, target);
    default:
      return diffuse<kFloydSteinberg>(source, target);
  }
}

}  // namespace

bool PaletteImage::Dither(long method) {
  if (dib == nullptr) return false;
  if (head.biBitCount == 1) return true;
  PaletteImage halftone;
  if (!CreateLike(halftone, GetWidth(), GetHeight(), 1)) {
    TakeError(halftone);
    return false;
  }
  runMethod(method, *this, halftone);
  halftone.SetPaletteColor(0, 0, 0, 0, 0);
  halftone.SetPaletteColor(1, 255, 255, 255, 255);
  return Transfer(halftone, true);
}
