// SPDX-License-Identifier: Apache-2.0
#include "tests/model/palette_image.h"

#include <cstdlib>
#include <new>

#include "tests/model/dither.h"
#include "tests/model/tone.h"

namespace model {
namespace {

void appendLittleEndian(std::vector<uint8_t>& out, uint32_t value, int bytes) {
  for (int k = 0; k < bytes; ++k) out.push_back(static_cast<uint8_t>(value >> (8 * k)));
}

int square(int v) { return v * v; }

}  // namespace

// --- Creation and ownership -------------------------------------------------------------------

bool PaletteImage::Create(uint32_t width, uint32_t height, uint32_t bpp, uint32_t imageType) {
  Destroy();
  if (width == 0 || height == 0) {
    info_.lastError = "PaletteImage::Create : width and height must be greater than zero";
    return false;
  }
  if (bpp <= 1) {
    bpp = 1;
  } else if (bpp <= 4) {
    bpp = 4;
  } else if (bpp <= 8) {
    bpp = 8;
  } else {
    bpp = 24;
  }
  uint32_t colours = 0;
  if (bpp == 1) colours = 2;
  if (bpp == 4) colours = 16;
  if (bpp == 8) colours = 256;

  // The true size of the block, which the 32-bit size fields must be able to hold.
  const uint64_t trueRow = (uint64_t{bpp} * width + 31) / 32 * 4;
  const uint64_t available = uint64_t{0xFFFFFFFF} - 40 - uint64_t{colours} * 4;
  if (trueRow > available / height) {
    info_.lastError = "PALETTE_IMAGE_MAX_MEMORY exceeded";
    return false;
  }
  const uint32_t p = width * height * bpp;
  if ((p >> 3) > 0x7FFFFFFF || p / bpp != width * height) {
    info_.lastError = "PALETTE_IMAGE_MAX_MEMORY exceeded";
    return false;
  }

  head_.biClrUsed = colours;
  info_.effWidth = ((bpp * width) + 31) / 32 * 4;
  info_.imageType = imageType;
  head_.biSize = 40;
  head_.biWidth = static_cast<int32_t>(width);
  head_.biHeight = static_cast<int32_t>(height);
  head_.biPlanes = 1;
  head_.biBitCount = static_cast<uint16_t>(bpp);
  head_.biCompression = 0;
  head_.biSizeImage = info_.effWidth * height;
  try {
    palette_.assign(colours, tagRGBQUAD{});
    rows_.assign(head_.biSizeImage, 0);
  } catch (const std::bad_alloc&) {
    palette_.clear();
    rows_.clear();
    info_.lastError = "PaletteImage::Create can't allocate memory";
    return false;
  }
  valid_ = true;
  return true;
}

bool PaletteImage::Destroy() {
  valid_ = false;
  palette_.clear();
  rows_.clear();
  return true;
}

bool PaletteImage::Transfer(PaletteImage& from, bool /*transferFrames*/) {
  Destroy();
  head_ = from.head_;
  info_ = from.info_;
  valid_ = from.valid_;
  palette_ = from.palette_;
  rows_ = from.rows_;
  from.head_ = Head{};
  from.info_ = Info{};
  from.Destroy();
  return true;
}

void PaletteImage::CopyInfo(const PaletteImage& src) {
  if (!valid_) info_ = src.info_;
}

bool PaletteImage::CreateFromArray(const uint8_t* array, uint32_t width, uint32_t height,
                                   uint32_t bpp, uint32_t bytesPerLine, bool flip) {
  if (array == nullptr) return false;
  if (bpp != 1 && bpp != 4 && bpp != 8 && bpp != 24 && bpp != 32) return false;
  if (!Create(width, height, bpp, 0)) return false;
  if (bpp < 24) SetGrayPalette();
  for (uint32_t y = 0; y < height; ++y) {
    const uint32_t row = flip ? height - 1 - y : y;
    const uint8_t* source = array + uint64_t{y} * bytesPerLine;
    const int64_t start = int64_t{row} * info_.effWidth;
    if (bpp == 32) {
      for (uint32_t x = 0; x < width; ++x) {
        for (uint32_t k = 0; k < 3; ++k) {
          writeByte(start + int64_t{x} * 3 + k, source[uint64_t{x} * 4 + k]);
        }
      }
    } else {
      const uint32_t count = bytesPerLine < info_.effWidth ? bytesPerLine : info_.effWidth;
      for (uint32_t k = 0; k < count; ++k) writeByte(start + k, source[k]);
    }
  }
  return true;
}

// --- Queries ----------------------------------------------------------------------------------

uint32_t PaletteImage::GetWidth() const { return static_cast<uint32_t>(head_.biWidth); }
uint32_t PaletteImage::GetHeight() const { return static_cast<uint32_t>(head_.biHeight); }
uint32_t PaletteImage::GetEffWidth() const { return info_.effWidth; }
uint32_t PaletteImage::GetNumColors() const { return head_.biClrUsed; }
uint32_t PaletteImage::GetPaletteSize() const { return head_.biClrUsed * 4; }
uint32_t PaletteImage::GetSize() const {
  return head_.biSize + head_.biSizeImage + GetPaletteSize();
}
bool PaletteImage::IsValid() const { return valid_; }
const char* PaletteImage::GetLastError() const { return info_.lastError.c_str(); }

uint8_t* PaletteImage::GetBits(uint32_t row) {
  if (!valid_) return nullptr;
  if (row == 0) return rows_.data();
  if (row >= GetHeight()) return nullptr;
  return rows_.data() + uint64_t{row} * info_.effWidth;
}

const uint8_t* PaletteImage::GetBits(uint32_t row) const {
  return const_cast<PaletteImage*>(this)->GetBits(row);
}

std::vector<uint8_t> PaletteImage::block() const {
  std::vector<uint8_t> out;
  if (!valid_) return out;
  appendLittleEndian(out, head_.biSize, 4);
  appendLittleEndian(out, static_cast<uint32_t>(head_.biWidth), 4);
  appendLittleEndian(out, static_cast<uint32_t>(head_.biHeight), 4);
  appendLittleEndian(out, head_.biPlanes, 2);
  appendLittleEndian(out, head_.biBitCount, 2);
  appendLittleEndian(out, head_.biCompression, 4);
  appendLittleEndian(out, head_.biSizeImage, 4);
  appendLittleEndian(out, static_cast<uint32_t>(head_.biXPelsPerMeter), 4);
  appendLittleEndian(out, static_cast<uint32_t>(head_.biYPelsPerMeter), 4);
  appendLittleEndian(out, head_.biClrUsed, 4);
  appendLittleEndian(out, head_.biClrImportant, 4);
  for (const tagRGBQUAD& entry : palette_) {
    out.push_back(entry.rgbBlue);
    out.push_back(entry.rgbGreen);
    out.push_back(entry.rgbRed);
    out.push_back(entry.rgbReserved);
  }
  out.insert(out.end(), rows_.begin(), rows_.end());
  return out;
}

// --- Palette ----------------------------------------------------------------------------------

tagRGBQUAD* PaletteImage::GetPalette() {
  if (!valid_ || head_.biClrUsed == 0) return nullptr;
  return palette_.data();
}

const tagRGBQUAD* PaletteImage::GetPalette() const {
  return const_cast<PaletteImage*>(this)->GetPalette();
}

void PaletteImage::SetPalette(const tagRGBQUAD* palette, uint32_t count) {
  if (palette == nullptr || GetPalette() == nullptr) return;
  for (uint32_t i = 0; i < count && i < head_.biClrUsed; ++i) palette_[i] = palette[i];
}

void PaletteImage::SetGrayPalette() {
  if (GetPalette() == nullptr) return;
  const uint32_t n = head_.biClrUsed;
  for (uint32_t i = 0; i < n; ++i) {
    const uint8_t level = static_cast<uint8_t>(i * (255 / (n - 1)));
    palette_[i].rgbBlue = level;
    palette_[i].rgbGreen = level;
    palette_[i].rgbRed = level;
  }
}

void PaletteImage::SetPaletteColor(uint8_t index, uint8_t red, uint8_t green, uint8_t blue,
                                   uint8_t alpha) {
  if (GetPalette() == nullptr || index >= head_.biClrUsed) return;
  palette_[index].rgbBlue = blue;
  palette_[index].rgbGreen = green;
  palette_[index].rgbRed = red;
  palette_[index].rgbReserved = alpha;
}

tagRGBQUAD PaletteImage::GetPaletteColor(uint8_t index) const {
  if (GetPalette() == nullptr || index >= head_.biClrUsed) return tagRGBQUAD{};
  return palette_[index];
}

uint8_t PaletteImage::GetNearestIndex(tagRGBQUAD colour) {
  if (GetPalette() == nullptr) return 0;
  if (info_.lastColorValid && info_.lastColor == colour) return info_.lastColorIndex;
  const uint32_t n = head_.biClrImportant != 0 ? head_.biClrImportant : head_.biClrUsed;
  int best = 200000;
  uint8_t bestIndex = 0;
  for (uint32_t i = 0; i < n; ++i) {
    const tagRGBQUAD entry = GetPaletteColor(static_cast<uint8_t>(i));
    const int distance = square(entry.rgbBlue - colour.rgbBlue) +
                         square(entry.rgbGreen - colour.rgbGreen) +
                         square(entry.rgbRed - colour.rgbRed);
    if (distance == 0) {
      bestIndex = static_cast<uint8_t>(i);
      break;
    }
    if (distance < best) {
      best = distance;
      bestIndex = static_cast<uint8_t>(i);
    }
  }
  info_.lastColor = colour;
  info_.lastColorIndex = bestIndex;
  info_.lastColorValid = true;
  return bestIndex;
}

// --- Pixels -----------------------------------------------------------------------------------

uint8_t PaletteImage::readByte(int64_t position) const {
  if (position < 0 || position >= static_cast<int64_t>(rows_.size())) return 0;
  return rows_[static_cast<size_t>(position)];
}

void PaletteImage::writeByte(int64_t position, uint8_t value) {
  if (position < 0 || position >= static_cast<int64_t>(rows_.size())) return;
  rows_[static_cast<size_t>(position)] = value;
}

bool PaletteImage::isInside(long x, long y) const {
  return x >= 0 && y >= 0 && x < int64_t{GetWidth()} && y < int64_t{GetHeight()};
}

uint8_t PaletteImage::GetPixelIndex(long x, long y) const {
  if (!valid_ || head_.biClrUsed == 0) return 0;
  if (!isInside(x, y)) return readByte(0);
  return BlindGetPixelIndex(x, y);
}

void PaletteImage::SetPixelIndex(long x, long y, uint8_t index) {
  if (!valid_ || head_.biClrUsed == 0 || !isInside(x, y)) return;
  BlindSetPixelIndex(x, y, index);
}

uint8_t PaletteImage::BlindGetPixelIndex(long x, long y) const {
  const int64_t row = int64_t{y} * info_.effWidth;
  if (head_.biBitCount == 8) return readByte(row + x);
  if (head_.biBitCount == 4) {
    const int shift = static_cast<int>(1 - x % 2) * 4;
    return (readByte(row + x / 2) >> shift) & 15;
  }
  if (head_.biBitCount == 1) {
    const int shift = static_cast<int>(7 - x % 8);
    return (readByte(row + x / 8) >> shift) & 1;
  }
  return 0;
}

void PaletteImage::BlindSetPixelIndex(long x, long y, uint8_t index) {
  const int64_t row = int64_t{y} * info_.effWidth;
  if (head_.biBitCount == 8) writeByte(row + x, index);
  if (head_.biBitCount == 4) {
    const int shift = static_cast<int>(1 - x % 2) * 4;
    const int kept = readByte(row + x / 2) & ~(15 << shift);
    writeByte(row + x / 2, static_cast<uint8_t>(kept | ((index & 15) << shift)));
  }
  if (head_.biBitCount == 1) {
    const int shift = static_cast<int>(7 - x % 8);
    const int kept = readByte(row + x / 8) & ~(1 << shift);
    writeByte(row + x / 8, static_cast<uint8_t>(kept | ((index & 1) << shift)));
  }
}

tagRGBQUAD PaletteImage::BlindGetPixelColor(long x, long y, bool /*withAlpha*/) const {
  if (head_.biClrUsed != 0) return GetPaletteColor(BlindGetPixelIndex(x, y));
  const int64_t start = int64_t{y} * info_.effWidth + int64_t{x} * 3;
  tagRGBQUAD colour;
  colour.rgbBlue = readByte(start);
  colour.rgbGreen = readByte(start + 1);
  colour.rgbRed = readByte(start + 2);
  return colour;
}

void PaletteImage::BlindSetPixelColor(long x, long y, tagRGBQUAD colour, bool /*withAlpha*/) {
  if (head_.biClrUsed != 0) {
    BlindSetPixelIndex(x, y, GetNearestIndex(colour));
    return;
  }
  const int64_t start = int64_t{y} * info_.effWidth + int64_t{x} * 3;
  writeByte(start, colour.rgbBlue);
  writeByte(start + 1, colour.rgbGreen);
  writeByte(start + 2, colour.rgbRed);
}

// --- Whole-image operations -------------------------------------------------------------------

void PaletteImage::failWith(const PaletteImage& other) { info_.lastError = other.info_.lastError; }

bool PaletteImage::Dither(long method) {
  if (!valid_) return false;
  if (head_.biBitCount == 1) return true;
  const long width = static_cast<long>(GetWidth());
  const long height = static_cast<long>(GetHeight());
  PaletteImage out;
  out.CopyInfo(*this);
  out.Create(GetWidth(), GetHeight(), 1, info_.imageType);
  if (!out.IsValid()) {
    failWith(out);
    return false;
  }
  const ErrorKernel kernel = errorKernel(method);
  for (long y = 0; y < height; ++y) {
    for (long x = 0; x < width; ++x) {
      const int level = BlindGetPixelIndex(x, y);
      if (method == 0) {
        out.SetPixelIndex(x, y, level <= 128 ? 0 : 255);
      } else if (method == 1) {
        const int d = (level * 16) / 255;
        const int position = orderedThreshold(x, y) < d % 16 ? d / 16 + 1 : d / 16;
        out.BlindSetPixelIndex(x, y, static_cast<uint8_t>(position));
      } else if (method == 7) {
        out.SetPixelIndex(x, y, level <= bayerThreshold(x, y) ? 0 : 1);
      } else {
        int64_t error = level;
        if (level <= 128) {
          out.SetPixelIndex(x, y, 0);
        } else {
          out.SetPixelIndex(x, y, 1);
          error = level - 255;
        }
        for (const KernelCell& cell : kernel.cells) {
          const long nx = x + cell.dx;
          const long ny = y + cell.dy;
          int64_t value = GetPixelIndex(nx, ny) + (error * cell.weight) / kernel.divisor;
          if (value < 0) value = 0;
          if (value > 255) value = 255;
          SetPixelIndex(nx, ny, static_cast<uint8_t>(value));
        }
      }
    }
  }
  out.SetPaletteColor(0, 0, 0, 0, 0);
  out.SetPaletteColor(1, 255, 255, 255, 0);
  Transfer(out);
  return true;
}

bool PaletteImage::Light(int brightness, int contrast) {
  if (!valid_) return false;
  const ToneTable table = lightTable(brightness, contrast);
  return Lut(table.data());
}

bool PaletteImage::Lut(const uint8_t* table) {
  if (!valid_ || table == nullptr) return false;
  for (long y = 0; y < static_cast<long>(GetHeight()); ++y) {
    for (long x = 0; x < static_cast<long>(GetWidth()); ++x) {
      BlindSetPixelIndex(x, y, table[BlindGetPixelIndex(x, y)]);
    }
  }
  return true;
}

void PaletteImage::Negative() {
  if (!valid_) return;
  for (uint8_t& byte : rows_) byte = static_cast<uint8_t>(~byte);
}

bool PaletteImage::Rotate180(PaletteImage* target) {
  if (!valid_) return false;
  const long width = static_cast<long>(GetWidth());
  const long height = static_cast<long>(GetHeight());
  PaletteImage out;
  out.CopyInfo(*this);
  out.Create(GetWidth(), GetHeight(), 8, info_.imageType);
  out.SetPalette(GetPalette(), GetNumColors());
  for (long y = 0; y < height; ++y) {
    for (long x = 0; x < width; ++x) {
      out.SetPixelIndex(width - 1 - x, height - 1 - y, BlindGetPixelIndex(x, y));
    }
  }
  if (target != nullptr) {
    target->Transfer(out);
  } else {
    Transfer(out);
  }
  return true;
}

void PaletteImage::Mirror() {
  if (!valid_) return;
  PaletteImage out;
  out.CopyInfo(*this);
  out.Create(GetWidth(), GetHeight(), 8, info_.imageType);
  out.SetPalette(GetPalette(), GetNumColors());
  const int64_t k = head_.biBitCount == 24 ? 3 : 1;
  const int64_t last = (int64_t{GetWidth()} - 1) * k;
  for (int64_t y = 0; y < int64_t{GetHeight()}; ++y) {
    const int64_t start = y * info_.effWidth;
    for (int64_t j = 0; j <= last; ++j) out.writeByte(start + j, readByte(start + last - j));
  }
  Transfer(out);
}

bool PaletteImage::IncreaseBpp(uint32_t bpp) {
  if (!valid_) return false;
  if (bpp != 4 && bpp != 8 && bpp != 24) return false;
  if (head_.biBitCount == bpp) return true;
  if (head_.biBitCount > bpp) return false;
  PaletteImage out;
  out.CopyInfo(*this);
  if (!out.Create(GetWidth(), GetHeight(), bpp, info_.imageType)) {
    failWith(out);
    return false;
  }
  if (bpp != 24) out.SetPalette(GetPalette(), GetNumColors());
  for (long y = 0; y < static_cast<long>(GetHeight()); ++y) {
    for (long x = 0; x < static_cast<long>(GetWidth()); ++x) {
      if (bpp == 24) {
        out.BlindSetPixelColor(x, y, BlindGetPixelColor(x, y));
      } else {
        out.BlindSetPixelIndex(x, y, BlindGetPixelIndex(x, y));
      }
    }
  }
  Transfer(out);
  return true;
}

bool PaletteImage::Expand(long left, long top, long right, long bottom, tagRGBQUAD canvas) {
  if (!valid_) return false;
  if (left < 0 || top < 0 || right < 0 || bottom < 0) return false;
  const long width = static_cast<long>(GetWidth());
  const long height = static_cast<long>(GetHeight());
  const long newWidth = width + left + right;
  const long newHeight = height + top + bottom;
  PaletteImage out;
  out.CopyInfo(*this);
  if (!out.Create(static_cast<uint32_t>(newWidth), static_cast<uint32_t>(newHeight),
                  head_.biBitCount, info_.imageType)) {
    failWith(out);
    return false;
  }
  out.SetPalette(GetPalette(), GetNumColors());
  if (head_.biBitCount == 1 || head_.biBitCount == 4) {
    const uint8_t fill = out.GetNearestIndex(canvas);
    for (long y = 0; y < newHeight; ++y) {
      for (long x = 0; x < newWidth; ++x) {
        const bool old = x >= left && x < left + width && y >= bottom && y < bottom + height;
        out.SetPixelIndex(x, y, old ? GetPixelIndex(x - left, y - bottom) : fill);
      }
    }
  } else {
    if (head_.biBitCount == 8) {
      const uint8_t fill = out.GetNearestIndex(canvas);
      for (uint8_t& byte : out.rows_) byte = fill;
    } else {
      for (long y = 0; y < newHeight; ++y) {
        for (long x = 0; x < newWidth; ++x) out.BlindSetPixelColor(x, y, canvas);
      }
    }
    const int64_t pixelBytes = head_.biBitCount / 8;
    for (int64_t y = 0; y < height; ++y) {
      const int64_t from = y * info_.effWidth;
      const int64_t to = (y + bottom) * out.info_.effWidth + left * pixelBytes;
      for (int64_t k = 0; k < width * pixelBytes; ++k) out.writeByte(to + k, readByte(from + k));
    }
  }
  Transfer(out);
  return true;
}

void PaletteImage::DrawLine(int startX, int endX, int startY, int endY, uint8_t index) {
  if (!valid_) return;
  const int64_t dx = std::llabs(int64_t{endX} - startX);
  const int64_t dy = std::llabs(int64_t{endY} - startY);
  const int64_t sx = endX >= startX ? 1 : -1;
  const int64_t sy = endY >= startY ? 1 : -1;
  const bool xIsMajor = dx >= dy;
  const int64_t count = xIsMajor ? dx : dy;
  const int64_t den = count;
  const int64_t add = xIsMajor ? dy : dx;
  int64_t num = den / 2;
  int64_t x = startX;
  int64_t y = startY;
  for (int64_t i = 0; i < count + 1; ++i) {
    SetPixelIndex(static_cast<long>(x), static_cast<long>(y), index);
    num += add;
    if (num >= den) {
      num -= den;
      if (xIsMajor) {
        y += sy;
      } else {
        x += sx;
      }
    }
    if (xIsMajor) {
      x += sx;
    } else {
      y += sy;
    }
  }
}

void PaletteImage::MakeCenter(int width) {
  if (!valid_ || int64_t{width} <= int64_t{GetWidth()}) return;
  PaletteImage out;
  out.CopyInfo(*this);
  out.Create(static_cast<uint32_t>(width), GetHeight(), 8, info_.imageType);
  out.SetPalette(GetPalette(), GetNumColors());
  const long oldWidth = static_cast<long>(GetWidth());
  const long offset = (width - oldWidth) / 2;
  for (long y = 0; y < static_cast<long>(GetHeight()); ++y) {
    for (long x = 0; x < oldWidth; ++x) {
      out.SetPixelIndex(x + offset, y, BlindGetPixelIndex(x, y));
    }
  }
  Transfer(out);
}

}  // namespace model
