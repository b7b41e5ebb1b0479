// SPDX-License-Identifier: Apache-2.0
// The log lines are read by support tools; their texts and the order of their
// values are fixed, also where a label names another value than the one printed.
#include "printer/page_path.h"

#include <cups/raster.h>

#include <algorithm>
#include <limits>

#include "common/byte_buffer.h"
#include "common/log.h"
#include "image/palette_image.h"
#include "printer/blank_lines.h"
#include "printer/page_finish.h"
#include "printer/page_halftone.h"
#include "printer/page_log.h"
#include "printer/page_source.h"

namespace {

constexpr unsigned kMeasureTop = 2;
constexpr unsigned kMeasureBottom = 8;

// A page as it was handed over, its sizes not checked yet.
struct RawPage {
  const unsigned char* pixels;
  uint64_t bytesPerLine;
  uint64_t height;
  uint64_t width;
};

// Rows [top, end) hold the page's content.
struct BlankEdges {
  uint64_t top = 0;
  uint64_t end = 0;
};

BlankEdges measureBlankEdges(const RawPage& page, const PageSettings& settings) {
  BlankEdges edges;
  const auto count = [&](const auto& blankLines) {
    return blankLines(page.pixels, page.bytesPerLine, page.height, settings.skipRightPixels,
                      page.width);
  };
  if ((settings.removeBlankEdges & kMeasureBottom) != 0) {
    edges.end = count(dravImageCountBlankLinesFromBack);
    dravLogCommon(kLogDebug,
                  "printImage: Removal of bottom blank edges detected, number of bottom blank "
                  "lines: %zu",
                  static_cast<size_t>(edges.end));
  }
  if ((settings.removeBlankEdges & kMeasureTop) != 0) {
    edges.top = count(dravImageCountBlankLinesFromFront);
    dravLogCommon(kLogDebug,
                  "printImage: Removal of top blank edges detected, number of top blank lines: "
                  "%zu",
                  static_cast<size_t>(edges.top));
  }
  return edges;
}

// The edges are reported only: what TrimPaper leaves out is measured on dots.
void reportEdges(const BlankEdges& edges, const uint8_t* result, const RawPage& page) {
  uint64_t adjusted = page.height;
  const uint8_t* start = result;
  if (edges.end > edges.top) {
    adjusted = edges.end - edges.top;
    const uint64_t offset = edges.top * page.bytesPerLine;
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
                static_cast<size_t>(page.bytesPerLine), static_cast<size_t>(page.height),
                static_cast<size_t>(page.width), static_cast<size_t>(edges.top),
                static_cast<size_t>(edges.end), static_cast<size_t>(adjusted));
}

// Whether a page image of this size can be.
bool isCreatable(const RawPage& page) {
  constexpr uint64_t kMaxSide = std::numeric_limits<int32_t>::max();
  return page.bytesPerLine <= kMaxSide && page.width <= page.bytesPerLine &&
         page.height <= kMaxSide &&
         PaletteImage::IsCreatable(static_cast<uint32_t>(page.width),
                                   static_cast<uint32_t>(page.height), 8);
}

// Rows of 8 mm at the page's vertical resolution, rounded up.
uint32_t leastRows(const PageSettings& settings, const cups_page_header2_t* header) {
  const bool stated = header != nullptr && header->HWResolution[1] != 0;
  const uint64_t resolution =
      stated ? header->HWResolution[1] : static_cast<unsigned>(settings.resolution);
  return static_cast<uint32_t>((resolution * 80 + 253) / 254);
}

// Rows that are left of a page of `height` when the blank ones are trimmed. Those
// that make up for a short content come after it, as far as there are any.
RowRange trimmedRows(const RowRange& ink, TrimPaper trim, uint32_t height, uint32_t least) {
  if (ink.size() == 0) return {};
  least = std::min(least, height);
  RowRange rows = {trim == TrimPaper::Both ? ink.begin : 0, ink.end};
  if (rows.size() < least) rows.end = std::min(height, rows.begin + least);
  if (rows.size() < least) rows.begin = rows.end - least;
  return rows;
}

RowRange rowsToSend(const PageContext& context, const PageFinish& finish, uint32_t height) {
  const TrimPaper trim = context.settings.trimPaper;
  if (trim == TrimPaper::None || finish.isFramed()) return {0, height};
  const uint32_t least = leastRows(context.settings, context.header);
  const RowRange rows = trimmedRows(finish.ink(), trim, height, least);
  page_log::trimmed(rows.begin, rows.end, height);
  return rows;
}

void printRows(const PageContext& context, const RawPage& raw, const BlankEdges& edges,
               const uint8_t* result) {
  const PageSettings& settings = context.settings;
  const PagePixels page = {raw.pixels, static_cast<uint32_t>(raw.bytesPerLine),
                           static_cast<uint32_t>(raw.width), static_cast<uint32_t>(raw.height)};
  const PageRowSource source(page, settings);
  const PageHalftone halftone(source, settings);
  PageFinish finish(settings, page, halftone.dot(), context.header);
  reportEdges(edges, result, raw);

  context.pictures.setKind("dithered");
  if (settings.keepPictures) page_log::savingProcessed();
  PageSink sink(
      settings, page, context.receiver,
      settings.keepPictures ? context.pictures.open(page.height, page.width, 8) : nullptr);
  finish.run(halftone,
             [&](uint32_t y, const uint8_t* row, uint32_t count) { sink.add(y, row, count); });
  sink.closePicture();
  const RowRange rows = rowsToSend(context, finish, page.height);
  page_log::printingProcessed();
  sink.send(rows);
}

void reportUncreatable(const PageContext& context, const RawPage& raw, const BlankEdges& edges,
                       const uint8_t* result) {
  page_log::creationFailed();
  reportEdges(edges, result, raw);
  if (context.settings.keepPictures) page_log::savingProcessed();
  page_log::printingProcessed();
  dravLogCommon(kLogError, "printImage: pimage is NULL, unable to print the image");
}

// `result` becomes room for the processed page. Nothing is written there: the log
// tells whether it can be had, and where.
void processPage(const PageContext& context, const RawPage& raw, ByteBuffer& result) {
  const PageSettings& settings = context.settings;
  const BlankEdges edges = measureBlankEdges(raw, settings);

  context.pictures.setKind("origin");
  if (settings.keepPictures) {
    page_log::savingOriginal();
    context.pictures.save(raw.pixels, raw.bytesPerLine, raw.height, raw.width, 8);
  }

  const uint64_t size = raw.bytesPerLine * raw.height;
  if (!result.allocateZeros(2 * size)) {
    dravLogCommon(kLogError,
                  "printImage: Memory allocation for processing result failed, unable to continue "
                  "processing");
    return;
  }
  dravLogCommon(kLogDebug,
                "printImage: Memory for processing result allocated successfully, size: %zu bytes",
                static_cast<size_t>(size));
  page_log::halftoneChoice(settings.isTattoo());
  if (isCreatable(raw)) {
    printRows(context, raw, edges, result.data());
  } else {
    reportUncreatable(context, raw, edges, result.data());
  }
}

}  // namespace

void printPage(const PageContext& context, const unsigned char* pixels, uint64_t bytesPerLine,
               uint64_t height, uint64_t width) {
  dravLogCommon(kLogDebug,
                "printImage: Start processing image, input width: %zu, height: %zu, bytes per "
                "line: %zu",
                static_cast<size_t>(width), static_cast<size_t>(height),
                static_cast<size_t>(bytesPerLine));
  const uint64_t size = bytesPerLine * height;
  ByteBuffer work;  // as `result` below: never written, so it takes no memory
  ByteBuffer result;
  if (work.allocateZeros(size)) {
    dravLogCommon(kLogDebug, "printImage: Memory allocated successfully, size: %zu bytes",
                  static_cast<size_t>(size));
    processPage(context, {pixels, bytesPerLine, height, width}, result);
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
