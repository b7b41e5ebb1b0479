// SPDX-License-Identifier: Apache-2.0
// Writes black-and-white pictures as 1-bit grey PNG files (ISO/IEC 15948), row
// by row, so that no more than a row is held in memory.
#ifndef TOOLS_DRAV_IO_PNG_WRITER_H_
#define TOOLS_DRAV_IO_PNG_WRITER_H_

#include <cstdint>
#include <memory>
#include <span>
#include <string>

class PngWriter {
 public:
  PngWriter();
  ~PngWriter();
  PngWriter(const PngWriter&) = delete;
  PngWriter& operator=(const PngWriter&) = delete;
  PngWriter(PngWriter&&) = delete;
  PngWriter& operator=(PngWriter&&) = delete;

  // Dots per inch, both above 0, of the pictures that are opened from now on. Without
  // it a picture has no resolution.
  void setResolution(uint32_t across, uint32_t along);

  // Begins a picture of `width` x `height` dots, both from 1 to 2^31 - 1. The file
  // appears under `path` with finish() and not before; see OutputFile.
  // Every function: false with one line in `error`, which names the file; the
  // writer is then good for nothing but another open().
  [[nodiscard]] bool open(const std::string& path, uint32_t width, uint32_t height,
                          std::string& error);

  // The next row from the top: a set bit is a black dot, the top bit of a byte is
  // the leftmost of its eight. A row that ends early is white from there on; bits
  // past the width are not looked at.
  // REQUIRES: an open picture with rows left.
  [[nodiscard]] bool writeRow(std::span<const uint8_t> row, std::string& error);

  // Completes the file. REQUIRES: every row was written.
  [[nodiscard]] bool finish(std::string& error);

 private:
  struct State;
  std::unique_ptr<State> state_;
  uint32_t dotsAcross_ = 0;
  uint32_t dotsAlong_ = 0;
};

#endif  // TOOLS_DRAV_IO_PNG_WRITER_H_
