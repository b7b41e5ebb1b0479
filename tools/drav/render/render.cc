// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/render/render.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "tools/drav/io/input_file.h"
#include "tools/drav/io/png_writer.h"
#include "tools/drav/io/text.h"
#include "tools/drav/job/printer_options.h"
#include "tools/drav/render/paper.h"
#include "tools/drav/render/whole_rows.h"

namespace {

class PngSink : public PictureSink {
 public:
  PngSink(std::string path, const PaperScale& scale)
      : path_(std::move(path)), notes_{scale.dotsAcross, scale.dotsAlong, {}} {}
  bool open(uint32_t width, uint32_t height, std::string& error) override {
    return png_.open(path_, width, height, error, notes_);
  }
  bool writeRow(std::span<const uint8_t> row, std::string& error) override {
    return png_.writeRow(row, error);
  }
  bool finish(std::string& error) override { return png_.finish(error); }

 private:
  std::string path_;
  PngNotes notes_;
  PngWriter png_;
};

bool checkExtent(const RenderExtent& extent, std::string& error) {
  static_assert(kMaxPictureBytes <= uint64_t{std::numeric_limits<int32_t>::max()});
  if (extent.rows == 0 || extent.bytesPerRow == 0) {
    error = (extent.cut.empty() ? "" : extent.cut + "; ") + "no raster rows, nothing to draw";
    return false;
  }
  if (extent.rows > kMaxPictureBytes / extent.bytesPerRow) {
    error = "a picture of " + std::to_string(uint64_t{extent.bytesPerRow} * 8) + " x " +
            std::to_string(extent.rows) + " dots is larger than " +
            std::to_string(kMaxPictureBytes) + " bytes, the most that is drawn";
    return false;
  }
  return true;
}

// As many dots per inch as the width of the rows tells, when nobody told.
bool assumeScale(std::span<const uint8_t> stream, RenderOptions& options, std::string& error) {
  RenderExtent extent;
  if (!options.printer.isAssumed) return true;
  if (!measureRaster(stream, extent, error)) return false;
  assumeResolution(extent.bytesPerRow, options.printer);
  return true;
}

bool measure(std::span<const uint8_t> stream, const RenderOptions& options, RenderExtent& extent,
             std::string& error) {
  const bool sound = options.paper ? measurePaper(stream, options.printer, extent, error)
                                   : measureRaster(stream, extent, error);
  return sound && checkExtent(extent, error);
}

bool drawRaster(std::span<const uint8_t> stream, PictureSink& sink, std::string& error) {
  std::string cut;
  const auto drawBand = [&sink, &error](const JobCommand& command) {
    for (uint32_t row = 0; row < command.rows; ++row) {
      const size_t start = static_cast<size_t>(row) * command.bytesPerRow;
      if (!sink.writeRow(command.data.subspan(start, command.bytesPerRow), error)) return false;
    }
    return true;
  };
  return eachCommand(stream, drawBand, cut, error);
}

bool draw(std::span<const uint8_t> stream, const RenderOptions& options, PictureSink& sink,
          const RenderExtent& extent, std::string& error) {
  if (!sink.open(extent.bytesPerRow * 8, static_cast<uint32_t>(extent.rows), error)) return false;
  const bool drawn = options.paper ? drawPaper(stream, options.printer, extent, sink, error)
                                   : drawRaster(stream, sink, error);
  return drawn && sink.finish(error);
}

}  // namespace

bool measureRaster(std::span<const uint8_t> stream, RenderExtent& extent, std::string& error) {
  extent = {};
  const auto add = [&extent](const JobCommand& command) {
    if (command.rows != 0) ++extent.bands;
    extent.rows += command.rows;
    extent.bytesPerRow = std::max(extent.bytesPerRow, command.bytesPerRow);
    return true;
  };
  return eachCommand(stream, add, extent.cut, error);
}

bool renderStream(std::span<const uint8_t> stream, const RenderOptions& options, PictureSink& sink,
                  RenderExtent& extent, std::string& error) {
  return measure(stream, options, extent, error) && draw(stream, options, sink, extent, error);
}

bool renderFile(const std::string& jobPath, const std::string& outPath, RenderOptions& options,
                RenderExtent& extent, std::string& error) {
  std::vector<uint8_t> stream;
  if (!readInput(jobPath, stream, error)) return false;
  if (!assumeScale(stream, options, error) || !measure(stream, options, extent, error)) {
    error = (jobPath == "-" ? "standard input" : printablePath(jobPath)) + ": " + error;
    return false;
  }
  PngSink sink(outPath, options.printer.scale);
  return draw(stream, options, sink, extent, error);
}
