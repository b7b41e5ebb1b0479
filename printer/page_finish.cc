// SPDX-License-Identifier: Apache-2.0
#include "printer/page_finish.h"

#include <algorithm>
#include <cstring>

#include "common/log.h"
#include "printer/blank_lines.h"
#include "printer/mono_pack.h"
#include "printer/page_log.h"

PageFinish::PageFinish(const PageSettings& settings, const PagePixels& page, uint8_t dot,
                       const cups_page_header2_s* header)
    : width_(page.width),
      height_(page.height),
      printedColumns_(
          static_cast<uint32_t>(packedRowPixels(page.imageRowBytes(), settings.skipRightPixels))),
      dot_(dot),
      negative_(settings.negativePrint),
      inverting_(settings.invertPage),
      measuring_(settings.invertPage || settings.trimPaper != TrimPaper::None),
      // The negative complements the padding too.
      row_(page.imageRowBytes(), settings.negativePrint ? uint8_t{0xFF} : uint8_t{0}) {
  page_log::negative(negative_);
  if (inverting_) page_log::inverting();
  if (settings.antiWrinkle != 0) layFrame(settings, page, header);
  page_log::outputFilled(static_cast<int32_t>(page.height * page.imageRowBytes()));
}

// Where the canvas is larger than what prints, the frame's image would get margins,
// which print solid, or the frame would lose a side.
void PageFinish::layFrame(const PageSettings& settings, const PagePixels& page,
                          const cups_page_header2_s* header) {
  if (header == nullptr) {
    reportFrameWithoutPage();
    return;
  }
  const FrameGeometry frame =
      frameGeometry(settings, *header, static_cast<int>(page.width), static_cast<int>(page.height));
  const bool known = frame.canvasLogFormat != nullptr;
  const int64_t right = int64_t{frame.x} + frame.canvasWidth;
  if (known &&
      (frame.narrow || frame.low || right > std::min<int64_t>(page.width, printedColumns_))) {
    reportFrameLeftOut(frame, std::min(page.width, printedColumns_), page.height);
    return;
  }
  reportFrameCanvas(frame);
  reportFrameDrawn(frame);
  if (known) frame_ = frame;
}

void PageFinish::run(const PageHalftone& halftone, const Sink& sink) {
  sink_ = sink;
  halftone.run([this](uint32_t y, const uint8_t* dots) { add(y, dots); });
  handOnWaiting(height_, false);
}

void PageFinish::add(uint32_t y, const uint8_t* dots) {
  if (!negative_ && !measuring_ && !frame_) {
    sink_(y, dots, width_);
    return;
  }
  std::memcpy(row_.data(), dots, width_);
  if (negative_) {
    for (uint32_t x = 0; x < width_; ++x) row_[x] = static_cast<uint8_t>(~row_[x]);
  }
  if (measuring_ && !noteInk(y) && inverting_ && ink_.end == 0) {
    ++waiting_;
    return;
  }
  if (inverting_) {
    handOnWaiting(y, true);
    invert(row_.data());
  }
  handOn(y, row_);
}

bool PageFinish::noteInk(uint32_t y) {
  if (isBlankRow(row_.data(), printedColumns_)) return false;
  if (ink_.end == 0) ink_.begin = y;
  ink_.end = y + 1;
  return true;
}

void PageFinish::invert(uint8_t* row) const {
  const uint32_t columns = std::min(width_, printedColumns_);
  const uint8_t dot = dot_;  // the row's bytes might be the member's, for all a compiler knows
  for (uint32_t x = 0; x < columns; ++x) row[x] = row[x] == 0 ? dot : uint8_t{0};
  std::fill(row + columns, row + width_, uint8_t{0});  // as in the rows that waited
}

// Hands on the waiting rows, which lie before row `end`.
void PageFinish::handOnWaiting(uint32_t end, bool inverted) {
  for (; waiting_ != 0; --waiting_) {
    std::vector<uint8_t> blank(row_.size());
    if (inverted) invert(blank.data());
    handOn(end - waiting_, blank);
  }
}

void PageFinish::handOn(uint32_t y, std::vector<uint8_t>& row) {
  if (frame_) drawFrameRow(*frame_, y, width_, row.data());
  sink_(y, row.data(), static_cast<uint32_t>(row.size()));
}
