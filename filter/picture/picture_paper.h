// SPDX-License-Identifier: Apache-2.0
// The paper of a job that brings a picture instead of raster pages.
#ifndef FILTER_PICTURE_PICTURE_PAPER_H_
#define FILTER_PICTURE_PICTURE_PAPER_H_

#include <cups/raster.h>

#include <string>

#include "documents/page_request.h"

struct PicturePaper {
  documents::Paper paper;
  std::string sizeName;  // choice of PageSize
  double width = 0;      // points
  double length = 0;
  uint32_t statedRight = 0;  // dots of the margin that the driver file states, whatever the head
};

// From the driver file with the job's options. The margin at the right is what the head
// does not reach, beside the driver's own margins. Papers named like X80MMY200MM, and custom
// ones, are rolls: their longest page is the driver's longest custom page. False, after one
// error line, when the driver file does not tell a size or a resolution.
[[nodiscard]] bool readPicturePaper(const char* ppdPath, const char* optionsText,
                                    PicturePaper* out);

// Header of an 8-bit K page of `height` rows on that paper.
cups_page_header2_t picturePageHeader(const PicturePaper& paper, uint32_t height);

#endif  // FILTER_PICTURE_PICTURE_PAPER_H_
