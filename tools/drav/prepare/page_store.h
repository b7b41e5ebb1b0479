// SPDX-License-Identifier: Apache-2.0
// Pages as PDF or PNG, kept until all of them are there.
#ifndef TOOLS_DRAV_PREPARE_PAGE_STORE_H_
#define TOOLS_DRAV_PREPARE_PAGE_STORE_H_

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "documents/page_request.h"
#include "proof/art_layout.h"
#include "proof/png_encoder.h"
#include "tools/drav/io/file_closer.h"
#include "tools/drav/io/pdf_pictures.h"

enum class PageFormat { kPdf, kPng };

// The file has no name, so nothing is left behind whatever happens.
class PageStore {
 public:
  // Every function: false with one line in `error`.
  [[nodiscard]] bool open(PageFormat format, const std::string& source, std::string& error);

  // The PDF gets the whole page, a PNG what the head reaches of it: printed as a picture, it
  // lies where it should.
  [[nodiscard]] bool beginPage(const documents::Paper& paper, uint32_t height, std::string& error);
  // As many as the page is high: 0 for no ink, 255 for black.
  [[nodiscard]] bool writeRow(std::span<const uint8_t> row, std::string& error);
  [[nodiscard]] bool end(std::string& error);

  // Files to be made of it: one PDF, or a PNG for each page.
  size_t files() const;
  // Writes one of them, counted from 0, at the end of `out`.
  [[nodiscard]] bool copy(size_t file, std::FILE* out, std::string& error) const;

 private:
  [[nodiscard]] bool endPng(std::string& error);

  PageFormat format_ = PageFormat::kPdf;
  std::string source_;
  FileHandle stream_;
  PdfPictures pdf_;
  PngEncoder png_;
  std::vector<long> pngEnds_;
  Area shown_;
  uint32_t height_ = 0;
  uint32_t y_ = 0;
  std::vector<uint8_t> levels_;
};

#endif  // TOOLS_DRAV_PREPARE_PAGE_STORE_H_
