// SPDX-License-Identifier: Apache-2.0
// The last step of a page: its finished rows go into the picture and to the
// concrete printer.
#ifndef PRINTER_PAGE_SINK_H_
#define PRINTER_PAGE_SINK_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "printer/page_finish.h"
#include "printer/page_picture.h"
#include "printer/page_settings.h"

// What the concrete printer takes: rows packed as GrayToMono packs them, or, where
// `packed` is empty, a page image. Both may work in place.
struct PageReceiver {
  std::function<void(uint8_t* rows, uint32_t bytes, uint64_t height)> packed;
  std::function<void(uint8_t* rows, uint64_t bytesPerLine, uint64_t height, uint64_t width)> image;
};

// Holds the rows until the page is complete: a page that fails sends nothing.
class PageSink {
 public:
  PageSink(const PageSettings& settings, const PagePixels& page, const PageReceiver& receiver,
           PictureFile picture);

  void add(uint32_t y, const uint8_t* row, uint32_t count);
  void closePicture() { picture_.close(); }
  // Sends the rows of the range; nothing when it is empty.
  void send(const RowRange& range);

 private:
  const PagePixels page_;
  const unsigned long skipRightPixels_;
  const PageReceiver& receiver_;
  PictureRows picture_;
  size_t rowPixels_;  // of a packed row
  size_t rowBytes_;   // of a held row
  std::vector<uint8_t> rows_;
};

#endif  // PRINTER_PAGE_SINK_H_
