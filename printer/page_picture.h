// SPDX-License-Identifier: Apache-2.0
// Diagnostic pictures: Windows bitmaps (BITMAPFILEHEADER, BITMAPINFOHEADER) of
// each page before and after its processing.
#ifndef PRINTER_PAGE_PICTURE_H_
#define PRINTER_PAGE_PICTURE_H_

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "printer/page_settings.h"

struct PictureCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using PictureFile = std::unique_ptr<std::FILE, PictureCloser>;

// Where pictures are saved, and under which names.
class PageBitmaps {
 public:
  // The clock that is part of the names.
  void setClock(std::function<std::time_t()> clock) { clock_ = std::move(clock); }
  // Without a name, nothing is saved or reported.
  void setFolder(const std::string& folder) { folder_ = folder; }
  // Names begin with it. A constant.
  void setKind(const char* kind) { kind_ = kind; }

  // A picture with its header and palette written, or null after the report.
  PictureFile open(uint64_t height, uint64_t width, uint16_t bitsPerPixel) const;

  // Saves `height` rows of `bytesPerLine` bytes, see DravPrinter::saveImage.
  void save(const uint8_t* pixels, uint64_t bytesPerLine, uint64_t height, uint64_t width,
            uint16_t bitsPerPixel) const;

 private:
  std::string folder_ = "/var/spool/cups/tmp";
  const char* kind_ = "prnimg";
  std::function<std::time_t()> clock_ = [] { return std::time(nullptr); };
};

// The 8-bit picture of a page that comes row by row: rows as they would lie in
// memory, padded to a multiple of 4 bytes, cut after width * height bytes in all.
class PictureRows {
 public:
  // The file may be null.
  PictureRows(PictureFile file, const PagePixels& page);
  ~PictureRows();
  PictureRows(const PictureRows&) = delete;
  PictureRows& operator=(const PictureRows&) = delete;
  PictureRows(PictureRows&&) = delete;
  PictureRows& operator=(PictureRows&&) = delete;

  // Adds a row of which `count` bytes are given; the others are 0.
  void add(const uint8_t* row, uint32_t count);
  void close();

 private:
  void write(const uint8_t* bytes, uint32_t count);
  void flush();

  PictureFile file_;
  std::vector<uint8_t> block_;
  uint32_t rowBytes_;
  uint64_t left_;
};

#endif  // PRINTER_PAGE_PICTURE_H_
