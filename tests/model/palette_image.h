// SPDX-License-Identifier: Apache-2.0
// A plain model of the palette image: 1, 4, 8 or 24 bits per pixel, one accessor call per pixel.
//
// The operations bear the names of the class that they stand for, so that one test template can
// drive both with the same calls. The model is copyable, which makes snapshots easy.
#ifndef TESTS_MODEL_PALETTE_IMAGE_H_
#define TESTS_MODEL_PALETTE_IMAGE_H_

#include <cstdint>
#include <string>
#include <vector>

namespace model {

struct tagRGBQUAD {
  uint8_t rgbBlue = 0;
  uint8_t rgbGreen = 0;
  uint8_t rgbRed = 0;
  uint8_t rgbReserved = 0;
  bool operator==(const tagRGBQUAD&) const = default;
};

class PaletteImage {
 public:
  // The 40-byte BMP info header.
  struct Head {
    uint32_t biSize = 0;
    int32_t biWidth = 0;
    int32_t biHeight = 0;
    uint16_t biPlanes = 0;
    uint16_t biBitCount = 0;
    uint32_t biCompression = 0;
    uint32_t biSizeImage = 0;
    int32_t biXPelsPerMeter = 0;
    int32_t biYPelsPerMeter = 0;
    uint32_t biClrUsed = 0;
    uint32_t biClrImportant = 0;
  };

  struct Info {
    uint32_t effWidth = 0;
    uint32_t imageType = 0;
    std::string lastError;
    tagRGBQUAD lastColor;
    uint8_t lastColorIndex = 0;
    bool lastColorValid = false;
  };

  // Creation and ownership. Create answers true where the class answers a non-null pointer.
  bool Create(uint32_t width, uint32_t height, uint32_t bpp, uint32_t imageType);
  bool Destroy();
  bool Transfer(PaletteImage& from, bool transferFrames = false);
  void CopyInfo(const PaletteImage& src);
  bool CreateFromArray(const uint8_t* array, uint32_t width, uint32_t height, uint32_t bpp,
                       uint32_t bytesPerLine, bool flip);

  // Queries.
  uint32_t GetWidth() const;
  uint32_t GetHeight() const;
  uint32_t GetEffWidth() const;
  uint32_t GetNumColors() const;
  uint32_t GetPaletteSize() const;
  uint32_t GetSize() const;
  bool IsValid() const;
  const char* GetLastError() const;
  uint8_t* GetBits(uint32_t row = 0);
  const uint8_t* GetBits(uint32_t row = 0) const;

  // Palette.
  tagRGBQUAD* GetPalette();
  const tagRGBQUAD* GetPalette() const;
  void SetPalette(const tagRGBQUAD* palette, uint32_t count);
  void SetGrayPalette();
  void SetPaletteColor(uint8_t index, uint8_t red, uint8_t green, uint8_t blue, uint8_t alpha = 0);
  tagRGBQUAD GetPaletteColor(uint8_t index) const;
  uint8_t GetNearestIndex(tagRGBQUAD colour);

  // Pixels. The Blind forms check nothing in the class; here a read outside the pixel area
  // gives 0 and a write outside it is dropped.
  uint8_t GetPixelIndex(long x, long y) const;
  void SetPixelIndex(long x, long y, uint8_t index);
  uint8_t BlindGetPixelIndex(long x, long y) const;
  void BlindSetPixelIndex(long x, long y, uint8_t index);
  tagRGBQUAD BlindGetPixelColor(long x, long y, bool withAlpha = false) const;
  void BlindSetPixelColor(long x, long y, tagRGBQUAD colour, bool withAlpha = false);

  // Whole-image operations.
  bool Dither(long method);
  bool Light(int brightness, int contrast);
  bool Lut(const uint8_t* table);
  void Negative();
  bool Rotate180(PaletteImage* target = nullptr);
  void Mirror();
  bool IncreaseBpp(uint32_t bpp);
  bool Expand(long left, long top, long right, long bottom, tagRGBQUAD canvas);
  void DrawLine(int startX, int endX, int startY, int endY, uint8_t index);
  void MakeCenter(int width);

  // For comparison with the class.
  const Head& head() const { return head_; }
  const Info& info() const { return info_; }
  // Pixel rows as they lie in memory, padding included; empty when the image holds nothing.
  const std::vector<uint8_t>& rows() const { return rows_; }
  // The whole block: header (little-endian), palette, rows; empty when the image holds nothing.
  std::vector<uint8_t> block() const;

 private:
  uint8_t readByte(int64_t position) const;
  void writeByte(int64_t position, uint8_t value);
  bool isInside(long x, long y) const;
  void failWith(const PaletteImage& other);

  Head head_;
  Info info_;
  bool valid_ = false;
  std::vector<tagRGBQUAD> palette_;
  std::vector<uint8_t> rows_;
};

}  // namespace model

#endif  // TESTS_MODEL_PALETTE_IMAGE_H_
