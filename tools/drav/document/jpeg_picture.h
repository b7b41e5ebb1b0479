// SPDX-License-Identifier: Apache-2.0
// JPEG files, grey, colour or CMYK, as grey levels.
#ifndef TOOLS_DRAV_DOCUMENT_JPEG_PICTURE_H_
#define TOOLS_DRAV_DOCUMENT_JPEG_PICTURE_H_

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "tools/drav/document/picture.h"

// Luma of ITU-R BT.601, from samples of 0 to 255.
inline uint8_t greyOf(uint32_t red, uint32_t green, uint32_t blue) {
  return static_cast<uint8_t>((red * 299 + green * 587 + blue * 114 + 500) / 1000);
}

// Both: false with one line in `error` when the file is damaged.
[[nodiscard]] bool measureJpeg(std::span<const uint8_t> file, PictureSize& size,
                               std::string& error);

// REQUIRES: the size was measured and is within the limits.
[[nodiscard]] bool decodeJpeg(std::span<const uint8_t> file, std::vector<uint8_t>& levels,
                              std::string& error);

#endif  // TOOLS_DRAV_DOCUMENT_JPEG_PICTURE_H_
