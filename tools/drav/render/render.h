// SPDX-License-Identifier: Apache-2.0
// drav render: the dots of a job as a picture.
#ifndef TOOLS_DRAV_RENDER_RENDER_H_
#define TOOLS_DRAV_RENDER_RENDER_H_

#include <cstdint>
#include <span>
#include <string>

// No picture may take more bytes at one bit a dot: 300 metres of an A4-wide head.
inline constexpr uint64_t kMaxPictureBytes = uint64_t{1} << 30U;

// Size of the picture of a job.
struct RasterExtent {
  uint64_t bands = 0;
  uint64_t rows = 0;
  uint32_t bytesPerRow = 0;  // of the widest row
};

// Adds up the raster bands of a job stream. False with one line in `error` when
// the stream is damaged.
[[nodiscard]] bool measureRaster(std::span<const uint8_t> stream, RasterExtent& extent,
                                 std::string& error);

// Draws the raster rows of all jobs in `stream` under each other into the PNG file
// `outPath`: one pixel a dot, black on white, as wide as the widest row. False with
// one line in `error`, and no file, when the stream is damaged or holds no rows,
// when the picture would pass kMaxPictureBytes, or when it cannot be written.
[[nodiscard]] bool renderStream(std::span<const uint8_t> stream, const std::string& outPath,
                                std::string& error);

// The same for the file or pipe `jobPath`, "-" being standard input; `error` then
// names the file that is to blame, and `extent` tells what was drawn.
[[nodiscard]] bool renderFile(const std::string& jobPath, const std::string& outPath,
                              RasterExtent& extent, std::string& error);

#endif  // TOOLS_DRAV_RENDER_RENDER_H_
