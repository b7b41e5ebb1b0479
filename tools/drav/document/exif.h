// SPDX-License-Identifier: Apache-2.0
// How a camera was held, and the picture the right way up.
#ifndef TOOLS_DRAV_DOCUMENT_EXIF_H_
#define TOOLS_DRAV_DOCUMENT_EXIF_H_

#include <cstdint>
#include <span>

#include "tools/drav/document/picture.h"

// The Orientation of a JPEG's EXIF data, 1 (upright) to 8. A file without one, or with
// one that makes no sense, counts as upright.
unsigned exifOrientation(std::span<const uint8_t> file);

// The picture as a viewer shows one that was stored with this orientation.
GreyPicture upright(GreyPicture picture, unsigned orientation);

#endif  // TOOLS_DRAV_DOCUMENT_EXIF_H_
