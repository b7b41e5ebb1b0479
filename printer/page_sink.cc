// SPDX-License-Identifier: Apache-2.0
#include "printer/page_sink.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "image/row_ops.h"
#include "printer/mono_pack.h"

PageSink::PageSink(const PageSettings& settings, const PagePixels& page,
                   const PageReceiver& receiver, PictureFile picture)
    : page_(page),
      skipRightPixels_(settings.skipRightPixels),
      receiver_(receiver),
      picture_(std::move(picture), page),
      rowPixels_(packedRowPixels(page.imageRowBytes(), settings.skipRightPixels)),
      rowBytes_(receiver.packed ? (rowPixels_ + 7) / 8 : page.imageRowBytes()),
      rows_(rowBytes_ * page.height) {}

void PageSink::add(uint32_t y, const uint8_t* row, uint32_t count) {
  picture_.add(row, count);
  const size_t start = y * rowBytes_;
  uint8_t* held = rows_.data() + start;
  if (receiver_.packed) {
    rowOps().pack(row, std::min<size_t>(rowPixels_, count), held);
  } else {
    std::memcpy(held, row, count);
  }
}

void PageSink::send(const RowRange& range) {
  if (receiver_.packed) {
    reportPacking(static_cast<int32_t>(page_.imageRowBytes()), static_cast<int32_t>(range.size()),
                  skipRightPixels_);
  }
  if (range.size() == 0) return;
  uint8_t* first = rows_.data() + range.begin * rowBytes_;
  if (receiver_.packed) {
    receiver_.packed(first, static_cast<uint32_t>(range.size() * rowBytes_), range.size());
  } else {
    receiver_.image(first, rowBytes_, range.size(), page_.width);
  }
}
