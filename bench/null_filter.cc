// SPDX-License-Identifier: Apache-2.0
// The unavoidable work of a page and nothing else: reads the raster through
// libcups, writes two files of the diagnostic pictures' size and as many bytes as
// the packed pages have. What the filter costs is measured against it.
//
// usage: null_filter FOLDER < page.ras > bytes
#include <cups/raster.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <string>

namespace {

constexpr size_t kBmpHeaderBytes = 1078;

bool writeFile(const std::string& path, const uint8_t* bytes, size_t size) {
  std::FILE* file = std::fopen(path.c_str(), "wb+");
  if (file == nullptr) return false;
  const bool written =
      std::fwrite(bytes, kBmpHeaderBytes, 1, file) == 1 && std::fwrite(bytes, size, 1, file) == 1;
  return std::fclose(file) == 0 && written;
}

}  // namespace

int main(int argc, char* argv[]) {
  if (argc != 2) return EXIT_FAILURE;
  cups_raster_t* raster = cupsRasterOpen(STDIN_FILENO, CUPS_RASTER_READ);
  cups_page_header2_t header = {};
  std::unique_ptr<uint8_t[]> page;
  size_t capacity = 0;
  int pages = 0;
  while (raster != nullptr && cupsRasterReadHeader2(raster, &header) != 0) {
    const size_t size = size_t{header.cupsBytesPerLine} * header.cupsHeight;
    if (size > capacity) {
      page.reset(new (std::nothrow) uint8_t[size]);
      if (page == nullptr) return EXIT_FAILURE;
      capacity = size;
    }
    if (cupsRasterReadPixels(raster, page.get(), static_cast<unsigned>(size)) < 1) break;
    const std::string stem = std::string(argv[1]) + "/null_" + std::to_string(pages++);
    if (!writeFile(stem + "a.bmp", page.get(), size) ||
        !writeFile(stem + "b.bmp", page.get(), size)) {
      return EXIT_FAILURE;
    }
    std::fwrite(page.get(), (header.cupsBytesPerLine + size_t{7}) / 8 * header.cupsHeight, 1,
                stdout);
  }
  cupsRasterClose(raster);
  return pages > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
