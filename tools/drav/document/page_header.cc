// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/document/page_header.h"

#include <cmath>
#include <string>

cups_page_header2_t makeGreyHeader(const DriverFile& driver, uint32_t width, uint32_t height) {
  cups_page_header2_t header = {};
  header.HWResolution[0] = driver.resolutionX();
  header.HWResolution[1] = driver.resolutionY();
  header.NumCopies = 1;
  header.cupsPageSize[0] = static_cast<float>(driver.pageWidth());
  header.cupsPageSize[1] = static_cast<float>(driver.pageLength());
  header.PageSize[0] = static_cast<unsigned>(std::lround(driver.pageWidth()));
  header.PageSize[1] = static_cast<unsigned>(std::lround(driver.pageLength()));
  header.cupsWidth = width;
  header.cupsHeight = height;
  header.cupsBitsPerColor = 8;
  header.cupsBitsPerPixel = 8;
  header.cupsBytesPerLine = width;
  header.cupsColorOrder = CUPS_ORDER_CHUNKED;
  header.cupsColorSpace = CUPS_CSPACE_K;
  header.cupsNumColors = 1;
  const std::string name = driver.current("PageSize").name;
  name.copy(header.cupsPageSizeName, sizeof header.cupsPageSizeName - 1);
  return header;
}
