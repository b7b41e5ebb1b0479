// SPDX-License-Identifier: Apache-2.0
// Lays the rows of a picture on those of its page.
#ifndef DOCUMENTS_PLACED_PAGES_H_
#define DOCUMENTS_PLACED_PAGES_H_

#include <cstdint>
#include <span>
#include <string>

#include "documents/grey_pages.h"

namespace documents {

class PlacedPages : public GreyPages {
 public:
  bool nextRow(std::span<uint8_t> row, std::string& error) final;

 protected:
  explicit PlacedPages(const PageWish& wish) : mirror_(wish.mirror), channels_(channelsOf(wish)) {}

  // For nextPage: the page begins, with the picture where `placing` says.
  void beginPage(const PictureFacts& facts, const Placing& placing, GreyPage& page);
  // Rows of the picture's visible part that were not taken.
  uint32_t unreadRows() const { return unread_; }

  // Bytes of a dot.
  uint32_t channels() const { return channels_; }

  // The next row of the picture's visible part, 0 black to 255 white. False with one line
  // in `error`.
  virtual bool readRow(std::span<uint8_t> levels, std::string& error) = 0;

 private:
  const bool mirror_;
  const uint32_t channels_;
  Placing placing_;
  uint32_t y_ = 0;  // of the page
  uint32_t unread_ = 0;
};

}  // namespace documents

#endif  // DOCUMENTS_PLACED_PAGES_H_
