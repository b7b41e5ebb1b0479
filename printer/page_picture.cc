// SPDX-License-Identifier: Apache-2.0
#include "printer/page_picture.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <utility>
#include <vector>

#include "common/local_time.h"
#include "common/private_file.h"

namespace {

constexpr uint32_t kHeaderBytes = 54;
constexpr uint32_t kInfoHeaderBytes = 40;
constexpr uint32_t kGreyEntries = 256;
constexpr size_t kBlock = size_t{1} << 17;  // a stream hands on such pieces as they are

// Pictures saved by this process, failed saves included; part of their names. Jobs
// on several threads share it.
std::atomic<uint64_t> savedImages = 0;

using BmpHeader = std::array<uint8_t, kHeaderBytes>;

void put16(BmpHeader& header, size_t offset, uint32_t value) {
  header[offset] = static_cast<uint8_t>(value & 0xFF);
  header[offset + 1] = static_cast<uint8_t>((value >> 8) & 0xFF);
}

void put32(BmpHeader& header, size_t offset, uint32_t value) {
  put16(header, offset, value & 0xFFFF);
  put16(header, offset + 2, value >> 16);
}

uint64_t paddedRowBytes(uint64_t width, bool grey) {
  const uint64_t bytes = grey ? width : (width + 7) / 8;
  return (bytes + 3) / 4 * 4;
}

// Sizes are those of a picture with padded rows; fields wrap at 32 bits.
BmpHeader makeHeader(uint64_t width, uint64_t height, bool grey) {
  const uint32_t entries = grey ? kGreyEntries : 2;
  const uint32_t listedEntries = grey ? kGreyEntries : 0;
  const uint32_t dataOffset = kHeaderBytes + entries * 4;
  const auto imageBytes = static_cast<uint32_t>(paddedRowBytes(width, grey) * height);
  BmpHeader header = {};
  header[0] = 'B';
  header[1] = 'M';
  put32(header, 2, dataOffset + imageBytes);
  put32(header, 10, dataOffset);
  put32(header, 14, kInfoHeaderBytes);
  put32(header, 18, static_cast<uint32_t>(width));
  put32(header, 22, static_cast<uint32_t>(height));
  put16(header, 26, 1);
  put16(header, 28, grey ? 8 : 1);
  put32(header, 34, imageBytes);
  put32(header, 46, listedEntries);
  put32(header, 50, listedEntries);
  return header;
}

void writeGreyPalette(std::FILE* file) {
  std::array<uint8_t, size_t{kGreyEntries}* 4> palette = {};
  for (size_t i = 0; i < kGreyEntries; ++i) {
    std::fill_n(palette.begin() + static_cast<std::ptrdiff_t>(i * 4), 3, static_cast<uint8_t>(i));
  }
  std::fwrite(palette.data(), palette.size(), 1, file);
}

void writeMonoPalette(std::FILE* file) {
  constexpr std::array<uint8_t, 8> kBlackAndWhite = {0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0};
  std::fwrite(kBlackAndWhite.data(), kBlackAndWhite.size(), 1, file);
}

// The rows from the last to the first, `bytesPerLine` pixels each: 0 is white, a
// set bit; the rest of the last byte is white, the padding behind it 0. Pixels
// behind the end of a row of `width` pixels find no place. Without columns there
// is no row to write.
void writeMonoRows(std::FILE* file, const uint8_t* pixels, uint64_t bytesPerLine, uint64_t height,
                   uint64_t width) {
  std::vector<uint8_t> packed(static_cast<size_t>(paddedRowBytes(width, false)));
  if (packed.empty()) return;
  const uint64_t packedPixels = std::min<uint64_t>(bytesPerLine, packed.size() * 8);
  for (uint64_t y = height; y > 0; --y) {
    const uint8_t* row = pixels + (y - 1) * bytesPerLine;
    std::fill(packed.begin(), packed.end(), uint8_t{0});
    for (uint64_t x = 0; x < packedPixels; ++x) {
      if (row[x] == 0) packed[x / 8] = static_cast<uint8_t>(packed[x / 8] | (0x80U >> (x % 8)));
    }
    if (packedPixels % 8 != 0) {
      uint8_t& last = packed[packedPixels / 8];
      last = static_cast<uint8_t>(last | (0xFFU >> (packedPixels % 8)));
    }
    std::fwrite(packed.data(), packed.size(), 1, file);
  }
}

}  // namespace

PictureFile PageBitmaps::open(uint64_t height, uint64_t width, uint16_t bitsPerPixel) const {
  if (folder_.empty()) return nullptr;
  const std::tm now = localTime(clock_());
  const auto number = static_cast<long>(savedImages++);
  std::array<char, 160> stamp = {};  // seven numbers of at most 20 characters
  std::snprintf(stamp.data(), stamp.size(), "%d-%d-%d_%d_%d_%d_%ld", now.tm_year + 1900,
                now.tm_mon + 1, now.tm_mday, now.tm_hour, now.tm_min, now.tm_sec, number);
  const std::string path = folder_ + "/" + kind_ + "_" + stamp.data() + ".bmp";

  PictureFile file(openPrivateFile(path.c_str(), "wb+"));
  if (!file) {
    std::fprintf(stderr, "DravPrinter::saveImage: unable to open the file %s\n", path.c_str());
    return nullptr;
  }
  const BmpHeader header = makeHeader(width, height, bitsPerPixel == 8);
  std::fwrite(header.data(), header.size(), 1, file.get());
  if (bitsPerPixel == 8) writeGreyPalette(file.get());
  if (bitsPerPixel == 1) writeMonoPalette(file.get());
  return file;
}

void PageBitmaps::save(const uint8_t* pixels, uint64_t bytesPerLine, uint64_t height,
                       uint64_t width, uint16_t bitsPerPixel) const {
  const PictureFile file = open(height, width, bitsPerPixel);
  if (!file || pixels == nullptr) return;
  if (bitsPerPixel != 8) {
    writeMonoRows(file.get(), pixels, bytesPerLine, height, width);
    return;
  }
  // As the bytes lie in memory: no padding, first row first, no more than there are.
  const uint64_t bytes = std::min(width, bytesPerLine) * height;
  if (bytes != 0) std::fwrite(pixels, bytes, 1, file.get());
}

PictureRows::PictureRows(PictureFile file, const PagePixels& page)
    : file_(std::move(file)),
      rowBytes_(page.imageRowBytes()),
      left_(uint64_t{page.width} * page.height) {
  if (file_) block_.reserve(static_cast<size_t>(std::min<uint64_t>(kBlock, left_)));
}

PictureRows::~PictureRows() { close(); }

void PictureRows::close() {
  flush();
  file_.reset();
}

void PictureRows::flush() {
  if (!block_.empty()) std::fwrite(block_.data(), block_.size(), 1, file_.get());
  block_.clear();
}

void PictureRows::add(const uint8_t* row, uint32_t count) {
  static constexpr uint8_t kPadding[3] = {};
  write(row, count);
  write(kPadding, rowBytes_ - count);
}

void PictureRows::write(const uint8_t* bytes, uint32_t count) {
  const uint64_t size = std::min<uint64_t>(count, left_);
  if (!file_ || size == 0) return;
  if (block_.size() + size > kBlock) flush();
  block_.insert(block_.end(), bytes, bytes + size);
  left_ -= size;
}
