// SPDX-License-Identifier: Apache-2.0
// Log lines of the page processing, for both of its ways (page_path.cc,
// page_process.cc). Support tools read them; the texts are fixed.
#ifndef PRINTER_PAGE_LOG_H_
#define PRINTER_PAGE_LOG_H_

#include <cstdint>

namespace page_log {

void halftoneChoice(bool tattoo);
void pageCreated(int32_t stride);
void toneAdjusted(int brightness, int contrast);
void rotated();
void mirrored();
void ditheredClassic();
void copiedForTattoo(int32_t stride, uint32_t rowBytes);
void ditheredTattoo(int32_t width);
void tattooImageCreated();
void negative(bool negative);
void inverting();
void creationFailed();
void outputFilled(int32_t length);
void savingOriginal();
void savingProcessed();
void trimmed(uint32_t begin, uint32_t end, uint32_t height);
void printingProcessed();

}  // namespace page_log

#endif  // PRINTER_PAGE_LOG_H_
