// SPDX-License-Identifier: Apache-2.0
// Colours of sRGB as grey levels.
#ifndef DOCUMENTS_LUMINANCE_H_
#define DOCUMENTS_LUMINANCE_H_

#include <cstddef>
#include <cstdint>

namespace documents {

// The grey of the same luminance: linear light, weighted as the eye sees it and encoded as
// sRGB (IEC 61966-2-1) encodes grey; the nearest level. A grey comes back as it is.
uint8_t luminance(uint8_t red, uint8_t green, uint8_t blue);

// The same of `count` pixels of `channels` bytes each, the first three red, green and blue.
void luminanceRow(const uint8_t* pixels, size_t channels, size_t count, uint8_t* grey);

}  // namespace documents

#endif  // DOCUMENTS_LUMINANCE_H_
