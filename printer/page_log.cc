// SPDX-License-Identifier: Apache-2.0
#include "printer/page_log.h"

#include "common/log.h"

namespace page_log {

void halftoneChoice(bool tattoo) {
  dravLogCommon(kLogDebug, "PageProcess: QZ dithering is %s", tattoo ? "enabled" : "disabled");
}

void pageCreated(int32_t stride) {
  dravLogCommon(kLogDebug,
                "PageProcess: Successfully created PaletteImage from array with stride %d", stride);
}

void toneAdjusted(int brightness, int contrast) {
  dravLogCommon(kLogDebug, "PageProcess: Adjusted brightness to %d and contrast to %d", brightness,
                contrast);
}

void rotated() { dravLogCommon(kLogDebug, "PageProcess: Rotated the image 180 degrees"); }

void mirrored() { dravLogCommon(kLogDebug, "PageProcess: Mirrored the image"); }

void ditheredClassic() {
  dravLogCommon(kLogDebug, "PageProcess: Applied default dithering and increased bit depth");
}

void copiedForTattoo(int32_t stride, uint32_t rowBytes) {
  dravLogCommon(kLogDebug,
                "PageProcess: Copied pixels to the output buffer for QZ dithering, with stride "
                "%d, EffWidth %d",
                stride, static_cast<int>(rowBytes));
}

void ditheredTattoo(int32_t width) {
  dravLogCommon(kLogDebug, "PageProcess: Applied QZ dithering with stride %d, width %d",
                (width + 3) / 4 * 4, width);
}

void tattooImageCreated() {
  dravLogCommon(kLogDebug,
                "PageProcess: Successfully created a new PaletteImage from QZ dithered data");
}

void negative(bool negative) {
  dravLogCommon(kLogDebug, "PageProcess: negativePrint_ %d", negative ? 1 : 0);
  if (negative) {
    dravLogCommon(kLogDebug, "PageProcess: Inverting the image for negative print");
  }
}

void inverting() {
  dravLogCommon(kLogWarning,
                "The page is printed white on black, its solid areas heat the print head!");
}

void creationFailed() {
  dravLogCommon(kLogCritical, "paletteImage.CreateFromArray with grey failed!");
}

void outputFilled(int32_t length) {
  dravLogCommon(kLogDebug,
                "PageProcess: Filled the output buffer with processed pixels, length: %d", length);
}

void savingOriginal() {
  dravLogCommon(kLogDebug,
                "printImage: Saving original image, file path will be generated based on time");
}

void savingProcessed() {
  dravLogCommon(kLogDebug,
                "printImage: Saving processed image, file path will be generated based on time");
}

void trimmed(uint32_t begin, uint32_t end, uint32_t height) {
  dravLogCommon(kLogDebug, "printImage: Trimmed the page to the rows %u to %u of %u", begin, end,
                height);
}

void printingProcessed() {
  dravLogCommon(kLogDebug, "printImage: Starting to print the processed image");
}

}  // namespace page_log
