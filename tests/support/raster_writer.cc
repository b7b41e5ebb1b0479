// SPDX-License-Identifier: Apache-2.0
#include "tests/support/raster_writer.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <stdexcept>

namespace {

template <typename T>
void appendObject(Bytes& out, const T& object) {
  const size_t end = out.size();
  out.resize(end + sizeof object);
  std::memcpy(out.data() + end, &object, sizeof object);
}

// The words of a header between its texts at the front and at the back.
constexpr size_t kFirstWord = offsetof(cups_page_header2_t, AdvanceDistance);
constexpr size_t kEndOfWords = offsetof(cups_page_header2_t, cupsString);

void swapWords(uint8_t* begin, const uint8_t* end) {
  for (; begin != end; begin += 4) std::reverse(begin, begin + 4);
}

}  // namespace

cups_page_header2_t rasterHeader(const model::RasterPage& page) {
  cups_page_header2_t header = {};
  header.HWResolution[0] = page.hwResolution;
  header.HWResolution[1] = page.hwResolutionY;
  header.NumCopies = page.numCopies;
  header.PageSize[0] = 227;
  header.PageSize[1] = 567;
  header.cupsWidth = page.cupsWidth;
  header.cupsHeight = page.height;
  header.cupsBitsPerColor = page.bitsPerPixel == 1 ? 1 : 8;
  header.cupsBitsPerPixel = page.bitsPerPixel;
  header.cupsBytesPerLine = page.bytesPerLine;
  header.cupsColorOrder = CUPS_ORDER_CHUNKED;
  header.cupsColorSpace = static_cast<cups_cspace_t>(page.colorSpace);
  header.cupsNumColors = page.bitsPerPixel == 24 ? 3 : 1;
  const size_t length = std::min(page.pageSizeName.size(), sizeof header.cupsPageSizeName);
  std::memcpy(header.cupsPageSizeName, page.pageSizeName.data(), length);
  return header;
}

void writeRaster(const std::string& path, const std::vector<model::RasterPage>& pages,
                 cups_mode_t mode) {
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (descriptor == -1) throw std::runtime_error("cannot create " + path);
  cups_raster_t* raster = cupsRasterOpen(descriptor, mode);
  bool good = raster != nullptr;
  for (const model::RasterPage& page : pages) {
    cups_page_header2_t header = rasterHeader(page);
    Bytes pixels = page.pixels;
    good = good && cupsRasterWriteHeader2(raster, &header) != 0 &&
           cupsRasterWritePixels(raster, pixels.data(), static_cast<unsigned>(pixels.size())) ==
               pixels.size();
  }
  cupsRasterClose(raster);
  close(descriptor);
  if (!good) throw std::runtime_error("libcups does not write this page");
}

Bytes rawRaster(const std::vector<model::RasterPage>& pages) {
  Bytes out;
  appendObject(out, uint32_t{CUPS_RASTER_SYNC});
  for (const model::RasterPage& page : pages) {
    appendObject(out, rasterHeader(page));
    append(out, page.pixels);
  }
  return out;
}

Bytes swappedRaster(const std::vector<model::RasterPage>& pages) {
  Bytes out;
  appendObject(out, uint32_t{CUPS_RASTER_REVSYNC});
  for (const model::RasterPage& page : pages) {
    Bytes header;
    appendObject(header, rasterHeader(page));
    swapWords(header.data() + kFirstWord, header.data() + kEndOfWords);
    append(out, header);
    append(out, page.pixels);
  }
  return out;
}

Bytes version1Raster(const std::vector<model::RasterPage>& pages) {
  Bytes out;
  appendObject(out, uint32_t{CUPS_RASTER_SYNCv1});
  for (const model::RasterPage& page : pages) {
    Bytes header;
    appendObject(header, rasterHeader(page));
    header.resize(sizeof(cups_page_header_t));
    append(out, header);
    append(out, page.pixels);
  }
  return out;
}

model::RasterPage rasterPage(const model::Grey& picture, uint32_t bytesPerLine) {
  model::RasterPage page;
  page.cupsWidth = static_cast<uint32_t>(picture.width);
  page.height = static_cast<uint32_t>(picture.height);
  page.bytesPerLine = bytesPerLine != 0 ? bytesPerLine : page.cupsWidth;
  page.pageSizeName = "X80MMY200MM";
  page.pixels.assign(size_t{page.bytesPerLine} * page.height, 0);
  for (size_t y = 0; y < page.height; ++y) {
    const auto row = picture.pixels.begin() + static_cast<std::ptrdiff_t>(y * page.cupsWidth);
    std::copy(row, row + static_cast<std::ptrdiff_t>(page.cupsWidth),
              page.pixels.begin() + static_cast<std::ptrdiff_t>(y * page.bytesPerLine));
  }
  return page;
}
