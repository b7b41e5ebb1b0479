// SPDX-License-Identifier: Apache-2.0
// PaletteImage::Dither. 8-bit images go through the row halftones; the other
// depths, whose levels are 0 to 15 or cannot be read, through the pixel
// accessors.
#include <algorithm>
#include <cstring>
#include <new>

#include "image/halftone_rows.h"
#include "image/halftones.h"
#include "image/palette_image.h"
#include "image/row_ops.h"

namespace {

// False when there is no memory for the row buffers.
bool halftoneGrey(long method, const PaletteImage& source, PaletteImage& target) {
  const uint32_t width = source.GetWidth();
  const auto readRow = [&](uint32_t y, uint8_t* row) {
    std::memcpy(row, source.GetBits(y), width);
  };
  const auto writeRow = [&](uint32_t y, const uint8_t* row) {
    rowOps().pack(row, width, target.GetBits(y));
  };
  try {
    halftoneRows(method, width, source.GetHeight(), readRow, writeRow);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

// The error diffused into an outside pixel is dropped: the accessors read the
// first pixel byte there and write nothing.
template <const auto& kKernel>
void diffuseIndexed(PaletteImage& source, PaletteImage& target) {
  const auto width = static_cast<long>(source.GetWidth());
  const auto height = static_cast<long>(source.GetHeight());
  for (long y = 0; y < height; ++y) {
    for (long x = 0; x < width; ++x) {
      const int level = source.BlindGetPixelIndex(x, y);
      const bool white = level > kWhiteAbove;
      target.SetPixelIndex(x, y, white ? 255 : 0);
      const int error = white ? level - 255 : level;
      for (const DiffusionTap& tap : kKernel.taps) {
        const int old = source.GetPixelIndex(x + tap.dx, y + tap.dy);
        const int sum = old + error * tap.weight / kKernel.divisor;
        source.SetPixelIndex(x + tap.dx, y + tap.dy, static_cast<uint8_t>(std::clamp(sum, 0, 255)));
      }
    }
  }
}

void thresholdIndexed(const ThresholdPattern& pattern, const PaletteImage& source,
                      PaletteImage& target) {
  const auto width = static_cast<long>(source.GetWidth());
  const auto height = static_cast<long>(source.GetHeight());
  for (long y = 0; y < height; ++y) {
    for (long x = 0; x < width; ++x) {
      const uint8_t least = pattern[static_cast<size_t>(y & 3)][static_cast<size_t>(x & 3)];
      target.SetPixelIndex(x, y, source.BlindGetPixelIndex(x, y) >= least ? 255 : 0);
    }
  }
}

struct IndexedKernels {
  static constexpr auto threshold = thresholdIndexed;
  template <const auto& kKernel>
  static void diffuse(PaletteImage& source, PaletteImage& target) {
    diffuseIndexed<kKernel>(source, target);
  }
};

}  // namespace

bool PaletteImage::Dither(long method) {
  if (dib == nullptr) return false;
  if (head.biBitCount == 1) return true;
  PaletteImage halftone;
  if (!CreateLike(halftone, GetWidth(), GetHeight(), 1)) {
    TakeError(halftone);
    return false;
  }
  if (head.biBitCount != 8) {
    runHalftone<IndexedKernels>(method, *this, halftone);
  } else if (!halftoneGrey(method, *this, halftone)) {
    halftone.Destroy();
    SetLastError("PaletteImage::Create can't allocate memory");
    return false;
  }
  halftone.SetPaletteColor(0, 0, 0, 0, 0);
  halftone.SetPaletteColor(1, 255, 255, 255, 0);
  return Transfer(halftone, true);
}
