// SPDX-License-Identifier: Apache-2.0
// A raster's page: judged by its header, then gathered row by row.
#ifndef APP_RASTER_PAGE_H_
#define APP_RASTER_PAGE_H_

#include <cups/raster.h>

#include <cstdint>
#include <string>

#include "common/byte_buffer.h"
#include "filter/driver_table.h"

namespace app {

class RasterPage {
 public:
  // Begins a page and forgets the one before. Null, or why it cannot be printed: then it
  // takes no rows. `paper` is what PageSize calls it, which a raster does not tell.
  const char* begin(const cups_page_header2_t& header, const PrinterModel& model,
                    const std::string& paper);

  // Takes cupsBytesPerLine levels; none beyond the page's last row.
  void takeRow(const uint8_t* levels);

  // Whether there is a page and all its rows have come.
  bool isWhole() const { return rows_ > 0 && rows_ == header_.cupsHeight; }
  uint32_t rows() const { return rows_; }

  // As the engine takes them: 0 is no ink.
  const cups_page_header2_t& header() const { return header_; }
  const uint8_t* pixels() const { return pixels_.data(); }

 private:
  cups_page_header2_t header_ = {};
  bool isWhite_ = false;  // 255 is no ink
  ByteBuffer pixels_;
  uint32_t rows_ = 0;
};

}  // namespace app

#endif  // APP_RASTER_PAGE_H_
