// SPDX-License-Identifier: Apache-2.0
// Where a drawn picture goes.
#ifndef TOOLS_DRAV_RENDER_PICTURE_SINK_H_
#define TOOLS_DRAV_RENDER_PICTURE_SINK_H_

#include <cstdint>
#include <span>
#include <string>

// Every function: false with one line in `error`; nothing is called after that.
class PictureSink {
 public:
  PictureSink() = default;
  virtual ~PictureSink() = default;
  PictureSink(const PictureSink&) = delete;
  PictureSink& operator=(const PictureSink&) = delete;
  PictureSink(PictureSink&&) = delete;
  PictureSink& operator=(PictureSink&&) = delete;

  // Begins a picture of `width` x `height` dots, both from 1 to 2^31 - 1.
  [[nodiscard]] virtual bool open(uint32_t width, uint32_t height, std::string& error) = 0;
  // The next row from the top: a set bit is a black dot, the top bit of a byte is the
  // leftmost of its eight. A row that ends early is white from there on.
  [[nodiscard]] virtual bool writeRow(std::span<const uint8_t> row, std::string& error) = 0;
  // Called after the last row.
  [[nodiscard]] virtual bool finish(std::string& error) = 0;
};

#endif  // TOOLS_DRAV_RENDER_PICTURE_SINK_H_
