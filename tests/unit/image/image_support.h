// SPDX-License-Identifier: Apache-2.0
// Images that release themselves, and ways to look into them.
#ifndef TESTS_UNIT_IMAGE_IMAGE_SUPPORT_H_
#define TESTS_UNIT_IMAGE_IMAGE_SUPPORT_H_

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "image/palette_image.h"
#include "tests/model/grey.h"
#include "tests/model/page_patterns.h"
#include "tests/support/bytes.h"

class OwnedImage : public PaletteImage {
 public:
  OwnedImage() = default;
  ~OwnedImage() { Destroy(); }
};

inline constexpr char kZeroSideText[] =
    "PaletteImage::Create : width and height must be greater than zero";
inline constexpr char kTooLargeText[] = "PALETTE_IMAGE_MAX_MEMORY exceeded";
inline constexpr char kNoMemoryText[] = "PaletteImage::Create can't allocate memory";

// The pixel rows, padding included; nothing for an image without a block.
inline Bytes rowsOf(const PaletteImage& image) {
  const uint8_t* bits = image.GetBits(0);
  if (bits == nullptr) return {};
  return Bytes(bits, bits + size_t{image.GetEffWidth()} * image.GetHeight());
}

// Header, palette and rows.
inline Bytes blockOf(const PaletteImage& image) {
  const uint8_t* bits = image.GetBits(0);
  if (bits == nullptr) return {};
  const uint8_t* start = bits - image.GetPaletteSize() - sizeof(BITMAPINFOHEADER);
  return Bytes(start, start + image.GetSize());
}

inline BITMAPINFOHEADER headerOf(const PaletteImage& image) {
  BITMAPINFOHEADER header = {};
  const Bytes block = blockOf(image);
  if (block.size() >= sizeof header) std::memcpy(&header, block.data(), sizeof header);
  return header;
}

// The palette indices without padding, row after row.
inline Bytes indicesOf(const PaletteImage& image) {
  Bytes indices;
  if (!image.IsValid()) return indices;
  for (long y = 0; y < static_cast<long>(image.GetHeight()); ++y) {
    for (long x = 0; x < static_cast<long>(image.GetWidth()); ++x) {
      indices.push_back(image.GetPixelIndex(x, y));
    }
  }
  return indices;
}

// An image of any depth with a grey palette from unpadded rows of indices.
inline void fill(PaletteImage& image, uint32_t width, uint32_t height, uint32_t bpp,
                 const Bytes& indices) {
  ASSERT_EQ(indices.size(), size_t{width} * height);
  ASSERT_NE(image.Create(width, height, bpp, 0), nullptr);
  image.SetGrayPalette();
  for (uint32_t i = 0; i < width * height; ++i) {
    image.SetPixelIndex(static_cast<long>(i % width), static_cast<long>(i / width), indices[i]);
  }
}

inline void fill(PaletteImage& image, const model::Grey& picture) {
  const auto width = static_cast<uint32_t>(picture.width);
  ASSERT_TRUE(image.CreateFromArray(picture.pixels.data(), width,
                                    static_cast<uint32_t>(picture.height), 8, width, false));
}

inline Bytes repeated(size_t count, uint8_t value) { return Bytes(count, value); }

inline bool operator==(const tagRGBQUAD& a, const tagRGBQUAD& b) {
  return a.rgbBlue == b.rgbBlue && a.rgbGreen == b.rgbGreen && a.rgbRed == b.rgbRed &&
         a.rgbReserved == b.rgbReserved;
}

inline void PrintTo(const tagRGBQUAD& colour, std::ostream* out) {
  *out << "blue " << int{colour.rgbBlue} << " green " << int{colour.rgbGreen} << " red "
       << int{colour.rgbRed} << " reserved " << int{colour.rgbReserved};
}

#endif  // TESTS_UNIT_IMAGE_IMAGE_SUPPORT_H_
