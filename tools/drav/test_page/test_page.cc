// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/test_page/test_page.h"

#include <cups/raster.h>
#include <cmath>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include "tools/drav/document/page_header.h"
#include "tools/drav/draw/drawing_file.h"
#include "tools/drav/io/interruption.h"
#include "tools/drav/io/output_name.h"
#include "tools/drav/io/text.h"
#include "tools/drav/job/paper_scale.h"
#include "tools/drav/test_page/test_page_drawing.h"

namespace {

// What is drawn, and where it goes.
struct Finished {
  std::unique_ptr<InkCanvas> canvas;
  cups_page_header2_t header = {};
  PaperChoice paper;
  uint32_t resolution = 0;
  std::string title;
  std::vector<std::string> notes;
};

bool drawPage(const TestPageRequest& request, Finished& page, std::string& error) {
  const Interruption interruption;
  Progress progress(request.quiet);
  DriverFile driver;
  if (!driver.open(request.job, error)) return false;
  page.canvas = drawTestPage(driver, progress, page.paper, error);
  if (!page.canvas) return false;
  page.header = makeGreyHeader(driver, page.canvas->width(), page.canvas->height());
  page.header.cupsPageSize[1] = static_cast<float>(page.paper.length);
  page.header.PageSize[1] = static_cast<unsigned>(std::lround(page.paper.length));
  std::memset(page.header.cupsPageSizeName, 0, sizeof page.header.cupsPageSizeName);
  page.paper.name.copy(page.header.cupsPageSizeName, sizeof page.header.cupsPageSizeName - 1);
  page.resolution = driver.resolutionX();
  page.title = driver.title() + ", test page";
  page.notes = driver.notes();
  return true;
}

ssize_t writeCallback(void* stream, unsigned char* bytes, size_t size) {
  return static_cast<ssize_t>(std::fwrite(bytes, 1, size, static_cast<std::FILE*>(stream)));
}

bool writeRaster(OutputFile& file, const std::string& path, Finished& page, std::string& error) {
  if (!file.open(path, error)) return false;
  std::vector<uint8_t> pixels = page.canvas->pixels();
  errno = 0;
  cups_raster_t* raster = cupsRasterOpenIO(writeCallback, file.stream(), CUPS_RASTER_WRITE);
  const auto size = static_cast<unsigned>(pixels.size());
  const bool written = raster != nullptr && cupsRasterWriteHeader2(raster, &page.header) != 0 &&
                       cupsRasterWritePixels(raster, pixels.data(), size) == size;
  cupsRasterClose(raster);
  if (!written) error = printablePath(path) + ": " + std::strerror(errno != 0 ? errno : EIO);
  return written && file.complete(error);
}

// The page as one picture whose pixels are the printer's dots.
bool writePdf(OutputFile& file, const std::string& path, const Finished& page, std::string& error) {
  const int width = static_cast<int>(page.canvas->width());
  const int height = static_cast<int>(page.canvas->height());
  const CairoSurface picture = makeImageSurface(CAIRO_FORMAT_RGB24, width, height);
  for (int y = 0; y < height; ++y) {
    auto* row = reinterpret_cast<uint32_t*>(
        cairo_image_surface_get_data(picture.get()) +
        static_cast<size_t>(cairo_image_surface_get_stride(picture.get())) *
            static_cast<size_t>(y));
    for (int x = 0; x < width; ++x)
      row[x] = (255U - page.canvas->pixel(static_cast<uint32_t>(x), static_cast<uint32_t>(y))) *
               0x010101U;
  }
  cairo_surface_mark_dirty(picture.get());
  const Drawing drawing = {width, height, [&picture](cairo_t* context) {
                             cairo_set_source_surface(context, picture.get(), 0, 0);
                             cairo_pattern_set_filter(cairo_get_source(context),
                                                      CAIRO_FILTER_NEAREST);
                             cairo_paint(context);
                           }};
  return writePdfDrawings(file, path, {drawing}, kPointsPerInch / page.resolution, page.title,
                          error);
}

}  // namespace

bool makeTestPage(const TestPageRequest& request, TestPageFacts& facts, std::string& error) {
  const std::string ending = endingOf(request.out);
  if (ending != ".pdf" && ending != ".ras") {
    error = printablePath(request.out) +
            ": the name of a test page ends in .pdf or, for CUPS raster, in .ras";
    return false;
  }
  Finished page;
  if (!drawPage(request, page, error)) return false;
  OutputFile file;
  const bool written = ending == ".ras" ? writeRaster(file, request.out, page, error)
                                        : writePdf(file, request.out, page, error);
  facts = {page.paper, page.canvas->width(), page.canvas->height(), page.notes};
  return written && file.commit(error);
}
