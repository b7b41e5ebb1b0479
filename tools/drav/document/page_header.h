// SPDX-License-Identifier: Apache-2.0
// Headers of pages that are made here.
#ifndef TOOLS_DRAV_DOCUMENT_PAGE_HEADER_H_
#define TOOLS_DRAV_DOCUMENT_PAGE_HEADER_H_

#include <cups/raster.h>

#include "tools/drav/driver/driver_file.h"

// 8-bit K of `width` x `height` pixels at the job's resolution and paper.
cups_page_header2_t makeGreyHeader(const DriverFile& driver, uint32_t width, uint32_t height);

#endif  // TOOLS_DRAV_DOCUMENT_PAGE_HEADER_H_
