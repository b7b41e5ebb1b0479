// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/html/png_data.h"

#include <cups/http.h>

#include <limits>
#include <string_view>

#include "proof/memory_file.h"

namespace {

constexpr std::string_view kStart = "data:image/png;base64,";

bool encode(PngKind kind, std::span<const uint8_t> rows, uint32_t bytesPerRow, uint32_t width,
            uint32_t height, std::FILE* stream, std::string& error) {
  PngEncoder png;
  if (!png.begin(stream, kind, width, height, error)) return false;
  for (uint32_t y = 0; y < height; ++y)
    if (!png.writeRow(rows.subspan(size_t{y} * bytesPerRow, bytesPerRow), error)) return false;
  return png.end(error);
}

}  // namespace

bool pngData(PngKind kind, std::span<const uint8_t> rows, uint32_t bytesPerRow, uint32_t width,
             uint32_t height, std::string& data, std::string& error) {
  MemoryFile file;
  if (file.get() == nullptr) {
    error = "out of memory";
    return false;
  }
  if (!encode(kind, rows, bytesPerRow, width, height, file.get(), error)) return false;
  const std::string_view png = file.text();
  constexpr size_t kMost = std::numeric_limits<int>::max() / 2;  // libcups counts in int
  if (png.size() > kMost) {
    error = "the picture is too large for a page";
    return false;
  }
  data = kStart;
  data.resize(kStart.size() + (png.size() + 2) / 3 * 4 + 1);
  (void)httpEncode64_2(data.data() + kStart.size(), static_cast<int>(data.size() - kStart.size()),
                       png.data(), static_cast<int>(png.size()));
  data.pop_back();  // the zero at the end
  return true;
}
