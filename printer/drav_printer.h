// SPDX-License-Identifier: Apache-2.0
// The printer object of a job: print parameters, page images, output streams,
// and the pipeline that turns a grey page into printer bytes.
#ifndef PRINTER_DRAV_PRINTER_H_
#define PRINTER_DRAV_PRINTER_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "image/halftones.h"
#include "image/palette_image.h"
#include "printer/page_picture.h"
#include "printer/page_settings.h"

struct cups_page_header2_s;  // CUPS raster format, cups/raster.h

// Abstract: a concrete printer turns the finished page into its own commands in
// doPrintImage. Used by one thread.
//
// Ownership: the page images are the printer's; the streams, the page header
// and the user data stay the caller's and must outlive their use. Setters that
// adjust a value say so; none fails, and each returns the object for chaining.
class DravPrinter {
 public:
  // A record of the caller's that the printer only carries along.
  struct UserData;

  DravPrinter();
  virtual ~DravPrinter();
  DravPrinter(const DravPrinter&) = delete;
  DravPrinter& operator=(const DravPrinter&) = delete;

  // Sends one finished page, a byte a pixel, non-zero is a dot. Works in place:
  // the pixels hold packed rows afterwards.
  virtual void doPrintImage(const unsigned char* pixels, uint64_t bytesPerLine, uint64_t height,
                            uint64_t width) = 0;

  // ---- Print parameters ---------------------------------------------------

  DravPrinter& SetPrintWidth(long width);
  long GetPrintWidth() const { return printWidth_; }
  // Header of the page that printImage is about to get; not copied.
  DravPrinter& setPageHeader(cups_page_header2_s* header);
  cups_page_header2_s* getPageHeader() const { return pageHdr_; }
  // Thickness of the anti-wrinkle frame's sides in millimetres; 0 is no frame.
  DravPrinter& setAntiWrinkle(int level);
  int getAntiWrinkle() const { return settings_.antiWrinkle; }
  // Overwritten on each page by what the halftone type asks for.
  DravPrinter& setUseQZDithering(bool use);
  bool getUseQZDithering() const { return useQZDithering_; }
  DravPrinter& setMaxMediaWidth(int width);
  int getMaxMediaWidth() const { return maxMediaWidth_; }
  DravPrinter& setVBarcodeOpt(int option);
  int getVBarcodeOpt() const { return vBarcodeOpt_; }
  // -100 to 100, clamped. Positive values print more ink.
  DravPrinter& setBrightness(int brightness);
  int getBrightness() const { return settings_.brightness; }
  // -100 to 100, clamped.
  DravPrinter& setContrast(int contrast);
  int getContrast() const { return settings_.contrast; }
  // Number as text, 1 to 15, clamped; a text that is no number gives 1.
  DravPrinter& setPrintSpeed(const char* speed);
  int getPrintSpeed() const { return printSpeed_; }
  // 0 to 15, clamped.
  DravPrinter& setPrintDensity(int density);
  int getPrintDensity() const { return printDensity_; }
  DravPrinter& setHalftoneType(DitherType type);
  DitherType getHalftoneType() const { return settings_.halftoneType; }
  DravPrinter& setNegativePrint(bool negative);
  bool isNegativePrint() const { return settings_.negativePrint; }
  DravPrinter& setRotate180Print(bool rotate);
  bool isRotate180Print() const { return settings_.rotate180Print; }
  DravPrinter& setMirrorPrint(bool mirror);
  bool isMirrorPrint() const { return settings_.mirrorPrint; }
  // Bit 2: measure blank rows at the top; bit 8: at the bottom. Reported in the
  // log only; nothing is trimmed.
  DravPrinter& setRemoveBlankEdges(unsigned char edges);
  unsigned char getRemoveBlankEdges() const { return settings_.removeBlankEdges; }
  // Pixels at the right end of each row that are neither measured nor printed.
  DravPrinter& setSkipRightPixels(unsigned long pixels);
  unsigned long getSkipRightPixels() const { return settings_.skipRightPixels; }
  DravPrinter& setUserData(UserData* data);
  UserData* getUserData() const { return userData_; }
  // Dots per inch; fixed.
  int getResolution() const { return settings_.resolution; }
  // Manufacturer text: "MFT:" and hexadecimal byte pairs. Static.
  static const char* getCopyRight();

  // ---- Options of our own: printImage alone heeds them --------------------------

  // Prints the page's dots as paper and its paper as dots, between the negative and
  // the frame. Padding, skipped pixels and pages without a dot stay as they are.
  DravPrinter& setInvertPage(bool invert);
  bool isInvertPage() const { return settings_.invertPage; }
  // Leaves out blank rows, but for 8 mm; a page without a dot sends nothing. Has no
  // effect on a page with a frame.
  DravPrinter& setTrimPaper(TrimPaper trim);
  TrimPaper getTrimPaper() const { return settings_.trimPaper; }
  // Whether printImage saves its two diagnostic pictures.
  DravPrinter& setKeepPictures(bool keep);
  bool getKeepPictures() const { return settings_.keepPictures; }

  // ---- Seams ----------------------------------------------------------------

  // The clock that names diagnostic pictures; the system's by default.
  DravPrinter& setClock(std::function<std::time_t()> clock);
  // Folder of the diagnostic pictures, /var/spool/cups/tmp by default. It is
  // not created. An empty name: none are saved, and nothing is reported.
  DravPrinter& setDumpFolder(const std::string& folder);
  // Asked before each raster band; when it answers true, no further band goes
  // out. By default nothing stops a page.
  DravPrinter& setStopRequested(std::function<bool()> stopRequested);
  // Bands sent so far, and whether a stop has left a page unfinished.
  uint64_t bandsSent() const { return bandsSent_; }
  bool rasterInterrupted() const { return rasterInterrupted_; }

  // ---- Output ---------------------------------------------------------------

  // The live list, standard output at first. Every primitive below writes the
  // same data to each stream in this order. Null entries are passed over, and
  // streams whose error flag is set: what has been written stays a beginning of the
  // whole, even when the stream could take bytes again. None flushes, closes or
  // reports an error: the streams keep their own error flags.
  std::vector<std::FILE*>& getOutputStreams() { return outputStreams_; }

  void printBytes(const unsigned char* data, unsigned long size);
  void printStr(const char* text);
  void printByte(unsigned char value);
  // Returns what vfprintf returned for the last stream that was written to; 0
  // when there was none.
  __attribute__((format(printf, 2, 3))) int printFormat(const char* format, ...);

  // ---- Page -----------------------------------------------------------------

  // Prints one page: `height` rows of `bytesPerLine` bytes, a grey byte a pixel,
  // 0 is no ink, of which `width` are the picture. Measures and logs blank
  // edges, saves the page and its halftone as diagnostic pictures, processes and
  // sends it. Failures are logged and leave the page out, and so is a frame that
  // does not fit what prints.
  // REQUIRES: width <= bytesPerLine. Throws std::bad_alloc.
  void printImage(const unsigned char* pixels, uint64_t bytesPerLine, uint64_t height,
                  uint64_t width);

  // Turns a grey page (`height` rows of `stride` bytes) into the finished page
  // image and copies it to `dst`, 2 * stride * height bytes, beyond which nothing
  // is written. Returns the bytes filled, or 0 on failure.
  int32_t PageProcess(DitherType type, const uint8_t* src, int32_t stride, int32_t width,
                      int32_t height, uint8_t* dst);

  // Copies the indices of `image` into rows of `stride` bytes. Nothing is
  // written from `capacity` on.
  static void copyPixels(const PaletteImage& image, uint8_t* dst, int32_t width, int32_t height,
                         int32_t stride, size_t capacity = SIZE_MAX);

  // The same with index 1 as 0xFF and, when printing negative, complemented.
  void copyProcessedPixels(const PaletteImage* image, uint8_t* dst, int32_t width, int32_t height,
                           int32_t stride, size_t capacity = SIZE_MAX) const;

  // Places `image` on the canvas of its paper size (named by the page header)
  // and draws the four bands of the anti-wrinkle frame with index 255.
  void EnableAntiWrink(PaletteImage& image) const;

  // Packs `height` rows of `bytesPerLine` bytes in place, rows back to back,
  // without the skipped pixels at their right. Returns the packed bytes.
  int32_t GrayToMono(int32_t bytesPerLine, int32_t height, uint8_t* pixels) const;

  // Writes a diagnostic BMP under a name made from the clock and a counter of
  // the process, 8 bits a pixel for `bitsPerPixel` 8 and else 1 bit. A file that
  // cannot be opened is reported on standard error and skipped.
  void saveImage(const unsigned char* pixels, uint64_t bytesPerLine, uint64_t height,
                 uint64_t width, uint16_t bitsPerPixel);

 protected:
  // For the concrete printer's bands: asks whether to stop, and counts.
  bool shouldStopRaster();
  // A concrete printer that takes rows packed as GrayToMono packs them gets pages
  // that way, without doPrintImage. `packed` holds `height` rows.
  virtual bool takesPackedRows() const { return false; }
  virtual void doPrintPacked(uint8_t* packed, uint32_t packedLength, uint64_t height);
  void countBand() { ++bandsSent_; }

 private:
  void chooseHalftone();
  void adjustPage();
  bool halftoneClassic(DitherType type);
  bool halftoneTattoo(uint8_t* dst, int32_t stride, int32_t width, int32_t height, size_t capacity);

  PaletteImage paletteImage_;       // the page, and its classic halftone
  PaletteImage qzPaletteImage_;     // the page's tattoo halftone
  PaletteImage* pimage_ = nullptr;  // whichever holds PageProcess's finished page
  PageSettings settings_;
  PageBitmaps pictures_;
  std::vector<std::FILE*> outputStreams_;
  cups_page_header2_s* pageHdr_ = nullptr;
  int maxMediaWidth_ = 0;
  long printWidth_ = 0;
  int vBarcodeOpt_ = 0;
  int printSpeed_ = 7;
  int printDensity_ = 8;
  bool useQZDithering_ = false;
  UserData* userData_ = nullptr;

  std::function<bool()> stopRequested_;
  uint64_t bandsSent_ = 0;
  bool rasterInterrupted_ = false;
};

#endif  // PRINTER_DRAV_PRINTER_H_
