// SPDX-License-Identifier: Apache-2.0
// Reads CUPS raster streams with libcups, within limits.
#ifndef TOOLS_DRAV_DOCUMENT_RASTER_READER_H_
#define TOOLS_DRAV_DOCUMENT_RASTER_READER_H_

#include <functional>
#include <memory>
#include <string>

#include "tools/drav/document/grey_page.h"

// Gives the next bytes: how many, at most `size`; 0 at the end, -1 when reading failed.
using ByteReader = std::function<ssize_t(uint8_t* buffer, size_t size)>;

class RasterReader : public PageSource {
 public:
  explicit RasterReader(ByteReader bytes) : bytes_(std::move(bytes)) {}

  // Fails on a page that is cut short or larger than kMaxPageBytes, and on a stream
  // without any page.
  Step next(GreyPage& page, std::string& error) override;

 private:
  struct Closer {
    void operator()(cups_raster_t* raster) const { cupsRasterClose(raster); }
  };
  static ssize_t readCallback(void* self, unsigned char* buffer, size_t size);
  bool start(std::string& error);
  Step readPixels(GreyPage& page, std::string& error);
  std::string pageName() const { return "page " + std::to_string(pagesBegun_); }

  ByteReader bytes_;
  std::unique_ptr<cups_raster_t, Closer> raster_;
  uint64_t used_ = 0;       // bytes taken so far
  uint64_t headerEnd_ = 0;  // of those, up to the last header
  unsigned pagesBegun_ = 0;
  bool started_ = false;
  bool failed_ = false;  // to read, at the source
};

// Takes the descriptor and closes it; `size` is the file's size, 0 when it has none.
std::unique_ptr<PageSource> openRasterFile(int descriptor, uint64_t size);

#endif  // TOOLS_DRAV_DOCUMENT_RASTER_READER_H_
