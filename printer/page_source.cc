// SPDX-License-Identifier: Apache-2.0
#include "printer/page_source.h"

#include <algorithm>
#include <cstring>

#include "image/palette_image.h"
#include "printer/page_log.h"

// A half turn takes the rows from the last and reverses each; mirroring reverses
// them (again).
PageRowSource::PageRowSource(const PagePixels& page, const PageSettings& settings)
    : page_(page),
      toned_(settings.adjustsTone()),
      upsideDown_(settings.rotate180Print),
      reversed_(settings.rotate180Print != settings.mirrorPrint),
      tone_(PaletteImage::lightTable(settings.scaledBrightness(), settings.scaledContrast())) {
  page_log::pageCreated(static_cast<int32_t>(page.stride));
  if (toned_) page_log::toneAdjusted(settings.scaledBrightness(), settings.scaledContrast());
  if (settings.rotate180Print) page_log::rotated();
  if (settings.mirrorPrint) page_log::mirrored();
}

const uint8_t* PageRowSource::turnedRow(uint32_t y) const {
  return page_.pixels + size_t{upsideDown_ ? page_.height - 1 - y : y} * page_.stride;
}

void PageRowSource::read(uint32_t y, uint8_t* row) const {
  if (toned_) {
    read(y, tone_, row);
    return;
  }
  std::memcpy(row, turnedRow(y), page_.width);
  if (reversed_) rowOps().reverse(row, page_.width);
}

void PageRowSource::read(uint32_t y, const LevelTable& table, uint8_t* row) const {
  rowOps().replace(turnedRow(y), page_.width, table, row);
  if (reversed_) rowOps().reverse(row, page_.width);
}

RunTogetherRows::RunTogetherRows(const PageRowSource& source, const LevelTable& table,
                                 uint8_t blank)
    : source_(source), table_(table) {
  const PagePixels& page = source.page();
  if (page.stride != page.width) held_.assign(page.stride, blank);
}

void RunTogetherRows::read(uint32_t y, uint8_t* row) {
  const PagePixels& page = source_.page();
  if (held_.empty()) {
    source_.read(y, table_, row);
    return;
  }
  uint64_t at = uint64_t{y} * page.width;
  for (uint32_t done = 0; done < page.width;) {
    if (at / page.stride != heldRow_) {
      heldRow_ = at / page.stride;
      source_.read(static_cast<uint32_t>(heldRow_), table_, held_.data());
    }
    const auto column = static_cast<uint32_t>(at % page.stride);
    const uint32_t count = std::min(page.stride - column, page.width - done);
    std::memcpy(row + done, held_.data() + column, count);
    done += count;
    at += count;
  }
}
