// SPDX-License-Identifier: Apache-2.0
#include "documents/placed_pages.h"

#include <algorithm>

namespace documents {

void PlacedPages::beginPage(const PictureFacts& facts, const Placing& placing, GreyPage& page) {
  page.width = placing.pageWidth;
  page.height = placing.pageHeight;
  page.facts = facts;
  page.placing = placing;
  placing_ = placing;
  y_ = 0;
  unread_ = placing.visibleWidth() == 0 ? 0 : placing.visibleHeight();
}

bool PlacedPages::nextRow(std::span<uint8_t> row, std::string& error) {
  std::fill(row.begin(), row.end(), uint8_t{0});
  const auto top = std::max<int64_t>(placing_.y, 0);
  if (y_++ < top || unread_ == 0) return true;
  --unread_;
  const auto left = static_cast<size_t>(std::max<int64_t>(placing_.x, 0));
  const std::span<uint8_t> part =
      row.subspan(left * channels_, size_t{placing_.visibleWidth()} * channels_);
  if (!readRow(part, error)) return false;
  std::transform(part.begin(), part.end(), part.begin(),
                 [](uint8_t level) { return static_cast<uint8_t>(255 - level); });
  if (!mirror_) return true;
  std::reverse(row.begin(), row.end());
  for (size_t at = 0; channels_ > 1 && at + channels_ <= row.size(); at += channels_)
    std::reverse(&row[at], &row[at] + channels_);
  return true;
}

}  // namespace documents
