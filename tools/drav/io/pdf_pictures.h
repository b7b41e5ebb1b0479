// SPDX-License-Identifier: Apache-2.0
// Writes grey pictures as PDF 1.4 (ISO 32000-1), each filling a page of its own, row by row, so
// that no more than a row is held in memory. A pixel is a dot of the printer: drawn at the
// resolution given here, the page has the picture's pixels, unscaled.
#ifndef TOOLS_DRAV_IO_PDF_PICTURES_H_
#define TOOLS_DRAV_IO_PDF_PICTURES_H_

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

class PdfPictures {
 public:
  PdfPictures();
  ~PdfPictures();
  PdfPictures(const PdfPictures&) = delete;
  PdfPictures& operator=(const PdfPictures&) = delete;
  PdfPictures(PdfPictures&&) = delete;
  PdfPictures& operator=(PdfPictures&&) = delete;

  // Begins a document at the stream's position. `stream` stays the caller's and must outlive
  // the document.
  // Every function: false with a few words in `error`; the object is then good for nothing
  // but another begin().
  [[nodiscard]] bool begin(std::FILE* stream, std::string& error);

  // REQUIRES: all numbers from 1; every row of the last page was written.
  [[nodiscard]] bool beginPage(uint32_t width, uint32_t height, uint32_t dotsPerInchX,
                               uint32_t dotsPerInchY, std::string& error);

  // The next row from the top, 0 black to 255 white. REQUIRES: a page with rows left, and a
  // row as wide as it.
  [[nodiscard]] bool writeRow(std::span<const uint8_t> row, std::string& error);

  // REQUIRES: a page at least, and every row was written.
  [[nodiscard]] bool end(std::string& error);

 private:
  struct Deflation;

  bool put(const std::string& text, std::string& error);
  bool putObject(size_t number, const std::string& text, std::string& error);
  bool deflateAll(int flush, std::string& error);
  bool endPicture(std::string& error);

  std::FILE* stream_ = nullptr;
  uint64_t written_ = 0;
  std::vector<uint64_t> objectsAt_;  // by number, from 1
  std::unique_ptr<Deflation> deflation_;
  uint32_t rowsLeft_ = 0;
  uint64_t pictureAt_ = 0;
};

#endif  // TOOLS_DRAV_IO_PDF_PICTURES_H_
