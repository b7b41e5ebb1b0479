// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/document/exif.h"

#include <libexif/exif-data.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace {

struct ExifCloser {
  void operator()(ExifData* data) const { exif_data_unref(data); }
};

}  // namespace

unsigned exifOrientation(std::span<const uint8_t> file) {
  // EXIF lies near the start: a segment has at most 64 KiB.
  constexpr size_t kMost = size_t{1} << 20U;
  const std::unique_ptr<ExifData, ExifCloser> data(
      exif_data_new_from_data(file.data(), static_cast<unsigned>(std::min(file.size(), kMost))));
  if (!data) return 1;
  const ExifEntry* entry = exif_content_get_entry(data->ifd[EXIF_IFD_0], EXIF_TAG_ORIENTATION);
  if (entry == nullptr || entry->format != EXIF_FORMAT_SHORT || entry->size < 2) return 1;
  const unsigned orientation = exif_get_short(entry->data, exif_data_get_byte_order(data.get()));
  return orientation >= 1 && orientation <= 8 ? orientation : 1;
}

GreyPicture upright(GreyPicture picture, unsigned orientation) {
  if (orientation <= 1 || orientation > 8) return picture;
  const bool swaps = orientation >= 5;
  const bool mirrorsColumns = orientation == 2 || orientation == 3 || orientation >= 7;
  const bool mirrorsRows =
      orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
  GreyPicture turned{picture.width, picture.height, {}};
  if (swaps) std::swap(turned.width, turned.height);
  turned.levels.resize(picture.levels.size());
  for (uint32_t y = 0; y < turned.height; ++y) {
    for (uint32_t x = 0; x < turned.width; ++x) {
      const uint32_t column = swaps ? y : x;
      const uint32_t row = swaps ? x : y;
      const size_t from = size_t{mirrorsRows ? picture.height - 1 - row : row} * picture.width +
                          (mirrorsColumns ? picture.width - 1 - column : column);
      turned.levels[size_t{y} * turned.width + x] = picture.levels[from];
    }
  }
  return turned;
}
