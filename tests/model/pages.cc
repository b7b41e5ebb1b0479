// SPDX-License-Identifier: Apache-2.0
#include "tests/model/pages.h"

#include <algorithm>
#include <cstdlib>

#include "tests/model/tattoo.h"
#include "tests/model/tone.h"

namespace model {
namespace {

constexpr uint64_t kRowsPerBand = 96;

std::string text(int64_t value) { return std::to_string(value); }
std::string sizeText(uint64_t value) { return std::to_string(value); }
std::string asInt(uint32_t value) { return std::to_string(static_cast<int32_t>(value)); }

// Sets one dot of the caller's buffer; dots past its end are dropped.
void storeBounded(std::vector<uint8_t>& dst, int64_t position, uint8_t value) {
  if (position < 0 || position >= static_cast<int64_t>(dst.size())) return;
  dst[static_cast<size_t>(position)] = value;
}

// A frame band from (left, top) up to, but not including, (right, bottom).
struct Band {
  int64_t left;
  int64_t top;
  int64_t right;
  int64_t bottom;
};

void appendLittleEndian(std::vector<uint8_t>& out, uint64_t value, int bytes) {
  for (int k = 0; k < bytes; ++k) out.push_back(static_cast<uint8_t>(value >> (8 * k)));
}

// The bytes of a row that are packed for the printer.
uint64_t packedColumns(uint64_t rowLength, uint64_t skipRight) {
  return skipRight < rowLength ? rowLength - skipRight : rowLength;
}

// Notes which rows have a dot that reaches the printer.
void findInk(const PaletteImage& image, uint64_t columns, FinishedPage& page) {
  const uint64_t rowLength = image.GetEffWidth();
  for (uint64_t y = 0; y < image.GetHeight(); ++y) {
    bool ink = false;
    for (uint64_t x = 0; x < columns; ++x) ink |= image.rows()[y * rowLength + x] != 0;
    if (!ink) continue;
    if (page.inkEnd == 0) page.inkBegin = y;
    page.inkEnd = y + 1;
  }
}

// Turns the dots of these columns into their opposites if the page has ink; there is nothing in
// the skipped columns.
void invertDots(PaletteImage& image, uint64_t columns, uint8_t dot, bool hasInk) {
  for (uint64_t y = 0; y < image.GetHeight(); ++y) {
    for (uint64_t x = 0; x < image.GetWidth(); ++x) {
      const auto column = static_cast<long>(x);
      const auto row = static_cast<long>(y);
      const bool bare = image.GetPixelIndex(column, row) == 0;
      if (x >= columns) {
        image.SetPixelIndex(column, row, 0);
      } else if (hasInk) {
        image.SetPixelIndex(column, row, bare ? dot : 0);
      }
    }
  }
}

// The frame of a page that is printed, if all four sides of it lie where dots print.
void framePrinted(const PrinterSettings& settings, PaletteImage& image, uint64_t columns,
                  FinishedPage& page) {
  const Canvas canvas =
      frameCanvas(settings.resolution, settings.antiWrinkle, settings.pageSizeName);
  const bool hasFrame = settings.hasPageHeader && canvas.width != 0;
  const uint64_t width = image.GetWidth();
  const uint64_t height = image.GetHeight();
  if (hasFrame && (canvas.width > width || canvas.height > height ||
                   (width - canvas.width) / 2 + canvas.width > columns)) {
    page.log.push_back(logLine(2, "The frame of " + sizeText(canvas.width) + " x " +
                                      sizeText(canvas.height) + " dots does not fit the " +
                                      sizeText(columns) + " x " + sizeText(height) +
                                      " dots that print, it is left out!"));
    return;
  }
  enableAntiWrinkle(settings, image, page.log);
  page.framed = hasFrame;
}

// The rows of a page that are sent. Those that make up for a short content come behind it, and
// before it where the page ends.
std::pair<uint64_t, uint64_t> rowsSent(const PrinterSettings& settings, const FinishedPage& page,
                                       uint64_t height) {
  if (settings.trim == Trim::nothing || page.framed) return {0, height};
  if (page.inkEnd == 0) return {0, 0};
  const uint64_t resolution = settings.hasPageHeader && settings.verticalResolution != 0
                                  ? settings.verticalResolution
                                  : static_cast<uint64_t>(settings.resolution);
  uint64_t least = resolution * 80 / 254;  // 8 mm
  if (resolution * 80 % 254 != 0) ++least;
  least = std::min(least, height);
  uint64_t begin = settings.trim == Trim::both ? page.inkBegin : 0;
  uint64_t end = page.inkEnd;
  while (end - begin < least && end < height) ++end;
  while (end - begin < least) --begin;
  return {begin, end};
}

uint8_t byteOr0(const std::vector<uint8_t>& bytes, uint64_t position) {
  return position < bytes.size() ? bytes[position] : 0;
}

}  // namespace

std::string logLine(int level, const std::string& message) {
  static const char* const prefixes[] = {
      "DEBUG:", "DEBUG:", "WARN:", "ERROR:", "CRIT:", "INVALID:"};
  return prefixes[level] + message;
}

int clampTone(int value) {
  if (value < -100) return -100;
  if (value > 100) return 100;
  return value;
}

int clampDensity(int value) {
  if (value < 0) return 0;
  if (value > 15) return 15;
  return value;
}

int parseSpeed(const char* digits) {
  const int value = std::atoi(digits);
  if (value < 1) return 1;
  if (value > 15) return 15;
  return value;
}

// --- Anti-wrinkle frame -----------------------------------------------------------------------

uint32_t dotsOf(int resolution, uint32_t hundredths) {
  return (static_cast<uint32_t>(resolution) * hundredths / 254U + 5U) / 10U;
}

uint32_t frameLineWidth(int resolution, int level) {
  return (static_cast<uint32_t>(level) * 100U * static_cast<uint32_t>(resolution) / 254U + 5U) /
         10U;
}

Canvas frameCanvas(int resolution, int level, const std::string& pageSizeName) {
  uint32_t widthHundredths = 0;
  uint32_t heightHundredths = 0;
  if (pageSizeName == "A4") {
    widthHundredths = 20000;
    heightHundredths = 27500;
  } else if (pageSizeName == "Letter") {
    widthHundredths = 21000;
    heightHundredths = 25700;
  } else if (pageSizeName == "Tattoo_A5") {
    widthHundredths = 20000;
    heightHundredths = 11800;
  } else if (pageSizeName == "Tattoo_A6") {
    widthHundredths = 10000;
    heightHundredths = 11800;
  } else {
    return Canvas{};
  }
  Canvas canvas;
  canvas.width = dotsOf(resolution, widthHundredths) + 2U * frameLineWidth(resolution, level);
  canvas.height = dotsOf(resolution, heightHundredths) + 2U * dotsOf(resolution, 100);
  return canvas;
}

void enableAntiWrinkle(const PrinterSettings& settings, PaletteImage& image,
                       std::vector<std::string>& log) {
  if (!image.IsValid() || !settings.hasPageHeader) {
    log.push_back(logLine(0, "EnableAntiWrink: Image or pageHdr_ is not valid, returning."));
    return;
  }
  const uint32_t lineH = dotsOf(settings.resolution, 100);
  const uint32_t lineV = frameLineWidth(settings.resolution, settings.antiWrinkle);
  log.push_back(logLine(0, "EnableAntiWrink: AntiWrinkle level: " + text(settings.antiWrinkle) +
                               ", line_v: " + asInt(lineV) + " points, line_h: " + asInt(lineH) +
                               " points."));
  const std::string& name = settings.pageSizeName;
  const Canvas canvas = frameCanvas(settings.resolution, settings.antiWrinkle, name);
  if (name == "A4" || name == "Letter" || name == "Tattoo_A5" || name == "Tattoo_A6") {
    log.push_back(logLine(0, "EnableAntiWrink: Page size is " + name + ", CanvasWidth: " +
                                 asInt(canvas.width) + ", CanvasHeight: " + asInt(canvas.height)));
  }
  const int32_t canvasWidth = static_cast<int32_t>(canvas.width);
  const int32_t canvasHeight = static_cast<int32_t>(canvas.height);

  int32_t ex = 0;
  int32_t ey = 0;
  if (static_cast<int32_t>(image.GetWidth()) < canvasWidth) {
    ex = (canvasWidth - static_cast<int32_t>(image.GetWidth())) / 2;
    log.push_back(logLine(
        0, "EnableAntiWrink: Image width is less than canvas width, exPoints: " + text(ex)));
  }
  if (static_cast<int32_t>(image.GetHeight()) < canvasHeight) {
    ey = (canvasHeight - static_cast<int32_t>(image.GetHeight())) / 2;
    log.push_back(logLine(
        0, "EnableAntiWrink: Image height is less than canvas height, eyPoints: " + text(ey)));
  }
  if (ex != 0 || ey != 0) {
    tagRGBQUAD white;
    white.rgbBlue = 255;
    white.rgbGreen = 255;
    white.rgbRed = 255;
    if (!image.Expand(ex, ey, ex, ey, white)) {
      log.push_back(logLine(0, "EnableAntiWrink: Failed to expand image, returning."));
      return;
    }
    log.push_back(logLine(0, "EnableAntiWrink: Image expanded successfully."));
  }

  int32_t offsetX = 0;
  int32_t offsetY = 0;
  if (static_cast<int32_t>(image.GetWidth()) > canvasWidth) {
    offsetX = (static_cast<int32_t>(image.GetWidth()) - canvasWidth) / 2;
    log.push_back(logLine(
        0,
        "EnableAntiWrink: Image width is greater than canvas width, offset.x: " + text(offsetX)));
  }
  if (static_cast<int32_t>(image.GetHeight()) > canvasHeight) {
    offsetY = (static_cast<int32_t>(image.GetHeight()) - canvasHeight) / 2;
    log.push_back(logLine(
        0,
        "EnableAntiWrink: Image height is greater than canvas height, offset.y: " + text(offsetY)));
  }

  const int64_t left = offsetX;
  const int64_t top = offsetY;
  const int64_t right = left + canvasWidth;
  const int64_t bottom = top + canvasHeight;
  const Band bands[4] = {{left, top, left + lineV, bottom},
                         {left, top, right, top + lineH},
                         {right - lineV, top, right, bottom},
                         {left, bottom - lineH, right, bottom}};
  const char* const names[4] = {"left", "top", "right", "bottom"};
  // The column counter keeps its value over a band that has no rows.
  int64_t x = 0;
  for (int k = 0; k < 4; ++k) {
    const Band& band = bands[k];
    int64_t y = band.top;
    for (; y < band.bottom; ++y) {
      for (x = band.left; x < band.right; ++x) {
        image.SetPixelIndex(static_cast<long>(x), static_cast<long>(y), 255);
      }
    }
    log.push_back(logLine(0, std::string("EnableAntiWrink: Drawing ") + names[k] + " line. point(" +
                                 text(band.left) + ", " + text(band.top) + ", " + text(x) + ", " +
                                 text(y) + ")"));
  }
}

// --- Page processing --------------------------------------------------------------------------

FinishedPage processPage(const PrinterSettings& settings, const std::vector<uint8_t>& src,
                         int32_t stride, int32_t width, int32_t height, bool printed) {
  FinishedPage page;
  page.dst.assign(2 * static_cast<size_t>(stride) * static_cast<size_t>(height), 0);
  std::vector<std::string>& log = page.log;
  const bool tattoo = settings.halftoneType == 8 || settings.halftoneType == 9;
  log.push_back(
      logLine(0, std::string("PageProcess: QZ dithering is ") + (tattoo ? "enabled" : "disabled")));

  PaletteImage image;
  if (!image.CreateFromArray(src.data(), static_cast<uint32_t>(width),
                             static_cast<uint32_t>(height), 8, static_cast<uint32_t>(stride),
                             false)) {
    log.push_back(logLine(4, "paletteImage.CreateFromArray with grey failed!"));
    return page;
  }
  log.push_back(logLine(
      0, "PageProcess: Successfully created PaletteImage from array with stride " + text(stride)));

  const int brightness = clampTone(settings.brightness);
  const int contrast = clampTone(settings.contrast);
  if (brightness != 0 || contrast != 0) {
    image.Light(brightness * 5, contrast * 2);
    log.push_back(logLine(0, "PageProcess: Adjusted brightness to " + text(brightness * 5) +
                                 " and contrast to " + text(contrast * 2)));
  }
  if (settings.rotate180) {
    image.Rotate180();
    log.push_back(logLine(0, "PageProcess: Rotated the image 180 degrees"));
  }
  if (settings.mirror) {
    image.Mirror();
    log.push_back(logLine(0, "PageProcess: Mirrored the image"));
  }

  if (!tattoo) {
    image.Dither(settings.halftoneType);
    image.IncreaseBpp(8);
    log.push_back(logLine(0, "PageProcess: Applied default dithering and increased bit depth"));
  } else {
    for (int32_t y = 0; y < height; ++y) {
      for (int32_t x = 0; x < width; ++x) {
        storeBounded(page.dst, int64_t{y} * stride + x, image.GetPixelIndex(x, y));
      }
    }
    log.push_back(logLine(
        0, "PageProcess: Copied pixels to the output buffer for QZ dithering, with stride " +
               text(stride) + ", EffWidth " + asInt(image.GetEffWidth())));
    // The stencil stages take the buffer as rows of `width` bytes, whatever the stride is.
    const QzPicture input = makeQzPicture(width, height, 0, page.dst);
    const QzPicture output =
        settings.halftoneType == 9 ? tattooDitheringX8(input) : tattooDithering(input);
    const int32_t paddedWidth = (output.width + 3) / 4 * 4;
    log.push_back(logLine(0, "PageProcess: Applied QZ dithering with stride " + text(paddedWidth) +
                                 ", width " + text(width)));
    PaletteImage stencil;
    if (!stencil.CreateFromArray(output.data.data(), static_cast<uint32_t>(width),
                                 static_cast<uint32_t>(height), 8, static_cast<uint32_t>(width),
                                 false)) {
      log.push_back(
          logLine(3, "PageProcess: Failed to create a new PaletteImage from QZ dithered data"));
      return page;
    }
    log.push_back(
        logLine(0, "PageProcess: Successfully created a new PaletteImage from QZ dithered data"));
    image.Transfer(stencil);
  }

  log.push_back(
      logLine(0, std::string("PageProcess: negativePrint_ ") + (settings.negative ? "1" : "0")));
  if (settings.negative) {
    log.push_back(logLine(0, "PageProcess: Inverting the image for negative print"));
    image.Negative();
  }
  const uint64_t packed = packedColumns(image.GetEffWidth(), settings.skipRightPixels);
  const uint64_t columns = std::min<uint64_t>(image.GetWidth(), packed);
  if (printed) findInk(image, packed, page);
  if (printed && settings.invert) {
    log.push_back(
        logLine(2, "The page is printed white on black, its solid areas heat the print head!"));
    invertDots(image, columns, tattoo ? 255 : 1, page.inkEnd != 0);
  }
  if (settings.antiWrinkle != 0 && printed) {
    framePrinted(settings, image, columns, page);
  } else if (settings.antiWrinkle != 0) {
    enableAntiWrinkle(settings, image, log);
  }

  const int64_t rowLength = image.GetEffWidth();
  for (int64_t y = 0; y < int64_t{image.GetHeight()}; ++y) {
    for (int64_t x = 0; x < int64_t{image.GetWidth()}; ++x) {
      uint8_t v = image.GetPixelIndex(static_cast<long>(x), static_cast<long>(y));
      if (v == 1) v = 0xFF;
      if (settings.negative) v = static_cast<uint8_t>(~v);
      storeBounded(page.dst, y * rowLength + x, v);
    }
  }
  page.filled = static_cast<int32_t>(static_cast<uint32_t>(height) * image.GetEffWidth());
  log.push_back(logLine(0, "PageProcess: Filled the output buffer with processed pixels, length: " +
                               text(page.filled)));
  page.valid = image.IsValid();
  page.image.Transfer(image);
  return page;
}

// --- Packing and raster -----------------------------------------------------------------------

PackedPage packMono(const std::vector<uint8_t>& pixels, int32_t bytesPerLine, int32_t height,
                    uint64_t skipRight) {
  PackedPage page;
  const int64_t packedWidth =
      bytesPerLine > 0
          ? static_cast<int64_t>(packedColumns(static_cast<uint64_t>(bytesPerLine), skipRight))
          : bytesPerLine;
  page.log = logLine(0, "GrayToMono, bpl(" + text(bytesPerLine) + "), h(" + text(height) +
                            "), skipPixels(" + asInt(static_cast<uint32_t>(skipRight)) + "), wb(" +
                            text(packedWidth) + ")");
  for (int64_t y = 0; y < height; ++y) {
    int byte = 0;
    for (int64_t x = 0; x < packedWidth; ++x) {
      if (byteOr0(pixels, static_cast<uint64_t>(y * bytesPerLine + x)) != 0) {
        byte |= 0x80 >> (x % 8);
      }
      if (x % 8 == 7) {
        page.bytes.push_back(static_cast<uint8_t>(byte));
        byte = 0;
      }
    }
    if (packedWidth % 8 != 0) page.bytes.push_back(static_cast<uint8_t>(byte));
  }
  return page;
}

std::vector<uint8_t> rasterBands(const std::vector<uint8_t>& packed, uint32_t packedLength,
                                 uint64_t height) {
  std::vector<uint8_t> out;
  if (height == 0) return out;
  const uint64_t bytesPerRow = packedLength / height;
  uint64_t position = 0;
  uint64_t remaining = height;
  uint64_t bandHeight = kRowsPerBand;
  while (remaining != 0) {
    if (remaining < bandHeight) bandHeight = remaining;
    out.push_back(0x1D);
    out.push_back(0x76);
    out.push_back(0x30);
    out.push_back(0x00);
    out.push_back(static_cast<uint8_t>(bytesPerRow & 0xFF));
    out.push_back(static_cast<uint8_t>((bytesPerRow >> 8) & 0xFF));
    out.push_back(static_cast<uint8_t>(bandHeight & 0xFF));
    out.push_back(static_cast<uint8_t>((bandHeight >> 8) & 0xFF));
    for (uint64_t k = 0; k < bytesPerRow * bandHeight; ++k) {
      out.push_back(byteOr0(packed, position));
      ++position;
    }
    remaining -= bandHeight;
  }
  return out;
}

// --- Picture files ----------------------------------------------------------------------------

std::vector<uint8_t> bmpFile(const std::vector<uint8_t>& pixels, uint64_t bytesPerLine,
                             uint64_t height, uint64_t width, uint16_t bitsPerPixel) {
  const bool grey = bitsPerPixel == 8;
  const uint64_t unpadded = grey ? width : (width + 7) / 8;
  const uint64_t rowSize = (unpadded + 3) / 4 * 4;
  const uint64_t imageSize = rowSize * height;
  const uint64_t dataOffset = grey ? 1078 : 62;

  std::vector<uint8_t> out;
  out.push_back('B');
  out.push_back('M');
  appendLittleEndian(out, dataOffset + imageSize, 4);
  appendLittleEndian(out, 0, 2);
  appendLittleEndian(out, 0, 2);
  appendLittleEndian(out, dataOffset, 4);
  appendLittleEndian(out, 40, 4);
  appendLittleEndian(out, width, 4);
  appendLittleEndian(out, height, 4);
  appendLittleEndian(out, 1, 2);
  appendLittleEndian(out, grey ? 8 : 1, 2);
  appendLittleEndian(out, 0, 4);
  appendLittleEndian(out, imageSize, 4);
  appendLittleEndian(out, 0, 4);
  appendLittleEndian(out, 0, 4);
  appendLittleEndian(out, grey ? 256 : 0, 4);
  appendLittleEndian(out, grey ? 256 : 0, 4);

  if (grey) {
    for (uint64_t i = 0; i < 256; ++i) appendLittleEndian(out, i | (i << 8) | (i << 16), 4);
    for (uint64_t k = 0; k < width * height; ++k) out.push_back(byteOr0(pixels, k));
    return out;
  }
  if (bitsPerPixel == 1) {
    appendLittleEndian(out, 0x00000000, 4);
    appendLittleEndian(out, 0x00FFFFFF, 4);
  }
  for (uint64_t y = height; y-- > 0;) {
    std::vector<uint8_t> row(rowSize, 0);
    for (uint64_t x = 0; x < bytesPerLine; ++x) {
      if (x / 8 >= rowSize) break;
      if (byteOr0(pixels, y * bytesPerLine + x) == 0) {
        row[x / 8] = static_cast<uint8_t>(row[x / 8] | (0x80 >> (x % 8)));
      }
    }
    // The unused bits of the last byte are white.
    if (bytesPerLine % 8 != 0 && bytesPerLine / 8 < rowSize) {
      row[bytesPerLine / 8] =
          static_cast<uint8_t>(row[bytesPerLine / 8] | (0xFF >> (bytesPerLine % 8)));
    }
    out.insert(out.end(), row.begin(), row.end());
  }
  return out;
}

// --- The page step ----------------------------------------------------------------------------

PrintedPage printImage(const PrinterSettings& settings, const std::vector<uint8_t>& pixels,
                       uint64_t bytesPerLine, uint64_t height, uint64_t width, bool savesFail) {
  PrintedPage page;
  std::vector<std::string>& log = page.log;
  const auto debug = [&log](const std::string& message) { log.push_back(logLine(0, message)); };
  const auto save = [&](const char* kind, const std::vector<uint8_t>& bits, uint64_t rowLength,
                        uint64_t rows, uint64_t columns) {
    if (savesFail) {
      log.push_back("DravPrinter::saveImage: unable to open the file <path>");
    } else {
      page.saved.push_back({kind, bmpFile(bits, rowLength, rows, columns, 8)});
    }
  };

  debug("printImage: Start processing image, input width: " + sizeText(width) +
        ", height: " + sizeText(height) + ", bytes per line: " + sizeText(bytesPerLine));
  const uint64_t size = bytesPerLine * height;
  debug("printImage: Memory allocated successfully, size: " + sizeText(size) + " bytes");

  uint64_t top = 0;
  uint64_t end = 0;
  const uint64_t skip = settings.skipRightPixels;
  if ((settings.removeBlankEdges & 8) != 0) {
    end = countBlankFromBack(pixels, bytesPerLine, height, skip, width);
    debug("printImage: Removal of bottom blank edges detected, number of bottom blank lines: " +
          sizeText(end));
  }
  if ((settings.removeBlankEdges & 2) != 0) {
    top = countBlankFromFront(pixels, bytesPerLine, height, skip, width);
    debug("printImage: Removal of top blank edges detected, number of top blank lines: " +
          sizeText(top));
  }

  if (settings.keepPictures) {
    debug("printImage: Saving original image, file path will be generated based on time");
    save("origin", pixels, bytesPerLine, height, width);
  }
  debug("printImage: Memory for processing result allocated successfully, size: " + sizeText(size) +
        " bytes");

  FinishedPage finished =
      processPage(settings, pixels, static_cast<int32_t>(bytesPerLine), static_cast<int32_t>(width),
                  static_cast<int32_t>(height), true);
  log.insert(log.end(), finished.log.begin(), finished.log.end());

  // The measured edges only appear in the log; the page is printed whole.
  uint64_t adjusted = height;
  if (end > top) {
    adjusted = end - top;
    debug("printImage: Adjusted image height to " + sizeText(adjusted) + ", pointer offset by " +
          sizeText(top * bytesPerLine) + " bytes");
  }
  debug(std::string("printImage: Processed image information - pointer address: ") + kPointerText +
        ", width: " + sizeText(bytesPerLine) + ", height: " + sizeText(height) +
        ", bytes per line: " + sizeText(width) + ", number of top blank lines: " + sizeText(top) +
        ", number of bottom blank lines: " + sizeText(end) +
        ", adjusted height: " + sizeText(adjusted));

  const PaletteImage& image = finished.image;
  if (settings.keepPictures) {
    debug("printImage: Saving processed image, file path will be generated based on time");
    if (finished.valid) {
      save("dithered", image.rows(), image.GetEffWidth(), image.GetHeight(), image.GetWidth());
    }
  }
  const auto [firstRow, endRow] = rowsSent(settings, finished, image.GetHeight());
  if (finished.valid && settings.trim != Trim::nothing && !finished.framed) {
    debug("printImage: Trimmed the page to the rows " + sizeText(firstRow) + " to " +
          sizeText(endRow) + " of " + sizeText(image.GetHeight()));
  }
  debug("printImage: Starting to print the processed image");
  if (finished.valid) {
    const uint64_t rowLength = image.GetEffWidth();
    const std::vector<uint8_t> sent(
        image.rows().begin() + static_cast<std::ptrdiff_t>(firstRow * rowLength),
        image.rows().begin() + static_cast<std::ptrdiff_t>(endRow * rowLength));
    const PackedPage packed = packMono(sent, static_cast<int32_t>(rowLength),
                                       static_cast<int32_t>(endRow - firstRow), skip);
    log.push_back(packed.log);
    page.bands =
        rasterBands(packed.bytes, static_cast<uint32_t>(packed.bytes.size()), endRow - firstRow);
  } else {
    log.push_back(logLine(3, "printImage: pimage is NULL, unable to print the image"));
  }

  debug(std::string("printImage: Freed the allocated memory, address: ") + kNullPointerText);
  debug(std::string("printImage: Freed the memory for processing result, address: ") +
        kPointerText);
  debug("printImage: Image processing completed");
  return page;
}

}  // namespace model
