// SPDX-License-Identifier: Apache-2.0
// In-memory raster of 1, 4, 8 or 24 bits per pixel with an optional palette,
// laid out like a BMP file (Microsoft device-independent bitmap) without its
// file header. All operations work on palette indices; in the grey pages of
// this driver the index is the grey level, because the palette is the identity
// grey ramp.
#ifndef IMAGE_PALETTE_IMAGE_H_
#define IMAGE_PALETTE_IMAGE_H_

#include <array>
#include <cstddef>
#include <cstdint>

// Palette entry and colour value, in the byte order of the BMP format.
struct tagRGBQUAD {
  uint8_t rgbBlue;
  uint8_t rgbGreen;
  uint8_t rgbRed;
  uint8_t rgbReserved;
};

// The 40-byte info header of the BMP format.
struct BITMAPINFOHEADER {
  uint32_t biSize;          // 40 once created
  int32_t biWidth;          // pixels
  int32_t biHeight;         // rows
  uint16_t biPlanes;        // 1
  uint16_t biBitCount;      // 1, 4, 8 or 24
  uint32_t biCompression;   // 0, uncompressed
  uint32_t biSizeImage;     // bytes of all rows, padding included
  int32_t biXPelsPerMeter;  // never set
  int32_t biYPelsPerMeter;  // never set
  uint32_t biClrUsed;       // palette entries: 2, 16, 256, or 0 at 24 bits
  uint32_t biClrImportant;  // never set
};
static_assert(sizeof(tagRGBQUAD) == 4 && sizeof(BITMAPINFOHEADER) == 40);

// Memory: one heap block, owned. There is no destructor; the block is released
// by Destroy, which Create and Transfer call first, and ownership moves only by
// Transfer. Whoever holds an image calls Destroy when done with it.
//
// Rows: row 0 is the first in memory; rows are padded with zero bytes to a
// multiple of 4 bytes. Within a row: 8 bits, a byte a pixel; 4 bits, even x in
// the high nibble; 1 bit, the leftmost pixel in the top bit; 24 bits, blue,
// green, red.
//
// Errors: operations return false or null; Create leaves a text in
// GetLastError. Whole-image operations that fail leave the image unchanged
// unless they say otherwise. Every argument is held within the image.
//
// Threads: an image is used by one thread at a time.
class PaletteImage {
 public:
  PaletteImage() = default;
  PaletteImage(const PaletteImage&) = delete;
  PaletteImage& operator=(const PaletteImage&) = delete;

  // ---- Creation and ownership -------------------------------------------

  // Makes an image with a black palette and zeroed rows. `bpp` is rounded up to
  // 1, 4, 8 or 24 (above 8 always 24). Returns the block, or null when a side
  // is 0, when the block would not fit 32 bits, or when memory is short.
  // `imageType` is carried along and never interpreted.
  uint8_t* Create(uint32_t width, uint32_t height, uint32_t bpp, uint32_t imageType);

  // Whether Create takes these sizes, memory permitting.
  static bool IsCreatable(uint32_t width, uint32_t height, uint32_t bpp);

  // Frees the block; sizes and the last error stay readable. Always true.
  bool Destroy();

  // Takes over everything that `from` holds and leaves it empty. The flag is
  // accepted and ignored. Always true.
  bool Transfer(PaletteImage& from, bool transferFrames);

  // Copies the bookkeeping of `src` (type tag, last error, nearest-colour
  // cache) into an image that holds no block; otherwise does nothing.
  void CopyInfo(const PaletteImage& src);

  // Makes an image with a grey palette from `height` rows of `bytesPerLine`
  // bytes each; `bpp` is 1, 4, 8, 24 or 32 (32 drops the fourth byte of each
  // pixel and gives 24 bits). Copies the shorter of both row lengths and never reads
  // behind a source row. With `flip` the first source row becomes the last.
  bool CreateFromArray(const uint8_t* array, uint32_t width, uint32_t height, uint32_t bpp,
                       uint32_t bytesPerLine, bool flip);

  // ---- Queries ----------------------------------------------------------

  uint32_t GetWidth() const { return static_cast<uint32_t>(head.biWidth); }
  uint32_t GetHeight() const { return static_cast<uint32_t>(head.biHeight); }
  uint32_t GetEffWidth() const { return info.effWidth; }  // bytes per stored row
  uint32_t GetBpp() const { return head.biBitCount; }
  uint32_t GetNumColors() const { return head.biClrUsed; }
  uint32_t GetPaletteSize() const { return head.biClrUsed * 4; }                          // bytes
  uint32_t GetSize() const { return head.biSize + head.biSizeImage + GetPaletteSize(); }  // bytes
  uint32_t GetType() const { return info.imageType; }
  bool IsValid() const { return dib != nullptr; }

  // Text of the last failure, empty when nothing failed. A later success does
  // not clear it.
  const char* GetLastError() const { return info.lastError.data(); }

  // First byte of a stored row, or null without a block or behind the last row.
  uint8_t* GetBits(uint32_t row = 0);
  const uint8_t* GetBits(uint32_t row = 0) const;

  // ---- Palette ----------------------------------------------------------

  // The entries inside the block, or null when there are none.
  tagRGBQUAD* GetPalette();
  const tagRGBQUAD* GetPalette() const;

  // Copies `count` entries, at most as many as the image has.
  void SetPalette(const tagRGBQUAD* palette, uint32_t count);

  // Grey ramp from 0 to 255 in equal integer steps; the reserved bytes stay.
  void SetGrayPalette();

  // Sets one entry; an index behind the last entry changes nothing.
  void SetPaletteColor(uint8_t index, uint8_t red, uint8_t green, uint8_t blue, uint8_t alpha);

  // One entry; all zero without a palette or behind its last entry.
  tagRGBQUAD GetPaletteColor(uint8_t index) const;

  // Index of the entry nearest to `colour` by squared distance over the three
  // colour bytes, the lowest of equals; 0 without a palette. The last answer is
  // cached, and the cache outlives a change of the palette.
  uint8_t GetNearestIndex(tagRGBQUAD colour);

  // ---- Pixels -----------------------------------------------------------

  // Index of a pixel; 0 without a block or palette. Outside the image: the
  // first byte of the pixel area, as it lies there.
  uint8_t GetPixelIndex(long x, long y) const;

  // Stores the low bits of `index`; nothing without a block or palette or
  // outside the image.
  void SetPixelIndex(long x, long y, uint8_t index);

  // The same without any check.
  // REQUIRES: the image is valid and (x, y) lies inside it.
  uint8_t BlindGetPixelIndex(long x, long y) const;
  void BlindSetPixelIndex(long x, long y, uint8_t index);

  // Colour of a pixel through the palette, or its three bytes at 24 bits. The
  // flag is ignored. REQUIRES: as for BlindGetPixelIndex.
  tagRGBQUAD BlindGetPixelColor(long x, long y, bool withAlpha) const;
  void BlindSetPixelColor(long x, long y, tagRGBQUAD colour, bool withAlpha);

  // ---- Halftones (palette_image_dither.cc) -------------------------------

  // Turns the image into 1 bit per pixel, palette black and white, by the
  // row of image/halftones.h with that number. The stencils' numbers and all others
  // run Floyd and Steinberg.
  // Reads palette indices as grey levels, so it is meant for 8-bit grey images.
  // An image that is 1 bit already stays as it is. False without a block or
  // when memory is short.
  bool Dither(long method);

  // ---- Tone (palette_image_tone.cc) ---------------------------------------

  // Shifts every level by `brightness` and scales its distance from 128 by
  // (100 + contrast) / 100, clamped to 0 to 255. False without a block.
  bool Light(int brightness, int contrast);

  // The 256 levels that Light gives; the identity for 0 and 0.
  static std::array<uint8_t, 256> lightTable(int brightness, int contrast);

  // Replaces every index by its entry in `table`, 256 bytes. No effect on 24
  // bits. False without a block or table.
  bool Lut(const uint8_t* table);

  // Complements every byte of the pixel area, row padding included.
  void Negative();

  // ---- Geometry (palette_image_geometry.cc) -------------------------------

  // Turns by half a turn into `target`, or in place when it is null. The result
  // is 8 bits deep whatever the source. False without a block. When memory is
  // short, the image (or the target) ends up holding nothing.
  bool Rotate180(PaletteImage* target = nullptr);

  // Mirrors left to right; made for 8 bits. The result is 8 bits deep, and at
  // other depths the bytes, not the pixels, are reversed. When memory is short
  // the image ends up holding nothing.
  void Mirror();

  // Raises the depth to 4, 8 or 24 bits, keeping the palette (a new entry is
  // black). True when the image has that depth already; false when it is
  // deeper, for other values, without a block or when memory is short.
  bool IncreaseBpp(uint32_t bpp);

  // Adds margins in pixels, filled with the palette entry nearest to `canvas`.
  // The bottom margin comes first in memory. False without a block, for a
  // negative margin, or when the result cannot be created.
  bool Expand(long left, long top, long right, long bottom, tagRGBQUAD canvas);

  // Draws a straight line, both ends included, by integer stepping (Bresenham,
  // IBM Systems Journal 4(1), 1965). Both x values come first, then both y.
  // Parts outside the image are skipped.
  void DrawLine(int startX, int endX, int startY, int endY, uint8_t index);

  // Widens the image to `width` pixels with the old content centred; the result
  // is 8 bits deep and its margins are index 0. Nothing when it is as wide
  // already. When memory is short the image ends up holding nothing.
  void MakeCenter(int width);

 private:
  struct Info {
    uint32_t effWidth = 0;
    uint8_t* pixels = nullptr;
    uint32_t imageType = 0;
    std::array<char, 256> lastError = {};
    tagRGBQUAD lastColor = {};
    uint8_t lastColorIndex = 0;
    bool lastColorValid = false;
  };

  bool IsInside(long x, long y) const;
  void SetLastError(const char* text);
  // Copies the error text of a temporary that could not be created.
  void TakeError(const PaletteImage& failed) { info.lastError = failed.info.lastError; }
  // Makes `temporary` an image of the given size that inherits this one's
  // bookkeeping, without or with the palette.
  static void FillHeader(BITMAPINFOHEADER& header, uint32_t width, uint32_t height, uint32_t bpp);
  // An 8-bit image's header and row padding become those of a new image.
  void RenewInPlace();
  bool CreateLike(PaletteImage& temporary, uint32_t width, uint32_t height, uint32_t bpp) const;
  void CopyPaletteTo(PaletteImage& target) const;
  bool IncreaseIndexedBpp(uint32_t bpp);
  bool IncreaseToTrueColor();

  BITMAPINFOHEADER head = {};
  Info info = {};
  uint8_t* dib = nullptr;  // owned; header copy, palette, rows
};

inline bool PaletteImage::IsInside(long x, long y) const {
  return x >= 0 && y >= 0 && x < static_cast<long>(GetWidth()) &&
         y < static_cast<long>(GetHeight());
}

inline uint8_t PaletteImage::BlindGetPixelIndex(long x, long y) const {
  const auto column = static_cast<size_t>(x);
  const uint8_t* row = info.pixels + static_cast<size_t>(y) * info.effWidth;
  switch (head.biBitCount) {
    case 8:
      return row[column];
    case 4:
      return static_cast<uint8_t>((row[column / 2] >> ((1 - column % 2) * 4)) & 15);
    case 1:
      return static_cast<uint8_t>((row[column / 8] >> (7 - column % 8)) & 1);
    default:
      return 0;
  }
}

inline void PaletteImage::BlindSetPixelIndex(long x, long y, uint8_t index) {
  const auto column = static_cast<size_t>(x);
  uint8_t* row = info.pixels + static_cast<size_t>(y) * info.effWidth;
  switch (head.biBitCount) {
    case 8:
      row[column] = index;
      break;
    case 4: {
      const auto shift = static_cast<unsigned>((1 - column % 2) * 4);
      const unsigned kept = row[column / 2] & ~(15U << shift);
      row[column / 2] = static_cast<uint8_t>(kept | ((index & 15U) << shift));
      break;
    }
    case 1: {
      const auto shift = static_cast<unsigned>(7 - column % 8);
      const unsigned kept = row[column / 8] & ~(1U << shift);
      row[column / 8] = static_cast<uint8_t>(kept | ((index & 1U) << shift));
      break;
    }
    default:
      break;
  }
}

inline uint8_t PaletteImage::GetPixelIndex(long x, long y) const {
  if (dib == nullptr || head.biClrUsed == 0) return 0;
  if (!IsInside(x, y)) return info.pixels[0];
  return BlindGetPixelIndex(x, y);
}

inline void PaletteImage::SetPixelIndex(long x, long y, uint8_t index) {
  if (dib == nullptr || head.biClrUsed == 0 || !IsInside(x, y)) return;
  BlindSetPixelIndex(x, y, index);
}

#endif  // IMAGE_PALETTE_IMAGE_H_
