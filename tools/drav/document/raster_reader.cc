// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/document/raster_reader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/drav/io/interruption.h"

namespace {

constexpr uint64_t kSlabBytes = uint64_t{1} << 20U;

// A raster file on disk, or a pipe that brings one.
class RasterFile : public PageSource {
 public:
  RasterFile(int descriptor, uint64_t size)
      : descriptor_(descriptor),
        size_(size),
        reader_([this](uint8_t* buffer, size_t wanted) { return read(buffer, wanted); }) {}
  ~RasterFile() override { ::close(descriptor_); }
  RasterFile(const RasterFile&) = delete;
  RasterFile& operator=(const RasterFile&) = delete;
  RasterFile(RasterFile&&) = delete;
  RasterFile& operator=(RasterFile&&) = delete;

  Step next(GreyPage& page, std::string& error) override {
    const Step step = reader_.next(page, error);
    if (step == Step::failed && failure_ != 0) error = std::strerror(failure_);
    return step;
  }

  double share() const override {
    return size_ == 0 ? -1 : static_cast<double>(used_) / static_cast<double>(size_);
  }

 private:
  ssize_t read(uint8_t* buffer, size_t wanted) {
    for (;;) {
      const ssize_t got = ::read(descriptor_, buffer, wanted);
      if (got < 0 && errno == EINTR && !Interruption::requested()) continue;
      if (got < 0) failure_ = errno;
      if (got > 0) used_ += static_cast<uint64_t>(got);
      return got;
    }
  }

  int descriptor_;
  uint64_t size_;
  uint64_t used_ = 0;
  int failure_ = 0;
  RasterReader reader_;
};

}  // namespace

ssize_t RasterReader::readCallback(void* self, unsigned char* buffer, size_t size) {
  auto* reader = static_cast<RasterReader*>(self);
  const ssize_t got = reader->bytes_(buffer, size);
  if (got > 0) reader->used_ += static_cast<uint64_t>(got);
  if (got < 0) reader->failed_ = true;
  return got;
}

bool RasterReader::start(std::string& error) {
  started_ = true;
  raster_.reset(cupsRasterOpenIO(readCallback, this, CUPS_RASTER_READ));
  headerEnd_ = used_;
  if (!raster_) error = used_ == 0 ? "holds no page" : "is no CUPS raster";
  return raster_ != nullptr;
}

PageSource::Step RasterReader::next(GreyPage& page, std::string& error) {
  if (!started_ && !start(error)) return Step::failed;
  if (!raster_) return Step::end;
  headerEnd_ = used_;
  if (cupsRasterReadHeader2(raster_.get(), &page.header) != 0) {
    ++pagesBegun_;
    return readPixels(page, error);
  }
  if (failed_) {
    error = "cannot be read to its end";
  } else if (used_ != headerEnd_) {
    error = "page " + std::to_string(pagesBegun_ + 1) + " has a damaged header";
  } else if (pagesBegun_ == 0) {
    error = "holds no page";
  } else {
    return Step::end;
  }
  return Step::failed;
}

PageSource::Step RasterReader::readPixels(GreyPage& page, std::string& error) {
  const cups_page_header2_t& header = page.header;
  const uint64_t rowBytes = header.cupsBytesPerLine;
  const uint64_t size = rowBytes * header.cupsHeight;
  page.pixels.clear();
  if (size == 0) {
    error = pageName() + " has no pixels";
    return Step::failed;
  }
  if (size > kMaxPageBytes) {
    error = pageName() + " is " + std::to_string(header.cupsWidth) + " x " +
            std::to_string(header.cupsHeight) + " pixels, more than the " +
            std::to_string(kMaxPageBytes >> 20U) + " MiB that a page may have";
    return Step::failed;
  }
  // Memory is taken as the data comes: a header may promise what does not follow.
  const uint64_t slab = std::max<uint64_t>(1, kSlabBytes / rowBytes) * rowBytes;
  for (uint64_t done = 0; done < size;) {
    const auto part = static_cast<unsigned>(std::min(slab, size - done));
    page.pixels.resize(static_cast<size_t>(done + part));
    if (cupsRasterReadPixels(raster_.get(), page.pixels.data() + done, part) < part) {
      error = failed_ ? "cannot be read to its end" : pageName() + " is cut short";
      return Step::failed;
    }
    done += part;
  }
  return Step::page;
}

std::unique_ptr<PageSource> openRasterFile(int descriptor, uint64_t size) {
  return std::make_unique<RasterFile>(descriptor, size);
}
