// SPDX-License-Identifier: Apache-2.0
// Picture files. Their size is checked before anything decodes them; their grey pixels
// are needed if no converter is there.
#ifndef TOOLS_DRAV_DOCUMENT_PICTURE_H_
#define TOOLS_DRAV_DOCUMENT_PICTURE_H_

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "tools/drav/document/document_kind.h"

// No picture may be wider or taller, nor have more pixels: an A4 page scanned at
// 1200 dpi is below both.
inline constexpr uint64_t kMaxPictureSide = 32'767;
inline constexpr uint64_t kMaxPicturePixels = 150'000'000;

struct PictureSize {
  uint64_t width = 0;
  uint64_t height = 0;
};

// Grey as people see it, 0 black to 255 white, transparent parts on white paper.
struct GreyPicture {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> levels;
};

// Reads the size of a PNG, JPEG or portable picture from its beginning. False with one
// line in `error` when it is damaged or passes a limit.
[[nodiscard]] bool measurePicture(DocumentKind kind, std::span<const uint8_t> file,
                                  PictureSize& size, std::string& error);

// Decodes such a picture, of any depth and colour. False with one line in `error`.
[[nodiscard]] bool decodePicture(DocumentKind kind, std::span<const uint8_t> file,
                                 GreyPicture& picture, std::string& error);

// True for a PNG of grey levels with an alpha channel or a transparent level.
bool isGreyWithTransparency(DocumentKind kind, std::span<const uint8_t> file);

// A portable picture at the start of `file`, as pdftoppm writes them one behind the
// other; `used` tells its bytes. False with one line in `error`.
[[nodiscard]] bool decodePortable(std::span<const uint8_t> file, GreyPicture& picture, size_t& used,
                                  std::string& error);

#endif  // TOOLS_DRAV_DOCUMENT_PICTURE_H_
