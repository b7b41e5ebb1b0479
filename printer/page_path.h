// SPDX-License-Identifier: Apache-2.0
// The way of every page, from grey rows to the concrete printer, row by row:
//
//   PageRowSource     stride, turning, tone       printer/page_source.h
//   PageHalftone   dots                        printer/page_halftone.h
//   PageFinish     negative, inverting, frame  printer/page_finish.h
//   PageSink       picture, packing, sending   printer/page_sink.h
//
// Besides the page itself it holds the packed rows alone. Bytes, pictures and log
// lines are those of DravPrinter::PageProcess, which does the same on whole images.
#ifndef PRINTER_PAGE_PATH_H_
#define PRINTER_PAGE_PATH_H_

#include <cstdint>

#include "printer/page_picture.h"
#include "printer/page_settings.h"
#include "printer/page_sink.h"

struct cups_page_header2_s;

// What a page needs besides its pixels. `header` may be null.
struct PageContext {
  const PageSettings& settings;
  const cups_page_header2_s* header;
  PageBitmaps& pictures;
  const PageReceiver& receiver;
};

// Prints a page as DravPrinter::printImage is called with it.
void printPage(const PageContext& context, const unsigned char* pixels, uint64_t bytesPerLine,
               uint64_t height, uint64_t width);

#endif  // PRINTER_PAGE_PATH_H_
