// SPDX-License-Identifier: Apache-2.0
#include "printer/drav_printer.h"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <utility>

#include "printer/page_path.h"

namespace {

int clampPercent(int value) { return std::clamp(value, -100, 100); }

// False for a stream that has lost bytes: those behind them would be taken for
// the rest of a torn band.
bool takesBytes(std::FILE* stream) { return stream != nullptr && std::ferror(stream) == 0; }

}  // namespace

DravPrinter::DravPrinter() : outputStreams_{stdout} {}

DravPrinter::~DravPrinter() {
  paletteImage_.Destroy();
  qzPaletteImage_.Destroy();
}

DravPrinter& DravPrinter::SetPrintWidth(long width) {
  printWidth_ = width;
  return *this;
}

DravPrinter& DravPrinter::setPageHeader(cups_page_header2_s* header) {
  pageHdr_ = header;
  return *this;
}

DravPrinter& DravPrinter::setAntiWrinkle(int level) {
  settings_.antiWrinkle = level;
  return *this;
}

DravPrinter& DravPrinter::setUseQZDithering(bool use) {
  useQZDithering_ = use;
  return *this;
}

DravPrinter& DravPrinter::setMaxMediaWidth(int width) {
  maxMediaWidth_ = width;
  return *this;
}

DravPrinter& DravPrinter::setVBarcodeOpt(int option) {
  vBarcodeOpt_ = option;
  return *this;
}

DravPrinter& DravPrinter::setBrightness(int brightness) {
  settings_.brightness = clampPercent(brightness);
  return *this;
}

DravPrinter& DravPrinter::setContrast(int contrast) {
  settings_.contrast = clampPercent(contrast);
  return *this;
}

DravPrinter& DravPrinter::setPrintSpeed(const char* speed) {
  printSpeed_ = std::clamp(speed != nullptr ? std::atoi(speed) : 0, 1, 15);
  return *this;
}

DravPrinter& DravPrinter::setPrintDensity(int density) {
  printDensity_ = std::clamp(density, 0, 15);
  return *this;
}

DravPrinter& DravPrinter::setHalftoneType(DitherType type) {
  settings_.halftoneType = type;
  return *this;
}

DravPrinter& DravPrinter::setNegativePrint(bool negative) {
  settings_.negativePrint = negative;
  return *this;
}

DravPrinter& DravPrinter::setRotate180Print(bool rotate) {
  settings_.rotate180Print = rotate;
  return *this;
}

DravPrinter& DravPrinter::setMirrorPrint(bool mirror) {
  settings_.mirrorPrint = mirror;
  return *this;
}

DravPrinter& DravPrinter::setRemoveBlankEdges(unsigned char edges) {
  settings_.removeBlankEdges = edges;
  return *this;
}

DravPrinter& DravPrinter::setSkipRightPixels(unsigned long pixels) {
  settings_.skipRightPixels = pixels;
  return *this;
}

DravPrinter& DravPrinter::setUserData(UserData* data) {
  userData_ = data;
  return *this;
}

DravPrinter& DravPrinter::setInvertPage(bool invert) {
  settings_.invertPage = invert;
  return *this;
}

DravPrinter& DravPrinter::setTrimPaper(TrimPaper trim) {
  settings_.trimPaper = trim;
  return *this;
}

DravPrinter& DravPrinter::setKeepPictures(bool keep) {
  settings_.keepPictures = keep;
  return *this;
}

const char* DravPrinter::getCopyRight() { return "MFT:44726176"; }

DravPrinter& DravPrinter::setClock(std::function<std::time_t()> clock) {
  pictures_.setClock(std::move(clock));
  return *this;
}

DravPrinter& DravPrinter::setDumpFolder(const std::string& folder) {
  pictures_.setFolder(folder);
  pictures_.setKind("prnimg");
  return *this;
}

DravPrinter& DravPrinter::setStopRequested(std::function<bool()> stopRequested) {
  stopRequested_ = std::move(stopRequested);
  return *this;
}

bool DravPrinter::shouldStopRaster() {
  if (stopRequested_ && stopRequested_()) rasterInterrupted_ = true;
  return rasterInterrupted_;
}

void DravPrinter::doPrintPacked(uint8_t* /*packed*/, uint32_t /*packedLength*/,
                                uint64_t /*height*/) {}

void DravPrinter::printImage(const unsigned char* pixels, uint64_t bytesPerLine, uint64_t height,
                             uint64_t width) {
  rasterInterrupted_ = false;
  useQZDithering_ = settings_.isTattoo();
  pimage_ = nullptr;
  PageReceiver receiver;
  if (takesPackedRows()) {
    receiver.packed = [this](uint8_t* rows, uint32_t bytes, uint64_t rowCount) {
      doPrintPacked(rows, bytes, rowCount);
    };
  } else {
    receiver.image = [this](uint8_t* rows, uint64_t rowBytes, uint64_t rowCount, uint64_t columns) {
      doPrintImage(rows, rowBytes, rowCount, columns);
    };
  }
  printPage({settings_, pageHdr_, pictures_, receiver}, pixels, bytesPerLine, height, width);
}

void DravPrinter::saveImage(const unsigned char* pixels, uint64_t bytesPerLine, uint64_t height,
                            uint64_t width, uint16_t bitsPerPixel) {
  pictures_.save(pixels, bytesPerLine, height, width, bitsPerPixel);
}

void DravPrinter::printBytes(const unsigned char* data, unsigned long size) {
  if (size == 0) return;  // `data` may be null
  for (std::FILE* stream : outputStreams_) {
    if (takesBytes(stream)) std::fwrite(data, size, 1, stream);
  }
}

void DravPrinter::printStr(const char* text) {
  for (std::FILE* stream : outputStreams_) {
    if (takesBytes(stream)) std::fprintf(stream, "%s", text);
  }
}

void DravPrinter::printByte(unsigned char value) {
  for (std::FILE* stream : outputStreams_) {
    if (takesBytes(stream)) std::fputc(value, stream);
  }
}

int DravPrinter::printFormat(const char* format, ...) {
  int result = 0;
  for (std::FILE* stream : outputStreams_) {
    if (!takesBytes(stream)) continue;
    va_list values;
    va_start(values, format);
    result = std::vfprintf(stream, format, values);
    va_end(values);
  }
  return result;
}
