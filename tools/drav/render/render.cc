// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/render/render.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "tools/drav/io/input_file.h"
#include "tools/drav/io/png_writer.h"
#include "tools/drav/job/job_stream.h"

namespace {

bool checkExtent(const RasterExtent& extent, std::string& error) {
  if (extent.rows == 0) {
    error = "no raster rows, nothing to draw";
    return false;
  }
  // The product cannot wrap: a stream in memory has below 2^47 rows of 16-bit widths.
  if (extent.rows * extent.bytesPerRow > kMaxPictureBytes) {
    error = "a picture of " + std::to_string(uint64_t{extent.bytesPerRow} * 8) + " x " +
            std::to_string(extent.rows) + " dots is larger than " +
            std::to_string(kMaxPictureBytes) + " bytes, the most that is drawn";
    return false;
  }
  return true;
}

bool draw(std::span<const uint8_t> stream, const RasterExtent& extent, const std::string& outPath,
          std::string& error) {
  static_assert(kMaxPictureBytes <= uint64_t{std::numeric_limits<int32_t>::max()});
  PngWriter png;
  if (!png.open(outPath, extent.bytesPerRow * 8, static_cast<uint32_t>(extent.rows), error))
    return false;
  JobStreamReader reader(stream);
  while (const auto command = reader.next()) {
    for (uint32_t row = 0; row < command->rows; ++row) {
      const size_t start = static_cast<size_t>(row) * command->bytesPerRow;
      if (!png.writeRow(command->data.subspan(start, command->bytesPerRow), error)) return false;
    }
  }
  return png.finish(error);
}

}  // namespace

bool measureRaster(std::span<const uint8_t> stream, RasterExtent& extent, std::string& error) {
  extent = {};
  JobStreamReader reader(stream);
  while (const auto command = reader.next()) {
    if (command->rows != 0) ++extent.bands;
    extent.rows += command->rows;
    extent.bytesPerRow = std::max(extent.bytesPerRow, command->bytesPerRow);
  }
  if (reader.error()) error = reader.error()->text;
  return !reader.error();
}

bool renderStream(std::span<const uint8_t> stream, const std::string& outPath, std::string& error) {
  RasterExtent extent;
  return measureRaster(stream, extent, error) && checkExtent(extent, error) &&
         draw(stream, extent, outPath, error);
}

bool renderFile(const std::string& jobPath, const std::string& outPath, RasterExtent& extent,
                std::string& error) {
  std::vector<uint8_t> stream;
  if (!readInput(jobPath, stream, error)) return false;
  if (!measureRaster(stream, extent, error) || !checkExtent(extent, error)) {
    error = (jobPath == "-" ? "standard input" : printablePath(jobPath)) + ": " + error;
    return false;
  }
  return draw(stream, extent, outPath, error);
}
