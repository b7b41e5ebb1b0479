// SPDX-License-Identifier: Apache-2.0
// Image record of the tattoo processing: a plain value with unpadded rows.
#ifndef TATTOO_QZ_IMAGE_H_
#define TATTOO_QZ_IMAGE_H_

#include <cstddef>
#include <cstdint>

// Channel layout. Grey has 1 channel, BGR and RGB have 3, everything else 4.
enum QZ_IMG_COLOR : int32_t {
  QZ_IMG_GRAY = 0,
  QZ_IMG_BGR = 1,
  QZ_IMG_RGB = 2,
  QZ_IMG_BGRA = 3,
  QZ_IMG_RGBA = 4,
};

// Pixel (x, y) begins at byte (y * width + x) * channels; row 0 is the top. The
// record owns `data`, width * height * channels bytes. Copies are deep.
//
// Errors: a failed allocation, which a negative byte count always is, throws
// std::bad_alloc; nothing leaks.
struct QZImage {
  int32_t width = 0;
  int32_t height = 0;
  int32_t channels = 4;
  QZ_IMG_COLOR color = QZ_IMG_BGR;
  uint8_t* data = nullptr;

  // Copies the pixels from `source`, which must hold as many bytes.
  QZImage(int32_t imageWidth, int32_t imageHeight, QZ_IMG_COLOR imageColor, const uint8_t* source);
  // Leaves the pixels uninitialised; whoever creates the image writes them all.
  QZImage(int32_t imageWidth, int32_t imageHeight, QZ_IMG_COLOR imageColor);
  QZImage(const QZImage& other);
  QZImage& operator=(const QZImage& other);
  // Releases the pixels and sets width, height and channels to 0.
  ~QZImage();

  // Bytes of the buffer, a 64-bit product of the signed fields (wrapping);
  // negative when one side is.
  int64_t byteCount() const {
    const auto wide = [](int32_t value) { return static_cast<uint64_t>(int64_t{value}); };
    return static_cast<int64_t>(wide(width) * wide(height) * wide(channels));
  }
  // Pixels, 0 when a side is negative.
  size_t pixelCount() const {
    return width < 0 || height < 0 ? 0 : static_cast<size_t>(width) * static_cast<size_t>(height);
  }
};

#endif  // TATTOO_QZ_IMAGE_H_
