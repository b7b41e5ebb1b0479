// SPDX-License-Identifier: Apache-2.0
#include "printer/drav_printer.h"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <utility>

namespace {

int clampPercent(int value) { return std::clamp(value, -100, 100); }

// False for a stream that has lost bytes: those behind them would be taken for
// the rest of a torn band.
bool takesBytes(std::FILE* stream) { return stream != nullptr && std::ferror(stream) == 0; }

}  // namespace

DravPrinter::DravPrinter() : outputStreams_{stdout}, clock_([] { return std::time(nullptr); }) {}

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
  antiWrinkle_ = level;
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
  brightness_ = clampPercent(brightness);
  return *this;
}

DravPrinter& DravPrinter::setContrast(int contrast) {
  contrast_ = clampPercent(contrast);
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
  halftoneType_ = type;
  return *this;
}

DravPrinter& DravPrinter::setNegativePrint(bool negative) {
  negativePrint_ = negative;
  return *this;
}

DravPrinter& DravPrinter::setRotate180Print(bool rotate) {
  rotate180Print_ = rotate;
  return *this;
}

DravPrinter& DravPrinter::setMirrorPrint(bool mirror) {
  mirrorPrint_ = mirror;
  return *this;
}

DravPrinter& DravPrinter::setRemoveBlankEdges(unsigned char edges) {
  removeBlankEdges_ = edges;
  return *this;
}

DravPrinter& DravPrinter::setSkipRightPixels(unsigned long pixels) {
  skipRightPixels_ = pixels;
  return *this;
}

DravPrinter& DravPrinter::setUserData(UserData* data) {
  userData_ = data;
  return *this;
}

const char* DravPrinter::getCopyRight() { return "MFT:44726176"; }

DravPrinter& DravPrinter::setClock(std::function<std::time_t()> clock) {
  clock_ = std::move(clock);
  return *this;
}

DravPrinter& DravPrinter::setDumpFolder(const std::string& folder) {
  dumpFolder_ = folder;
  pictureKind_ = "prnimg";
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
