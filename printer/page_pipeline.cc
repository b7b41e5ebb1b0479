// SPDX-License-Identifier: Apache-2.0
// One page from grey rows to raster bands. The log lines are read by support
// tools; their texts and the order of their values are fixed, also where a
// label names another value than the one printed.
#include "common/byte_buffer.h"
#include "common/log.h"
#include "printer/blank_lines.h"
#include "printer/drav_printer.h"
#include "printer/page_log.h"

namespace {

constexpr unsigned kMeasureTop = 2;
constexpr unsigned kMeasureBottom = 8;

}  // namespace

void DravPrinter::printImage(const unsigned char* pixels, uint64_t bytesPerLine, uint64_t height,
                             uint64_t width) {
  dravLogCommon(kLogDebug,
                "printImage: Start processing image, input width: %zu, height: %zu, bytes per "
                "line: %zu",
                static_cast<size_t>(width), static_cast<size_t>(height),
                static_cast<size_t>(bytesPerLine));
  rasterInterrupted_ = false;
  const uint64_t size = bytesPerLine * height;
  ByteBuffer work;
  ByteBuffer result;
  if (work.allocateZeros(size)) {
    dravLogCommon(kLogDebug, "printImage: Memory allocated successfully, size: %zu bytes",
                  static_cast<size_t>(size));
    printPage(pixels, bytesPerLine, height, width, result);
    work.release();
    dravLogCommon(kLogDebug, "printImage: Freed the allocated memory, address: %p",
                  static_cast<void*>(nullptr));
  } else {
    dravLogCommon(kLogError,
                  "printImage: Memory allocation failed, unable to process image, exiting "
                  "processing");
  }
  if (result.isAllocated()) {
    void* address = result.data();
    result.release();
    dravLogCommon(kLogDebug, "printImage: Freed the memory for processing result, address: %p",
                  address);
  }
  dravLogCommon(kLogDebug, "printImage: Image processing completed");
}

void DravPrinter::printPage(const unsigned char* pixels, uint64_t bytesPerLine, uint64_t height,
                            uint64_t width, ByteBuffer& result) {
  const BlankEdges edges = measureBlankEdges(pixels, bytesPerLine, height, width);

  pictureKind_ = "origin";
  dravLogCommon(kLogDebug,
                "printImage: Saving original image, file path will be generated based on time");
  saveImage(pixels, bytesPerLine, height, width, 8);

  const uint64_t size = bytesPerLine * height;
  if (!result.allocateZeros(2 * size)) {
    dravLogCommon(kLogError,
                  "printImage: Memory allocation for processing result failed, unable to continue "
                  "processing");
    return;
  }
  dravLogCommon(kLogDebug,
                "printImage: Memory for processing result allocated successfully, size: %zu bytes",
                static_cast<size_t>(size));

  pimage_ = nullptr;  // a page that fails must not print the one before it
  if (canStream(bytesPerLine, height, width)) {
    streamPage(pixels, edges, bytesPerLine, height, width, result);
    return;
  }
  PageProcess(halftoneType_, pixels, static_cast<int32_t>(bytesPerLine),
              static_cast<int32_t>(width), static_cast<int32_t>(height), result.data());
  reportEdges(edges, result.data(), bytesPerLine, height, width);
  sendFinishedPage();
}

DravPrinter::BlankEdges DravPrinter::measureBlankEdges(const unsigned char* pixels,
                                                       uint64_t bytesPerLine, uint64_t height,
                                                       uint64_t width) const {
  BlankEdges edges;
  if ((removeBlankEdges_ & kMeasureBottom) != 0) {
    edges.end =
        dravImageCountBlankLinesFromBack(pixels, bytesPerLine, height, skipRightPixels_, width);
    dravLogCommon(kLogDebug,
                  "printImage: Removal of bottom blank edges detected, number of bottom blank "
                  "lines: %zu",
                  static_cast<size_t>(edges.end));
  }
  if ((removeBlankEdges_ & kMeasureTop) != 0) {
    edges.top =
        dravImageCountBlankLinesFromFront(pixels, bytesPerLine, height, skipRightPixels_, width);
    dravLogCommon(kLogDebug,
                  "printImage: Removal of top blank edges detected, number of top blank lines: "
                  "%zu",
                  static_cast<size_t>(edges.top));
  }
  return edges;
}

// The edges are reported only: the whole page is printed.
void DravPrinter::reportEdges(const BlankEdges& edges, const uint8_t* result, uint64_t bytesPerLine,
                              uint64_t height, uint64_t width) {
  uint64_t adjusted = height;
  const uint8_t* start = result;
  if (edges.end > edges.top) {
    adjusted = edges.end - edges.top;
    const uint64_t offset = edges.top * bytesPerLine;
    start = result + offset;
    dravLogCommon(kLogDebug,
                  "printImage: Adjusted image height to %zu, pointer offset by %zu bytes",
                  static_cast<size_t>(adjusted), static_cast<size_t>(offset));
  }
  dravLogCommon(kLogDebug,
                "printImage: Processed image information - pointer address: %lu, width: %zu, "
                "height: %zu, bytes per line: %zu, number of top blank lines: %zu, number of "
                "bottom blank lines: %zu, adjusted height: %zu",
                static_cast<unsigned long>(reinterpret_cast<uintptr_t>(start)),
                static_cast<size_t>(bytesPerLine), static_cast<size_t>(height),
                static_cast<size_t>(width), static_cast<size_t>(edges.top),
                static_cast<size_t>(edges.end), static_cast<size_t>(adjusted));
}

void DravPrinter::sendFinishedPage() {
  const bool printable = pimage_ != nullptr && pimage_->IsValid();
  pictureKind_ = "dithered";
  page_log::savingProcessed();
  if (printable) {
    saveImage(pimage_->GetBits(0), pimage_->GetEffWidth(), pimage_->GetHeight(),
              pimage_->GetWidth(), 8);
  }
  page_log::printingProcessed();
  if (!printable) {
    dravLogCommon(kLogError, "printImage: pimage is NULL, unable to print the image");
    return;
  }
  doPrintImage(pimage_->GetBits(0), pimage_->GetEffWidth(), pimage_->GetHeight(),
               pimage_->GetWidth());
}
