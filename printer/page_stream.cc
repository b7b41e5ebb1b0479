// SPDX-License-Identifier: Apache-2.0
// The way of most pages: tone, halftone, picture and packing row by row, without
// the page images that PageProcess builds. Printer bytes, pictures and log lines
// are those of the long way.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "common/byte_buffer.h"
#include "common/scope_guard.h"
#include "image/halftone_rows.h"
#include "image/row_ops.h"
#include "printer/drav_printer.h"
#include "printer/page_log.h"
#include "tattoo/pipeline.h"
#include "tattoo/stencil_rows.h"
#include "tattoo/threshold.h"

namespace {

constexpr size_t kPictureBuffer = size_t{1} << 16;

uint32_t roundUpTo4(uint32_t value) { return (value + 3) / 4 * 4; }

// A diagnostic picture's rows as they would lie in memory, each padded with zeros
// to a multiple of 4 bytes, cut after width * height bytes in all.
class PictureRows {
 public:
  PictureRows(std::FILE* file, uint32_t width, uint32_t height)
      : file_(file), width_(width), left_(uint64_t{width} * height) {
    if (file_ != nullptr) std::setvbuf(file_, nullptr, _IOFBF, kPictureBuffer);
  }

  void add(const uint8_t* row) {
    static constexpr uint8_t kPadding[3] = {};
    write(row, width_);
    write(kPadding, roundUpTo4(width_) - width_);
  }

 private:
  void write(const uint8_t* bytes, uint32_t count) {
    const uint64_t size = std::min<uint64_t>(count, left_);
    if (file_ == nullptr || size == 0) return;
    std::fwrite(bytes, static_cast<size_t>(size), 1, file_);
    left_ -= size;
  }

  std::FILE* file_;
  uint32_t width_;
  uint64_t left_;
};

}  // namespace

bool DravPrinter::canStream(uint64_t bytesPerLine, uint64_t height, uint64_t width) const {
  constexpr uint64_t kMaxSide = std::numeric_limits<int32_t>::max();
  const bool creatable =
      width <= kMaxSide && height <= kMaxSide &&
      PaletteImage::IsCreatable(static_cast<uint32_t>(width), static_cast<uint32_t>(height), 8);
  const bool plainPage = !rotate180Print_ && !mirrorPrint_ && !negativePrint_ && antiWrinkle_ == 0;
  return takesPackedRows() && plainPage && width == bytesPerLine && creatable;
}

void DravPrinter::streamPage(const unsigned char* pixels, const BlankEdges& edges,
                             uint64_t bytesPerLine, uint64_t height, uint64_t width,
                             const ByteBuffer& result) {
  const PageSize size = {static_cast<uint32_t>(width), static_cast<uint32_t>(height)};
  const uint32_t rowBytes = roundUpTo4(size.width);
  reportStreamedProcessing(size, rowBytes);
  reportEdges(edges, result.data(), bytesPerLine, height, width);

  pictureKind_ = "dithered";
  page_log::savingProcessed();
  std::vector<uint8_t> packed;
  {
    std::FILE* file = openPicture(height, width, 8);
    const ScopeGuard closeFile([file] {
      if (file != nullptr) std::fclose(file);
    });
    PictureRows picture(file, size.width, size.height);
    const size_t rowPixels = packedRowPixels(rowBytes);
    const size_t packedRow = (rowPixels + 7) / 8;
    const size_t inkPixels = std::min<size_t>(rowPixels, width);
    packed.resize(packedRow * height);
    halftoneRowsTo(pixels, size, [&](uint32_t y, const uint8_t* row) {
      picture.add(row);
      rowOps().pack(row, inkPixels, packed.data() + y * packedRow);
    });
  }
  page_log::printingProcessed();
  reportPacking(static_cast<int32_t>(rowBytes), static_cast<int32_t>(size.height));
  doPrintPacked(packed.data(), static_cast<uint32_t>(packed.size()), height);
}

void DravPrinter::reportStreamedProcessing(PageSize size, uint32_t rowBytes) {
  const auto width = static_cast<int32_t>(size.width);
  chooseHalftone();
  page_log::pageCreated(width);
  if (adjustsTone()) page_log::toneAdjusted(scaledBrightness(), scaledContrast());
  if (useQZDithering_) {
    page_log::copiedForTattoo(width, rowBytes);
    page_log::ditheredTattoo(width);
    page_log::tattooImageCreated();
  } else {
    page_log::ditheredClassic();
  }
  page_log::negative(false);
  page_log::outputFilled(static_cast<int32_t>(size.height * rowBytes));
}

void DravPrinter::halftoneRowsTo(const unsigned char* pixels, PageSize size,
                                 const std::function<void(uint32_t, const uint8_t*)>& sink) {
  const bool toned = adjustsTone();
  LevelTable tone = PaletteImage::lightTable(scaledBrightness(), scaledContrast());
  const auto rowAt = [&](uint32_t y) { return pixels + size_t{y} * size.width; };

  if (!useQZDithering_) {
    halftoneRows(
        static_cast<long>(halftoneType_), size.width, size.height,
        [&](uint32_t y, uint8_t* row) {
          if (toned) {
            rowOps().replace(rowAt(y), size.width, tone, row);
          } else {
            std::memcpy(row, rowAt(y), size.width);
          }
        },
        sink);
    return;
  }

  LevelHistogram raw = {};
  countLevels(pixels, size_t{size.width} * size.height, raw);
  LevelHistogram levels = {};
  for (size_t k = 0; k < raw.size(); ++k) levels[tone[k]] += raw[k];
  const int32_t threshold =
      momentThreshold(levels, static_cast<int32_t>(size_t{size.width} * size.height));
  const StencilCurve curve =
      halftoneType_ == DitherType::Tattoo_X8 ? StencilCurve::aroundThreshold : StencilCurve::lifted;
  const LevelTable curved = stencilCurveTable(curve, threshold);
  for (uint8_t& level : tone) level = curved[level];
  stencilRows(
      threshold, size.width, size.height,
      [&](uint32_t y, uint8_t* row) { rowOps().replace(rowAt(y), size.width, tone, row); }, sink);
}
