// SPDX-License-Identifier: Apache-2.0
// One page from its grey pixels to its raster bands, and the picture files that go with it.
#ifndef TESTS_MODEL_PAGES_H_
#define TESTS_MODEL_PAGES_H_

#include <cstdint>
#include <string>
#include <vector>

#include "tests/model/palette_image.h"

namespace model {

// One line on standard error, without its line end. Levels: 0 and 1 debug, 2 warning, 3 error,
// 4 critical, 5 invalid.
std::string logLine(int level, const std::string& message);

// Stands in a log line where the product prints an address of its own.
inline const char* const kPointerText = "<pointer>";
// Stands where it prints the null pointer with %p, which looks different on each system.
inline const char* const kNullPointerText = "<null>";

enum class Trim { nothing, end, both };

// What the printer object holds for a page.
struct PrinterSettings {
  int32_t halftoneType = 0;  // 0 to 7 and others: method number; 8 and 9: tattoo
  int brightness = 0;        // -100 to 100, clamped like the setter does
  int contrast = 0;          // -100 to 100, clamped like the setter does
  bool rotate180 = false;
  bool mirror = false;
  bool negative = false;
  int antiWrinkle = 0;           // frame width in millimetres, 0 = no frame
  uint8_t removeBlankEdges = 0;  // 2 measures the front, 8 the back
  uint64_t skipRightPixels = 0;
  int resolution = 300;  // dots per inch
  bool hasPageHeader = true;
  std::string pageSizeName;
  // Of printImage alone.
  bool invert = false;                // white on black
  Trim trim = Trim::nothing;          // blank rows that are left out
  bool keepPictures = true;           // saves the two pictures
  uint32_t verticalResolution = 300;  // the page header's; 0 counts as `resolution`
};

int clampTone(int value);            // to -100..100
int clampDensity(int value);         // to 0..15
int parseSpeed(const char* digits);  // atoi, then to 1..15

// Lengths of the anti-wrinkle frame in dots. `hundredths` counts hundredths of a millimetre.
uint32_t dotsOf(int resolution, uint32_t hundredths);

struct Canvas {
  uint32_t width = 0;
  uint32_t height = 0;
};
uint32_t frameLineWidth(int resolution, int level);
// 0 by 0 for a page size without a frame.
Canvas frameCanvas(int resolution, int level, const std::string& pageSizeName);

// Expands the page to its canvas and draws the frame; appends its log lines.
void enableAntiWrinkle(const PrinterSettings& settings, PaletteImage& image,
                       std::vector<std::string>& log);

struct FinishedPage {
  bool valid = false;        // false: no image, nothing to save or print
  PaletteImage image;        // 8 bits per pixel, rows padded to 4 bytes
  std::vector<uint8_t> dst;  // the caller's buffer of 2 * stride * height bytes
  int32_t filled = 0;        // the result of the page processing, 0 on failure
  std::vector<std::string> log;
  // Of pages that are printed:
  uint64_t inkBegin = 0;  // the rows from the first to behind the last one with a dot that
  uint64_t inkEnd = 0;    // reaches the printer, before the page is inverted; 0 for none
  bool framed = false;    // a frame was drawn
};

// `src` holds `height` rows of `stride` bytes, `width` of them being pixels. With `printed`, a
// page is inverted if the settings say so, and a frame that does not print whole is left out.
FinishedPage processPage(const PrinterSettings& settings, const std::vector<uint8_t>& src,
                         int32_t stride, int32_t width, int32_t height, bool printed = false);

struct PackedPage {
  std::vector<uint8_t> bytes;
  std::string log;
};

// One bit per byte of each row, leftmost pixel in the top bit, set for every non-zero byte.
PackedPage packMono(const std::vector<uint8_t>& pixels, int32_t bytesPerLine, int32_t height,
                    uint64_t skipRight);

// The raster commands of a packed page, at most 96 rows each.
std::vector<uint8_t> rasterBands(const std::vector<uint8_t>& packed, uint32_t packedLength,
                                 uint64_t height);

// The bytes of the picture file. Bytes that `pixels` does not hold read as 0.
std::vector<uint8_t> bmpFile(const std::vector<uint8_t>& pixels, uint64_t bytesPerLine,
                             uint64_t height, uint64_t width, uint16_t bitsPerPixel);

struct SavedImage {
  std::string kind;  // "origin" or "dithered"
  std::vector<uint8_t> bytes;
};

struct PrintedPage {
  std::vector<uint8_t> bands;     // to every output stream
  std::vector<SavedImage> saved;  // in the order of the saves
  std::vector<std::string> log;
};

// The whole page step. With `savesFail` the picture files cannot be opened: the log gets the
// line that says so (with "<path>" for the path) and `saved` stays empty.
PrintedPage printImage(const PrinterSettings& settings, const std::vector<uint8_t>& pixels,
                       uint64_t bytesPerLine, uint64_t height, uint64_t width,
                       bool savesFail = false);

}  // namespace model

#endif  // TESTS_MODEL_PAGES_H_
