// SPDX-License-Identifier: Apache-2.0
// A picture's levels at the head's resolution, cropped, mirrored, cleaned and outlined as
// wanted.
#ifndef PROOF_ART_PICTURE_H_
#define PROOF_ART_PICTURE_H_

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "documents/grey_pages.h"
#include "proof/art_wish.h"

struct ArtPicture {
  uint32_t width = 0;  // dots
  uint32_t height = 0;
  std::vector<uint8_t> ink;  // row by row: 0 for none, 255 for black
};

// --lines needs more memory for a pixel than the rest.
inline constexpr uint64_t kMostOutlinedPixels = 80'000'000;

// Reads the page that `pages`, opened for artRequest(), stands at. False with one line in
// `error`, which does not name the file. May throw std::bad_alloc.
[[nodiscard]] bool readArt(documents::GreyPages& pages, const documents::GreyPage& page,
                           const ArtWish& wish, const documents::Paper& paper, ArtPicture& art,
                           std::string& error);

// What each lightness becomes by --black, --white and --gamma.
std::array<uint8_t, 256> toneTable(const ArtWish& wish);

#endif  // PROOF_ART_PICTURE_H_
