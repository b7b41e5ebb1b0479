// SPDX-License-Identifier: Apache-2.0
#include "image/palette_image.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

constexpr uint32_t kHeaderSize = 40;
constexpr uint32_t kMaxMemory = 0x7FFFFFFF;

uint32_t roundUpBpp(uint32_t bpp) {
  if (bpp <= 1) return 1;
  if (bpp <= 4) return 4;
  return bpp <= 8 ? 8 : 24;
}

uint32_t paletteEntries(uint32_t bpp) { return bpp == 24 ? 0 : 1U << bpp; }

// True when header, palette and rows, computed without wrapping, fit 32 bits,
// and so does the row length in bits that Create computes.
bool blockFits(uint32_t width, uint32_t height, uint32_t bpp) {
  constexpr uint64_t kMax = std::numeric_limits<uint32_t>::max();
  const uint64_t rowBits = uint64_t{bpp} * width + 31;
  if (rowBits > kMax) return false;
  const uint64_t rowBytes = rowBits / 32 * 4;
  return rowBytes * height <= kMax - kHeaderSize - uint64_t{paletteEntries(bpp)} * 4;
}

// The image class's own limit: both tests work on wrapping 32-bit products.
bool withinMemoryLimit(uint32_t width, uint32_t height, uint32_t bpp) {
  const uint32_t pixels = width * height;
  const uint32_t bits = pixels * bpp;
  return (bits >> 3) <= kMaxMemory && bits / bpp == pixels;
}

int squaredDistance(tagRGBQUAD a, tagRGBQUAD b) {
  const int blue = a.rgbBlue - b.rgbBlue;
  const int green = a.rgbGreen - b.rgbGreen;
  const int red = a.rgbRed - b.rgbRed;
  return blue * blue + green * green + red * red;
}

bool sameColor(tagRGBQUAD a, tagRGBQUAD b) {
  return a.rgbBlue == b.rgbBlue && a.rgbGreen == b.rgbGreen && a.rgbRed == b.rgbRed &&
         a.rgbReserved == b.rgbReserved;
}

}  // namespace

uint8_t* PaletteImage::Create(uint32_t width, uint32_t height, uint32_t bpp, uint32_t imageType) {
  Destroy();
  if (width == 0 || height == 0) {
    SetLastError("PaletteImage::Create : width and height must be greater than zero");
    return nullptr;
  }
  bpp = roundUpBpp(bpp);
  if (!IsCreatable(width, height, bpp)) {
    SetLastError("PALETTE_IMAGE_MAX_MEMORY exceeded");
    return nullptr;
  }

  info.effWidth = (bpp * width + 31) / 32 * 4;
  info.imageType = imageType;
  FillHeader(head, width, height, bpp);

  // Zeroed: neither the palette nor the row padding, which reaches the printer,
  // may hold what the heap held before.
  dib = static_cast<uint8_t*>(std::calloc(1, GetSize()));
  if (dib == nullptr) {
    SetLastError("PaletteImage::Create can't allocate memory");
    return nullptr;
  }
  std::memcpy(dib, &head, kHeaderSize);
  info.pixels = GetBits(0);
  return dib;
}

void PaletteImage::FillHeader(BITMAPINFOHEADER& header, uint32_t width, uint32_t height,
                              uint32_t bpp) {
  header.biSize = kHeaderSize;
  header.biWidth = static_cast<int32_t>(width);
  header.biHeight = static_cast<int32_t>(height);
  header.biPlanes = 1;
  header.biBitCount = static_cast<uint16_t>(bpp);
  header.biCompression = 0;
  header.biSizeImage = (bpp * width + 31) / 32 * 4 * height;
  header.biClrUsed = paletteEntries(bpp);
}

void PaletteImage::RenewInPlace() {
  BITMAPINFOHEADER renewed = {};
  FillHeader(renewed, GetWidth(), GetHeight(), head.biBitCount);
  head = renewed;
  std::memcpy(dib, &head, kHeaderSize);
  const size_t used = GetWidth();
  for (uint32_t y = 0; y < GetHeight(); ++y) {
    std::memset(GetBits(y) + used, 0, info.effWidth - used);
  }
}

bool PaletteImage::IsCreatable(uint32_t width, uint32_t height, uint32_t bpp) {
  bpp = roundUpBpp(bpp);
  return width != 0 && height != 0 && blockFits(width, height, bpp) &&
         withinMemoryLimit(width, height, bpp);
}

bool PaletteImage::Destroy() {
  std::free(dib);
  dib = nullptr;
  return true;
}

bool PaletteImage::Transfer(PaletteImage& from, bool /*transferFrames*/) {
  if (this == &from) return true;
  Destroy();
  head = from.head;
  info = from.info;
  dib = from.dib;
  from.head = {};
  from.info = {};
  from.dib = nullptr;
  return true;
}

void PaletteImage::CopyInfo(const PaletteImage& src) {
  if (dib == nullptr) info = src.info;
}

bool PaletteImage::CreateFromArray(const uint8_t* array, uint32_t width, uint32_t height,
                                   uint32_t bpp, uint32_t bytesPerLine, bool flip) {
  const bool knownDepth = bpp == 1 || bpp == 4 || bpp == 8 || bpp == 24 || bpp == 32;
  if (array == nullptr || !knownDepth) return false;
  if (Create(width, height, bpp, 0) == nullptr) return false;
  if (bpp < 24) SetGrayPalette();

  const size_t copied = std::min(info.effWidth, bytesPerLine);
  const size_t truePixels = std::min(width, bytesPerLine / 4);  // at 32 bits
  for (uint32_t y = 0; y < height; ++y) {
    const uint8_t* source = array + size_t{y} * bytesPerLine;
    uint8_t* row = GetBits(flip ? height - 1 - y : y);
    if (bpp != 32) {
      std::memcpy(row, source, copied);
      continue;
    }
    for (size_t x = 0; x < truePixels; ++x) std::memcpy(row + 3 * x, source + 4 * x, 3);
  }
  return true;
}

const uint8_t* PaletteImage::GetBits(uint32_t row) const {
  if (dib == nullptr || (row != 0 && row >= GetHeight())) return nullptr;
  uint32_t headerSize = 0;
  std::memcpy(&headerSize, dib, sizeof headerSize);  // biSize as stored in the block
  return dib + headerSize + GetPaletteSize() + size_t{row} * info.effWidth;
}

uint8_t* PaletteImage::GetBits(uint32_t row) {
  return const_cast<uint8_t*>(static_cast<const PaletteImage*>(this)->GetBits(row));
}

const tagRGBQUAD* PaletteImage::GetPalette() const {
  if (dib == nullptr || head.biClrUsed == 0) return nullptr;
  return reinterpret_cast<const tagRGBQUAD*>(dib + kHeaderSize);
}

tagRGBQUAD* PaletteImage::GetPalette() {
  return const_cast<tagRGBQUAD*>(static_cast<const PaletteImage*>(this)->GetPalette());
}

void PaletteImage::SetPalette(const tagRGBQUAD* palette, uint32_t count) {
  tagRGBQUAD* own = GetPalette();
  if (palette == nullptr || own == nullptr) return;
  std::memmove(own, palette, std::min(size_t{GetPaletteSize()}, size_t{count} * 4));
}

void PaletteImage::SetGrayPalette() {
  tagRGBQUAD* palette = GetPalette();
  if (palette == nullptr) return;
  const uint32_t step = 255 / (head.biClrUsed - 1);
  for (uint32_t i = 0; i < head.biClrUsed; ++i) {
    const auto level = static_cast<uint8_t>(i * step);
    palette[i].rgbBlue = palette[i].rgbGreen = palette[i].rgbRed = level;
  }
}

void PaletteImage::SetPaletteColor(uint8_t index, uint8_t red, uint8_t green, uint8_t blue,
                                   uint8_t alpha) {
  tagRGBQUAD* palette = GetPalette();
  if (palette != nullptr && index < head.biClrUsed) palette[index] = {blue, green, red, alpha};
}

tagRGBQUAD PaletteImage::GetPaletteColor(uint8_t index) const {
  const tagRGBQUAD* palette = GetPalette();
  return palette != nullptr && index < head.biClrUsed ? palette[index] : tagRGBQUAD{};
}

uint8_t PaletteImage::GetNearestIndex(tagRGBQUAD colour) {
  const tagRGBQUAD* palette = GetPalette();
  if (palette == nullptr) return 0;
  if (info.lastColorValid && sameColor(info.lastColor, colour)) return info.lastColorIndex;

  uint32_t entries = head.biClrImportant != 0 ? head.biClrImportant : head.biClrUsed;
  entries = std::min(entries, head.biClrUsed);
  int best = 200000;  // above the largest distance, 3 * 255 * 255
  uint8_t nearest = 0;
  for (uint32_t i = 0; i < entries && best != 0; ++i) {
    const int distance = squaredDistance(palette[i], colour);
    if (distance < best) {
      best = distance;
      nearest = static_cast<uint8_t>(i);
    }
  }
  info.lastColor = colour;
  info.lastColorIndex = nearest;
  info.lastColorValid = true;
  return nearest;
}

tagRGBQUAD PaletteImage::BlindGetPixelColor(long x, long y, bool /*withAlpha*/) const {
  if (head.biClrUsed != 0) return GetPaletteColor(BlindGetPixelIndex(x, y));
  const uint8_t* pixel =
      info.pixels + static_cast<size_t>(y) * info.effWidth + static_cast<size_t>(x) * 3;
  return {pixel[0], pixel[1], pixel[2], 0};
}

void PaletteImage::BlindSetPixelColor(long x, long y, tagRGBQUAD colour, bool /*withAlpha*/) {
  if (head.biClrUsed != 0) {
    BlindSetPixelIndex(x, y, GetNearestIndex(colour));
    return;
  }
  uint8_t* pixel =
      info.pixels + static_cast<size_t>(y) * info.effWidth + static_cast<size_t>(x) * 3;
  pixel[0] = colour.rgbBlue;
  pixel[1] = colour.rgbGreen;
  pixel[2] = colour.rgbRed;
}

void PaletteImage::SetLastError(const char* text) {
  std::strncpy(info.lastError.data(), text, info.lastError.size() - 1);
}

bool PaletteImage::CreateLike(PaletteImage& temporary, uint32_t width, uint32_t height,
                              uint32_t bpp) const {
  temporary.CopyInfo(*this);
  return temporary.Create(width, height, bpp, info.imageType) != nullptr;
}

void PaletteImage::CopyPaletteTo(PaletteImage& target) const {
  target.SetPalette(GetPalette(), GetNumColors());
}
