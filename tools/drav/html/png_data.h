// SPDX-License-Identifier: Apache-2.0
// Pictures inside a text: PNG as "data:" addresses (RFC 2397).
#ifndef TOOLS_DRAV_HTML_PNG_DATA_H_
#define TOOLS_DRAV_HTML_PNG_DATA_H_

#include <cstdint>
#include <span>
#include <string>

#include "proof/png_encoder.h"

// "data:image/png;base64,..." of `height` packed rows of `bytesPerRow` bytes, of which
// `width` pixels count. False with one line in `error`. REQUIRES: no size is 0.
[[nodiscard]] bool pngData(PngKind kind, std::span<const uint8_t> rows, uint32_t bytesPerRow,
                           uint32_t width, uint32_t height, std::string& data, std::string& error);

#endif  // TOOLS_DRAV_HTML_PNG_DATA_H_
