// SPDX-License-Identifier: Apache-2.0
// Runs one step of a page's preparation, or a halftone as the filter makes it, on a portable
// greymap or pixmap of 300 dots per inch. scripts/measure-clean measures with it. Prints the
// step's own CPU seconds and by how many KiB it raised the peak of memory (0 where the system
// does not tell).
//
// usage: prepare_picture clean|lines|None|Tattoo IN OUT
//
// OUT is a portable greymap; of a halftone, 0 is a dot and 255 is none.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "documents/prepare/clean_drawing.h"
#include "documents/prepare/outline_shapes.h"
#include "image/halftone_rows.h"
#include "tattoo/pipeline.h"
#include "tattoo/qz_image.h"

namespace {

constexpr double kDotsPerInch = 300;

struct Map {
  uint32_t width = 0;
  uint32_t height = 0;
  uint32_t channels = 1;
  std::vector<uint8_t> pixels;
};

Map readMap(const char* path) {
  std::ifstream file(path, std::ios::binary);
  std::string kind;
  int most = 0;
  Map map;
  file >> kind >> map.width >> map.height >> most;
  file.get();
  if (!file || (kind != "P5" && kind != "P6") || most != 255) {
    throw std::runtime_error(std::string(path) + ": no 8-bit portable map");
  }
  map.channels = kind == "P6" ? 3 : 1;
  map.pixels.resize(size_t{map.width} * map.height * map.channels);
  file.read(reinterpret_cast<char*>(map.pixels.data()),
            static_cast<std::streamsize>(map.pixels.size()));
  if (!file) throw std::runtime_error(std::string(path) + ": cut short");
  return map;
}

void writeMap(const Map& map, const char* path) {
  std::ofstream file(path, std::ios::binary);
  file << "P5\n" << map.width << ' ' << map.height << "\n255\n";
  file.write(reinterpret_cast<const char*>(map.pixels.data()),
             static_cast<std::streamsize>(map.pixels.size()));
  if (!file.flush()) throw std::runtime_error(std::string(path) + ": cannot be written");
}

// The page as the halftones take it, 0 for no ink, and back.
void invert(Map& map) {
  for (uint8_t& level : map.pixels) level = static_cast<uint8_t>(255 - level);
}

void halftoneNone(Map& map) {
  const uint32_t width = map.width;
  const std::vector<uint8_t> page = map.pixels;
  const auto source = [&](uint32_t y, uint8_t* row) {
    std::copy_n(&page[size_t{y} * width], width, row);
  };
  const auto sink = [&](uint32_t y, const uint8_t* row) {
    for (uint32_t x = 0; x < width; ++x) map.pixels[size_t{y} * width + x] = row[x] != 0 ? 255 : 0;
  };
  halftoneRows(0, width, map.height, source, sink);
}

void halftoneTattoo(Map& map) {
  const QZImage page(static_cast<int32_t>(map.width), static_cast<int32_t>(map.height), QZ_IMG_GRAY,
                     map.pixels.data());
  const QZImage dots = qzTattooDithering(page);
  map.pixels.assign(dots.data, dots.data + dots.pixelCount());
}

// The most memory that this program has held, in KiB.
long peakKib() {
  std::ifstream status("/proc/self/status");
  std::string word;
  long kib = 0;
  while (status >> word) {
    if (word == "VmHWM:") status >> kib;
  }
  return kib;
}

void runStep(std::string_view step, Map& map) {
  if (step == "lines") {
    map.pixels = outlineShapes(map.pixels, map.width, map.height, map.channels, kDotsPerInch);
    map.channels = 1;
    return;
  }
  if (map.channels != 1) throw std::runtime_error("this step takes a portable greymap");
  if (step == "clean") {
    cleanDrawing(map.pixels, map.width, map.height, kDotsPerInch);
    return;
  }
  invert(map);
  if (step == "None") {
    halftoneNone(map);
  } else if (step == "Tattoo") {
    halftoneTattoo(map);
  } else {
    throw std::runtime_error("the step is clean, lines, None or Tattoo");
  }
  invert(map);
}

}  // namespace

int main(int argc, char* argv[]) try {
  if (argc != 4) throw std::runtime_error("usage: prepare_picture clean|lines|None|Tattoo IN OUT");
  Map map = readMap(argv[2]);
  const long before = peakKib();
  const std::clock_t start = std::clock();
  runStep(argv[1], map);
  const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  std::printf("%.4f %ld\n", seconds, peakKib() - before);
  writeMap(map, argv[3]);
  return 0;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "prepare_picture: %s\n", failure.what());
  return 2;
}
