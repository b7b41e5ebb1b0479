// SPDX-License-Identifier: Apache-2.0
// Rotation, mirroring, depth, canvas and lines.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "image/palette_image.h"
#include "image/row_ops.h"

namespace {

// A new side length, or 0xFFFFFFFF, which Create always refuses together with
// any other side, when the true sum does not fit.
uint32_t expandedSide(uint32_t side, long before, long after) {
  constexpr uint64_t kMax = std::numeric_limits<uint32_t>::max();
  const auto first = static_cast<uint64_t>(before);
  const auto second = static_cast<uint64_t>(after);
  if (first > kMax || second > kMax) return std::numeric_limits<uint32_t>::max();
  return static_cast<uint32_t>(std::min(side + first + second, kMax));
}

}  // namespace

bool PaletteImage::Rotate180(PaletteImage* target) {
  if (dib == nullptr) return false;
  if (head.biBitCount == 8 && (target == nullptr || target == this)) {
    RenewInPlace();
    const size_t width = GetWidth();
    const uint32_t height = GetHeight();
    for (uint32_t y = 0; y < height - y; ++y) {
      uint8_t* upper = GetBits(y);
      uint8_t* lower = GetBits(height - 1 - y);
      rowOps().reverse(upper, width);
      if (upper == lower) break;
      rowOps().reverse(lower, width);
      std::swap_ranges(upper, upper + width, lower);
    }
    return true;
  }
  PaletteImage turned;
  if (CreateLike(turned, GetWidth(), GetHeight(), 8)) {
    CopyPaletteTo(turned);
    const auto width = static_cast<long>(GetWidth());
    const auto height = static_cast<long>(GetHeight());
    for (long y = 0; y < height; ++y) {
      if (head.biBitCount == 8) {
        const uint8_t* row = GetBits(static_cast<uint32_t>(y));
        std::reverse_copy(row, row + width, turned.GetBits(static_cast<uint32_t>(height - 1 - y)));
        continue;
      }
      for (long x = 0; x < width; ++x) {
        turned.BlindSetPixelIndex(width - 1 - x, height - 1 - y, BlindGetPixelIndex(x, y));
      }
    }
  }
  PaletteImage* receiver = target != nullptr ? target : this;
  receiver->Transfer(turned, true);
  return true;
}

void PaletteImage::Mirror() {
  if (dib == nullptr) return;
  if (head.biBitCount == 8) {
    RenewInPlace();
    for (uint32_t y = 0; y < GetHeight(); ++y) rowOps().reverse(GetBits(y), GetWidth());
    return;
  }
  PaletteImage mirrored;
  if (CreateLike(mirrored, GetWidth(), GetHeight(), 8)) {
    CopyPaletteTo(mirrored);
    const size_t bytesPerPixel = head.biBitCount == 24 ? 3 : 1;
    const size_t last = (size_t{GetWidth()} - 1) * bytesPerPixel;
    // Both row positions advance by the source's row length, which is the
    // target's only at 8 bits; at other depths what falls outside either pixel
    // area reads as 0 or is dropped.
    const size_t readable = head.biSizeImage;
    const size_t writable = mirrored.head.biSizeImage;
    const uint8_t* source = GetBits(0);
    uint8_t* target = mirrored.GetBits(0);
    for (size_t y = 0; y < GetHeight(); ++y) {
      const size_t start = y * info.effWidth;
      if (start + last < std::min(readable, writable)) {
        std::reverse_copy(source + start, source + start + last + 1, target + start);
        continue;
      }
      for (size_t j = 0; j <= last && start + j < writable; ++j) {
        const size_t from = start + last - j;
        target[start + j] = from < readable ? source[from] : uint8_t{0};
      }
    }
  }
  Transfer(mirrored, true);
}

bool PaletteImage::IncreaseBpp(uint32_t bpp) {
  if (dib == nullptr) return false;
  switch (bpp) {
    case 4:
    case 8:
      if (head.biBitCount == bpp) return true;
      return head.biBitCount < bpp && IncreaseIndexedBpp(bpp);
    case 24:
      return head.biBitCount == 24 || IncreaseToTrueColor();
    default:
      return false;
  }
}

bool PaletteImage::IncreaseIndexedBpp(uint32_t bpp) {
  PaletteImage deeper;
  if (!CreateLike(deeper, GetWidth(), GetHeight(), bpp)) {
    TakeError(deeper);
    return false;
  }
  CopyPaletteTo(deeper);
  const auto width = static_cast<long>(GetWidth());
  const auto height = static_cast<long>(GetHeight());
  for (long y = 0; y < height; ++y) {
    if (head.biBitCount == 1 && bpp == 8) {  // the page's way back from Dither
      const uint8_t* bits = GetBits(static_cast<uint32_t>(y));
      uint8_t* row = deeper.GetBits(static_cast<uint32_t>(y));
      for (long x = 0; x < width; ++x) {
        row[x] = static_cast<uint8_t>((bits[x >> 3] >> (7 - (x & 7))) & 1);
      }
      continue;
    }
    for (long x = 0; x < width; ++x) deeper.BlindSetPixelIndex(x, y, BlindGetPixelIndex(x, y));
  }
  return Transfer(deeper, true);
}

bool PaletteImage::IncreaseToTrueColor() {
  PaletteImage deeper;
  if (!CreateLike(deeper, GetWidth(), GetHeight(), 24)) {
    TakeError(deeper);
    return false;
  }
  const auto width = static_cast<long>(GetWidth());
  const auto height = static_cast<long>(GetHeight());
  for (long y = 0; y < height; ++y) {
    for (long x = 0; x < width; ++x) {
      deeper.BlindSetPixelColor(x, y, BlindGetPixelColor(x, y, false), false);
    }
  }
  return Transfer(deeper, true);
}

bool PaletteImage::Expand(long left, long top, long right, long bottom, tagRGBQUAD canvas) {
  if (dib == nullptr || left < 0 || top < 0 || right < 0 || bottom < 0) return false;
  const uint32_t newWidth = expandedSide(GetWidth(), left, right);
  const uint32_t newHeight = expandedSide(GetHeight(), top, bottom);
  PaletteImage larger;
  if (!CreateLike(larger, newWidth, newHeight, head.biBitCount)) {
    TakeError(larger);
    return false;
  }
  CopyPaletteTo(larger);

  if (head.biBitCount == 1 || head.biBitCount == 4) {
    const uint8_t fill = larger.GetNearestIndex(canvas);
    for (long y = 0; y < static_cast<long>(newHeight); ++y) {
      for (long x = 0; x < static_cast<long>(newWidth); ++x) {
        const bool old = IsInside(x - left, y - bottom);
        larger.SetPixelIndex(x, y, old ? GetPixelIndex(x - left, y - bottom) : fill);
      }
    }
    return Transfer(larger, true);
  }

  if (head.biBitCount == 8) {
    std::memset(larger.GetBits(0), larger.GetNearestIndex(canvas), larger.head.biSizeImage);
  } else {
    for (long y = 0; y < static_cast<long>(newHeight); ++y) {
      for (long x = 0; x < static_cast<long>(newWidth); ++x) {
        larger.BlindSetPixelColor(x, y, canvas, false);
      }
    }
  }
  const size_t bytesPerPixel = head.biBitCount / 8U;
  for (uint32_t y = 0; y < GetHeight(); ++y) {
    uint8_t* row = larger.GetBits(y + static_cast<uint32_t>(bottom));
    std::memcpy(row + static_cast<size_t>(left) * bytesPerPixel, GetBits(y),
                bytesPerPixel * GetWidth());
  }
  return Transfer(larger, true);
}

void PaletteImage::DrawLine(int startX, int endX, int startY, int endY, uint8_t index) {
  if (dib == nullptr) return;
  const auto deltaX = static_cast<uint64_t>(std::abs(int64_t{endX} - startX));
  const auto deltaY = static_cast<uint64_t>(std::abs(int64_t{endY} - startY));
  const bool alongX = deltaX >= deltaY;
  const uint64_t count = alongX ? deltaX : deltaY;  // also the denominator
  const uint64_t add = alongX ? deltaY : deltaX;
  const int64_t majorStart = alongX ? startX : startY;
  const int64_t minorStart = alongX ? startY : startX;
  const int64_t majorStep = (alongX ? endX >= startX : endY >= startY) ? 1 : -1;
  const int64_t minorStep = (alongX ? endY >= startY : endX >= startX) ? 1 : -1;
  const int64_t majorSide = alongX ? GetWidth() : GetHeight();

  // Only the steps whose major coordinate lies inside the image are walked: a
  // line from one end of the integers to the other costs no more than the image.
  const int64_t toFirst = majorStep > 0 ? -majorStart : majorStart - (majorSide - 1);
  const int64_t toLast = majorStep > 0 ? majorSide - 1 - majorStart : majorStart;
  if (toLast < 0) return;
  const auto first = static_cast<uint64_t>(std::max<int64_t>(toFirst, 0));
  const uint64_t last = std::min(count, static_cast<uint64_t>(toLast));
  for (uint64_t i = first; i <= last; ++i) {
    // After i additions of `add` to count / 2, the sum has passed the
    // denominator this many times; the product stays below 2^64.
    const uint64_t minorSteps = count == 0 ? 0 : (count / 2 + i * add) / count;
    const int64_t major = majorStart + majorStep * static_cast<int64_t>(i);
    const int64_t minor = minorStart + minorStep * static_cast<int64_t>(minorSteps);
    SetPixelIndex(static_cast<long>(alongX ? major : minor),
                  static_cast<long>(alongX ? minor : major), index);
  }
}

void PaletteImage::MakeCenter(int width) {
  if (dib == nullptr || width <= static_cast<int64_t>(GetWidth())) return;
  PaletteImage wider;
  if (CreateLike(wider, static_cast<uint32_t>(width), GetHeight(), 8)) {
    CopyPaletteTo(wider);
    const long offset = (width - static_cast<long>(GetWidth())) / 2;
    for (long y = 0; y < static_cast<long>(GetHeight()); ++y) {
      for (long x = 0; x < static_cast<long>(GetWidth()); ++x) {
        wider.BlindSetPixelIndex(x + offset, y, BlindGetPixelIndex(x, y));
      }
    }
  }
  Transfer(wider, true);
}
