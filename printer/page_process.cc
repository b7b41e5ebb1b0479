// SPDX-License-Identifier: Apache-2.0
// From a grey page to the finished page image: tone, turning, halftone,
// negative, frame.
#include <algorithm>
#include <cstring>

#include "common/log.h"
#include "printer/drav_printer.h"
#include "printer/page_log.h"
#include "tattoo/pipeline.h"

namespace {

// The page's grey bytes, rows `width` bytes apart, as far as the buffer goes.
QZImage greyRecord(const uint8_t* pixels, int32_t width, int32_t height, size_t capacity) {
  QZImage record(width, height, QZ_IMG_GRAY);
  const size_t bytes = record.pixelCount();
  const size_t available = std::min(bytes, capacity);
  std::memcpy(record.data, pixels, available);
  std::memset(record.data + available, 0, bytes - available);
  return record;
}

// Copies the indices of an image through `change` to rows of `stride` bytes,
// leaving out what lies outside the `capacity` bytes of `dst`.
template <typename Change>
void copyIndices(const PaletteImage& image, uint8_t* dst, int32_t width, int32_t height,
                 int32_t stride, size_t capacity, Change change) {
  for (int32_t y = 0; y < height; ++y) {
    const int64_t rowStart = int64_t{y} * stride;
    for (int32_t x = 0; x < width; ++x) {
      const int64_t at = rowStart + x;
      if (at < 0 || static_cast<uint64_t>(at) >= capacity) break;  // GCOVR_EXCL_BR_LINE
      dst[at] = change(image.GetPixelIndex(x, y));
    }
  }
}

}  // namespace

void DravPrinter::chooseHalftone() {
  useQZDithering_ = settings_.isTattoo();
  page_log::halftoneChoice(useQZDithering_);
}

int32_t DravPrinter::PageProcess(DitherType type, const uint8_t* src, int32_t stride, int32_t width,
                                 int32_t height, uint8_t* dst) {
  chooseHalftone();

  const bool sane = stride >= 0 && width >= 0 && height >= 0;
  if (!sane || !paletteImage_.CreateFromArray(src, static_cast<uint32_t>(width),
                                              static_cast<uint32_t>(height), 8,
                                              static_cast<uint32_t>(stride), false)) {
    page_log::creationFailed();
    return 0;
  }
  page_log::pageCreated(stride);
  const size_t capacity = 2 * static_cast<size_t>(stride) * static_cast<size_t>(height);

  adjustPage();
  const bool done = useQZDithering_ ? halftoneTattoo(dst, stride, width, height, capacity)
                                    : halftoneClassic(type);
  if (!done) return 0;

  page_log::negative(settings_.negativePrint);
  if (settings_.negativePrint) pimage_->Negative();
  if (settings_.antiWrinkle != 0) EnableAntiWrink(*pimage_);

  const auto rowBytes = static_cast<int32_t>(pimage_->GetEffWidth());
  copyProcessedPixels(pimage_, dst, static_cast<int32_t>(pimage_->GetWidth()),
                      static_cast<int32_t>(pimage_->GetHeight()), rowBytes, capacity);
  const auto length =
      static_cast<int32_t>(static_cast<uint32_t>(height) * static_cast<uint32_t>(rowBytes));
  page_log::outputFilled(length);
  return length;
}

void DravPrinter::adjustPage() {
  if (settings_.adjustsTone()) {
    paletteImage_.Light(settings_.scaledBrightness(), settings_.scaledContrast());
    page_log::toneAdjusted(settings_.scaledBrightness(), settings_.scaledContrast());
  }
  if (settings_.rotate180Print) {
    paletteImage_.Rotate180();
    page_log::rotated();
  }
  if (settings_.mirrorPrint) {
    paletteImage_.Mirror();
    page_log::mirrored();
  }
}

bool DravPrinter::halftoneClassic(DitherType type) {
  // Out of memory, here or while turning the page: grey levels must not go out
  // as dots.
  if (!paletteImage_.Dither(static_cast<long>(type)) || !paletteImage_.IncreaseBpp(8)) {
    dravLogCommon(kLogError, "PageProcess: Failed to dither the image: %s",
                  paletteImage_.GetLastError());
    return false;
  }
  pimage_ = &paletteImage_;
  page_log::ditheredClassic();
  return true;
}

bool DravPrinter::halftoneTattoo(uint8_t* dst, int32_t stride, int32_t width, int32_t height,
                                 size_t capacity) {
  if (!paletteImage_.IsValid()) {  // out of memory while turning the page
    dravLogCommon(kLogError, "PageProcess: Failed to dither the image: %s",
                  paletteImage_.GetLastError());
    return false;
  }
  copyPixels(paletteImage_, dst, width, height, stride, capacity);
  page_log::copiedForTattoo(stride, paletteImage_.GetEffWidth());
  const QZImage page = greyRecord(dst, width, height, capacity);
  const QZImage stencil = halftonePipeline(settings_.halftoneType) == HalftonePipeline::tattooX8
                              ? qzTattooDitheringX8(page)
                              : qzTattooDithering(page);
  page_log::ditheredTattoo(stencil.width);
  if (!qzPaletteImage_.CreateFromArray(stencil.data, static_cast<uint32_t>(width),
                                       static_cast<uint32_t>(height), 8,
                                       static_cast<uint32_t>(width), false)) {
    dravLogCommon(kLogError,
                  "PageProcess: Failed to create a new PaletteImage from QZ dithered data");
    return false;
  }
  page_log::tattooImageCreated();
  pimage_ = &qzPaletteImage_;
  return true;
}

void DravPrinter::copyPixels(const PaletteImage& image, uint8_t* dst, int32_t width, int32_t height,
                             int32_t stride, size_t capacity) {
  copyIndices(image, dst, width, height, stride, capacity, [](uint8_t index) { return index; });
}

void DravPrinter::copyProcessedPixels(const PaletteImage* image, uint8_t* dst, int32_t width,
                                      int32_t height, int32_t stride, size_t capacity) const {
  copyIndices(*image, dst, width, height, stride, capacity, [this](uint8_t index) {
    const uint8_t value = index == 1 ? uint8_t{0xFF} : index;
    return settings_.negativePrint ? static_cast<uint8_t>(~value) : value;
  });
}
