// SPDX-License-Identifier: Apache-2.0
// The frame that stands in for a logo stored in the printer, labelled "LOGO n".
#ifndef TOOLS_DRAV_RENDER_LOGO_FRAME_H_
#define TOOLS_DRAV_RENDER_LOGO_FRAME_H_

#include <cstdint>
#include <span>
#include <string>

#include "proof/job_stream.h"
#include "tools/drav/job/paper_scale.h"

class LogoFrame {
 public:
  // For a command FS p n m. 24 x 10 mm, each doubled as m says, and at least as large
  // as its label.
  LogoFrame(const JobCommand& logo, const PaperScale& scale);

  uint32_t width() const { return width_; }    // in dots
  uint32_t height() const { return height_; }  // in rows

  // Blackens the dots of the frame's row `y` in `row`, from `left` on.
  void drawRow(uint32_t y, uint64_t left, std::span<uint8_t> row) const;

 private:
  void drawLabelRow(uint32_t line, uint64_t left, std::span<uint8_t> row) const;

  std::string label_;
  uint32_t width_ = 0;
  uint32_t height_ = 0;
  uint32_t dot_ = 1;  // dots and rows of one dot of a letter
};

#endif  // TOOLS_DRAV_RENDER_LOGO_FRAME_H_
