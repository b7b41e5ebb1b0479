// SPDX-License-Identifier: Apache-2.0
// CUPS raster streams for tests, by libcups and byte by byte.
#ifndef TESTS_SUPPORT_RASTER_WRITER_H_
#define TESTS_SUPPORT_RASTER_WRITER_H_

#include <cups/raster.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/model/grey.h"
#include "tests/model/stream.h"
#include "tests/support/bytes.h"

// The header that describes a page.
cups_page_header2_t rasterHeader(const model::RasterPage& page);

// A stream as libcups writes it. REQUIRES: headers that libcups accepts, and all
// pixels of each page.
void writeRaster(const std::string& path, const std::vector<model::RasterPage>& pages,
                 cups_mode_t mode = CUPS_RASTER_WRITE);

// A stream of version 3 with whatever the pages say, cut-off pixels included.
Bytes rawRaster(const std::vector<model::RasterPage>& pages);
// The same in the other byte order.
Bytes swappedRaster(const std::vector<model::RasterPage>& pages);
// The same with the short headers of version 1.
Bytes version1Raster(const std::vector<model::RasterPage>& pages);

// A page of 8-bit grey whose rows are `bytesPerLine` bytes long (0: as long as
// the picture is wide), the bytes behind the picture being 0.
model::RasterPage rasterPage(const model::Grey& picture, uint32_t bytesPerLine = 0);

#endif  // TESTS_SUPPORT_RASTER_WRITER_H_
