// SPDX-License-Identifier: Apache-2.0
// Writes a page of a test pattern as CUPS raster (8-bit K, 300 dpi) and as PGM for
// other programs, in which 0 is black.
//
// usage: make_page PATTERN WIDTH HEIGHT RASTER [PGM [SIZE-NAME]]
#include <cups/raster.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "tests/model/page_patterns.h"

namespace {

bool writeRaster(const model::Grey& page, const char* path, const std::string& sizeName) {
  const int descriptor = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (descriptor < 0) return false;
  cups_raster_t* raster = cupsRasterOpen(descriptor, CUPS_RASTER_WRITE);
  cups_page_header2_t header = {};
  header.HWResolution[0] = header.HWResolution[1] = 300;
  header.NumCopies = 1;
  header.cupsWidth = header.cupsBytesPerLine = static_cast<unsigned>(page.width);
  header.cupsHeight = static_cast<unsigned>(page.height);
  header.cupsBitsPerColor = header.cupsBitsPerPixel = 8;
  header.cupsNumColors = 1;
  header.cupsColorSpace = CUPS_CSPACE_K;
  sizeName.copy(header.cupsPageSizeName, sizeof header.cupsPageSizeName - 1);
  bool written = cupsRasterWriteHeader2(raster, &header) != 0;
  std::vector<uint8_t> pixels = page.pixels;
  const auto size = static_cast<unsigned>(pixels.size());
  written = written && cupsRasterWritePixels(raster, pixels.data(), size) == size;
  cupsRasterClose(raster);
  return close(descriptor) == 0 && written;
}

bool writePgm(const model::Grey& page, const char* path) {
  std::FILE* file = std::fopen(path, "wb");
  if (file == nullptr) return false;
  std::fprintf(file, "P5\n%d %d\n255\n", page.width, page.height);
  const bool written = std::fwrite(page.pixels.data(), page.pixels.size(), 1, file) == 1;
  return std::fclose(file) == 0 && written;
}

}  // namespace

int main(int argc, char* argv[]) try {
  if (argc < 5 || argc > 7) {
    std::fprintf(stderr, "usage: make_page PATTERN WIDTH HEIGHT RASTER [PGM [SIZE-NAME]]\n");
    return 2;
  }
  const std::string pattern = argv[1];
  const int width = std::atoi(argv[2]);
  const int height = std::atoi(argv[3]);
  const model::Grey page = pattern == "drawing" ? model::ringsPage(width, height, 1)
                                                : model::patternPage(pattern, width, height, 1);
  if (!writeRaster(page, argv[4], argc == 7 ? argv[6] : "") ||
      (argc >= 6 && !writePgm(page, argv[5]))) {
    std::perror("make_page");
    return 2;
  }
  return 0;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "make_page: %s\n", failure.what());
  return 2;
}
