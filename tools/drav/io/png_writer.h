// SPDX-License-Identifier: Apache-2.0
// Writes black-and-white pictures as 1-bit grey PNG files, row by row.
#ifndef TOOLS_DRAV_IO_PNG_WRITER_H_
#define TOOLS_DRAV_IO_PNG_WRITER_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "proof/png_encoder.h"
#include "tools/drav/io/output_file.h"

class PngWriter {
 public:
  PngWriter() = default;
  ~PngWriter() = default;
  PngWriter(const PngWriter&) = delete;
  PngWriter& operator=(const PngWriter&) = delete;
  PngWriter(PngWriter&&) = delete;
  PngWriter& operator=(PngWriter&&) = delete;

  // Begins a picture of `width` x `height` dots, both from 1 to 2^31 - 1. The file
  // appears under `path` with finish() and not before; see OutputFile.
  // Every function: false with one line in `error`, which names the file; the
  // writer is then good for nothing but another open().
  [[nodiscard]] bool open(const std::string& path, uint32_t width, uint32_t height,
                          std::string& error, const PngNotes& notes = {});

  // The next row from the top: a set bit is a black dot, the top bit of a byte is
  // the leftmost of its eight. A row that ends early is white from there on; bits
  // past the width are not looked at.
  // REQUIRES: an open picture with rows left.
  [[nodiscard]] bool writeRow(std::span<const uint8_t> row, std::string& error);

  // Completes all but the file's name. REQUIRES: every row was written.
  [[nodiscard]] bool complete(std::string& error);

  // Completes the file. REQUIRES: every row was written.
  [[nodiscard]] bool finish(std::string& error);

 private:
  bool settle(bool well, std::string& error);

  std::string path_;
  std::optional<OutputFile> file_;  // before the encoder, which writes to it
  PngEncoder encoder_;
  bool encoded_ = false;
};

#endif  // TOOLS_DRAV_IO_PNG_WRITER_H_
