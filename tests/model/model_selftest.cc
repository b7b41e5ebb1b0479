// SPDX-License-Identifier: Apache-2.0
// Known answers for the models: worked examples, check rows and edge cases.

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "tests/model/dither.h"
#include "tests/model/grey.h"
#include "tests/model/numbers.h"
#include "tests/model/page_patterns.h"
#include "tests/model/pages.h"
#include "tests/model/palette_image.h"
#include "tests/model/stream.h"
#include "tests/model/tattoo.h"
#include "tests/model/tone.h"

namespace {

using namespace model;
using Bytes = std::vector<uint8_t>;
using std::to_string;

int checks = 0;
int failures = 0;

void expectTrue(bool ok, const std::string& what) {
  ++checks;
  if (ok) return;
  ++failures;
  std::fprintf(stderr, "FAILED: %s\n", what.c_str());
}

void expectInt(int64_t got, int64_t want, const std::string& what) {
  expectTrue(got == want, what + ": got " + to_string(got) + ", want " + to_string(want));
}

void expectText(const std::string& got, const std::string& want, const std::string& what) {
  expectTrue(got == want, what + ": got \"" + got + "\", want \"" + want + "\"");
}

void expectNear(double got, double want, double tolerance, const std::string& what) {
  expectTrue(std::fabs(got - want) <= tolerance,
             what + ": got " + to_string(got) + ", want " + to_string(want));
}

std::string hexOf(const Bytes& bytes) {
  std::string out;
  char text[4];
  for (uint8_t byte : bytes) {
    std::snprintf(text, sizeof text, "%02X ", static_cast<unsigned>(byte));
    out += text;
  }
  if (!out.empty()) out.pop_back();
  return out;
}

void expectHex(const Bytes& got, const std::string& want, const std::string& what) {
  expectText(hexOf(got), want, what);
}

Bytes toBytes(const std::vector<int>& values) {
  Bytes out;
  for (int v : values) out.push_back(static_cast<uint8_t>(v));
  return out;
}

Grey greyOf(int width, int height, const std::vector<int>& values) {
  Grey picture;
  picture.width = width;
  picture.height = height;
  picture.pixels = toBytes(values);
  return picture;
}

// --- Tone -------------------------------------------------------------------------------------

void testTone() {
  const ToneTable identity = lightTable(0, 0);
  for (int i = 0; i < 256; ++i) {
    expectInt(identity[static_cast<size_t>(i)], i, "identity table " + to_string(i));
  }
  const ToneTable brighter = lightTable(50, 0);
  expectInt(brighter[0], 50, "brightness 50 of 0");
  expectInt(brighter[204], 254, "brightness 50 of 204");
  expectInt(brighter[205], 255, "brightness 50 of 205");
  expectInt(brighter[255], 255, "brightness 50 of 255");
  const ToneTable flat = lightTable(0, -100);
  const ToneTable flatMoved = lightTable(30, -100);
  const ToneTable flatClamped = lightTable(300, -100);
  for (size_t i = 0; i < 256; ++i) {
    expectInt(flat[i], 128, "contrast -100");
    expectInt(flatMoved[i], 158, "contrast -100 and brightness 30");
    expectInt(flatClamped[i], 255, "contrast -100 and brightness 300");
  }
  const ToneTable steep = lightTable(0, 100);
  expectInt(steep[64], 0, "contrast 100 of 64");
  expectInt(steep[65], 2, "contrast 100 of 65");
  expectInt(steep[191], 254, "contrast 100 of 191");
  expectInt(steep[192], 255, "contrast 100 of 192");
  // From a setting of 51 on (five times that as table argument) one level is left.
  for (int setting = 51; setting <= 100; ++setting) {
    const ToneTable up = lightTable(setting * 5, 0);
    const ToneTable down = lightTable(-setting * 5, 0);
    bool one = true;
    for (size_t i = 0; i < 256; ++i) one = one && up[i] == 255 && down[i] == 0;
    expectTrue(one, "brightness " + to_string(setting) + " leaves one level");
  }
  expectTrue(lightTable(250, 0)[0] != 255, "brightness 50 leaves more than one level");

  const Grey noise = noisePage(7, 5, 1);
  expectTrue(negative(negative(noise)).pixels == noise.pixels, "negative twice");
  expectTrue(mirror(mirror(noise)).pixels == noise.pixels, "mirror twice");
  expectTrue(rotate180(rotate180(noise)).pixels == noise.pixels, "rotation twice");
  const Grey both = mirror(rotate180(noise));
  for (int y = 0; y < 5; ++y) {
    for (int x = 0; x < 7; ++x) {
      expectInt(both.at(x, y), noise.at(x, 4 - y), "rotation and mirror are a vertical flip");
    }
  }
}

Bytes pageWithInkIn(uint64_t rowBytes, uint64_t height, const std::vector<uint64_t>& rows) {
  Bytes page(rowBytes * height, 0);
  for (uint64_t row : rows) page[row * rowBytes + 1] = 9;
  return page;
}

void testBlankRows() {
  const Bytes blank = pageWithInkIn(4, 6, {});
  expectInt(static_cast<int64_t>(countBlankFromFront(blank, 4, 6, 0, 4)), 6, "front, blank");
  expectInt(static_cast<int64_t>(countBlankFromBack(blank, 4, 6, 0, 4)), 0, "back, blank");
  const Bytes first = pageWithInkIn(4, 6, {0});
  expectInt(static_cast<int64_t>(countBlankFromFront(first, 4, 6, 0, 4)), 6, "front, row 0");
  expectInt(static_cast<int64_t>(countBlankFromBack(first, 4, 6, 0, 4)), 1, "back, row 0");
  const Bytes some = pageWithInkIn(4, 6, {0, 3});
  expectInt(static_cast<int64_t>(countBlankFromFront(some, 4, 6, 0, 4)), 2, "front, row 3");
  expectInt(static_cast<int64_t>(countBlankFromBack(some, 4, 6, 0, 4)), 4, "back, row 3");
  const Bytes last = pageWithInkIn(4, 6, {5});
  expectInt(static_cast<int64_t>(countBlankFromFront(last, 4, 6, 0, 4)), 4, "front, row 5");
  expectInt(static_cast<int64_t>(countBlankFromBack(last, 4, 6, 0, 4)), 6, "back, row 5");
  expectInt(static_cast<int64_t>(countBlankFromFront(some, 4, 6, 4, 4)), 6, "front, skip all");
  expectInt(static_cast<int64_t>(countBlankFromBack(some, 4, 6, 4, 4)), 0, "back, skip all");
  expectInt(static_cast<int64_t>(countBlankFromFront(some, 4, 6, 5, 4)), 2, "front, big skip");
  expectInt(static_cast<int64_t>(countBlankFromBack(some, 4, 6, 5, 4)), 4, "back, big skip");
  expectInt(static_cast<int64_t>(countBlankFromBack(some, 4, 6, 3, 4)), 0, "back, skip ink");
  const Bytes one = pageWithInkIn(4, 1, {0});
  expectInt(static_cast<int64_t>(countBlankFromFront(one, 4, 1, 0, 4)), 1, "front, one row");
}

// --- Halftones --------------------------------------------------------------------------------

double whiteShare(const Bytes& bits) {
  size_t white = 0;
  for (uint8_t bit : bits) {
    if (bit != 0) ++white;
  }
  return static_cast<double>(white) / static_cast<double>(bits.size());
}

void testDither() {
  for (long method = 2; method <= 8; ++method) {
    if (method == 7) continue;
    const ErrorKernel kernel = errorKernel(method);
    int sum = 0;
    for (const KernelCell& cell : kernel.cells) sum += cell.weight;
    expectInt(sum, kernel.divisor, "weights of method " + to_string(method));
    const double half = whiteShare(dither(makeGrey(64, 64, 128), method));
    expectNear(half, 0.5, 0.05, "flat 128 by method " + to_string(method));
  }
  expectInt(static_cast<int64_t>(errorKernel(2).cells.size()), 7, "cells of Burkes");
  expectInt(static_cast<int64_t>(errorKernel(3).cells.size()), 12, "cells of Stucki");
  expectInt(static_cast<int64_t>(errorKernel(4).cells.size()), 12, "cells of Jarvis");
  expectInt(static_cast<int64_t>(errorKernel(5).cells.size()), 10, "cells of Sierra");
  expectInt(static_cast<int64_t>(errorKernel(6).cells.size()), 12, "cells of Stevenson");
  expectInt(static_cast<int64_t>(errorKernel(8).cells.size()), 4, "cells of Floyd");

  expectNear(whiteShare(dither(makeGrey(9, 9, 128), 0)), 0.0, 0.0, "flat 128, threshold");
  expectNear(whiteShare(dither(makeGrey(9, 9, 129), 0)), 1.0, 0.0, "flat 129, threshold");
  expectNear(whiteShare(dither(makeGrey(9, 9, 255), 1)), 1.0, 0.0, "flat 255, ordered");
  expectNear(whiteShare(dither(makeGrey(9, 9, 0), 1)), 0.0, 0.0, "flat 0, ordered");
  expectNear(whiteShare(dither(makeGrey(9, 9, 0), 7)), 0.0, 0.0, "flat 0, Bayer");
  expectNear(whiteShare(dither(makeGrey(9, 9, 255), 7)), 1.0, 0.0, "flat 255, Bayer");

  const int ordered[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
  const int bayer[4][4] = {
      {0, 192, 48, 240}, {128, 64, 176, 112}, {32, 224, 16, 208}, {160, 96, 144, 80}};
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 8; ++x) {
      expectInt(orderedThreshold(x, y), ordered[y % 4][x % 4], "ordered threshold");
      expectInt(bayerThreshold(x, y), bayer[y % 4][x % 4], "Bayer threshold");
    }
  }

  const Grey photo = photoPage(61, 43, 5);
  const Bytes floyd = dither(photo, 8);
  expectTrue(dither(photo, 100) == floyd, "method 100 is Floyd-Steinberg");
  expectTrue(dither(photo, -1) == floyd, "method -1 is Floyd-Steinberg");
  expectTrue(dither(photo, 4294967296L) == floyd, "method 2^32 is Floyd-Steinberg");
  expectTrue(dither(photo, 1) != floyd, "method 1 is not Floyd-Steinberg");

  // One column: Floyd-Steinberg keeps 5/16 of each error, the rest is dropped.
  expectHex(dither(greyOf(1, 4, {100, 100, 100, 200}), 8), "00 01 00 01", "one column");
  // By hand: 100 gives 43 to the right (143, white, error -112), which takes 49 off the last.
  expectHex(dither(greyOf(3, 1, {100, 100, 177}), 8), "00 01 00", "one row");

  // Share of dots on a blank page that is only made darker.
  const Bytes lifted5 = dither(applyTable(makeGrey(400, 400, 0), lightTable(25, 0)), 1);
  expectNear(whiteShare(lifted5), 0.0625, 0.0, "blank page, brightness 5, ordered");
  const Bytes burkes5 = dither(applyTable(makeGrey(400, 400, 0), lightTable(25, 0)), 2);
  expectNear(whiteShare(burkes5), 0.086, 0.003, "blank page, brightness 5, Burkes");
  const Bytes lifted20 = dither(applyTable(makeGrey(400, 400, 0), lightTable(100, 0)), 1);
  expectNear(whiteShare(lifted20), 0.38, 0.02, "blank page, brightness 20");
  for (long method = 0; method <= 8; ++method) {
    const Bytes solid = dither(applyTable(makeGrey(40, 40, 0), lightTable(255, 0)), method);
    expectNear(whiteShare(solid), 1.0, 0.0, "blank page, brightness 51");
  }
}

// --- Palette image ----------------------------------------------------------------------------

PaletteImage imageOf(const Grey& picture) {
  PaletteImage image;
  image.CreateFromArray(picture.pixels.data(), static_cast<uint32_t>(picture.width),
                        static_cast<uint32_t>(picture.height), 8,
                        static_cast<uint32_t>(picture.width), false);
  return image;
}

Bytes indicesOf(const PaletteImage& image) {
  Bytes out;
  for (uint32_t y = 0; y < image.GetHeight(); ++y) {
    for (uint32_t x = 0; x < image.GetWidth(); ++x) {
      out.push_back(image.BlindGetPixelIndex(static_cast<long>(x), static_cast<long>(y)));
    }
  }
  return out;
}

tagRGBQUAD colour(int red, int green, int blue) {
  tagRGBQUAD quad;
  quad.rgbRed = static_cast<uint8_t>(red);
  quad.rgbGreen = static_cast<uint8_t>(green);
  quad.rgbBlue = static_cast<uint8_t>(blue);
  return quad;
}

void testPaletteCreation() {
  PaletteImage image;
  expectInt(image.GetWidth(), 0, "width of a fresh image");
  expectText(image.GetLastError(), "", "text of a fresh image");
  expectTrue(!image.Create(0, 5, 8, 0), "no width");
  expectText(image.GetLastError(),
             "PaletteImage::Create : width and height must be greater than zero", "no width");
  expectTrue(!image.Create(5, 0, 8, 0), "no height");
  const uint32_t wanted[][4] = {{0, 1, 2, 0},   {1, 1, 2, 0},   {2, 4, 16, 0},  {3, 4, 16, 0},
                                {4, 4, 16, 0},  {5, 8, 256, 0}, {8, 8, 256, 0}, {9, 24, 0, 0},
                                {24, 24, 0, 0}, {32, 24, 0, 0}};
  for (const auto& row : wanted) {
    expectTrue(image.Create(5, 3, row[0], 77), "creation");
    expectInt(image.head().biBitCount, row[1], "coerced depth");
    expectInt(image.GetNumColors(), row[2], "palette entries");
    expectInt(image.info().imageType, 77, "type tag");
    expectInt(static_cast<int64_t>(image.block().size()), image.GetSize(), "size of the block");
    for (uint8_t byte : image.rows()) expectInt(byte, 0, "fresh rows are zero");
  }
  image.Create(1, 1, 8, 0);
  expectInt(image.GetEffWidth(), 4, "row of 1 at 8 bits");
  image.Create(33, 1, 1, 0);
  expectInt(image.GetEffWidth(), 8, "row of 33 at 1 bit");
  image.Create(5, 1, 24, 0);
  expectInt(image.GetEffWidth(), 16, "row of 5 at 24 bits");
  expectTrue(!image.Create(65536, 65536, 8, 0), "too large");
  expectText(image.GetLastError(), "PALETTE_IMAGE_MAX_MEMORY exceeded", "too large");
  expectTrue(!image.Create(1, 0x40000000, 8, 0), "rows of one pixel that fill the address range");
  expectText(image.GetLastError(), "PALETTE_IMAGE_MAX_MEMORY exceeded", "padding counts");
  expectInt(image.GetWidth(), 5, "a refused creation leaves the header");
  expectTrue(image.GetBits(0) == nullptr && !image.IsValid(), "a refused creation holds nothing");

  const Bytes bytes = toBytes({1, 2, 3, 4, 5, 6});
  PaletteImage flipped;
  flipped.CreateFromArray(bytes.data(), 3, 2, 8, 3, true);
  expectHex(flipped.rows(), "04 05 06 00 01 02 03 00", "flipped rows");
  PaletteImage straight;
  straight.CreateFromArray(bytes.data(), 3, 2, 8, 3, false);
  expectHex(straight.rows(), "01 02 03 00 04 05 06 00", "rows");
  const Bytes wide = toBytes({1, 2, 3, 9, 8, 4, 5, 6, 7, 8});
  PaletteImage spaced;
  spaced.CreateFromArray(wide.data(), 3, 2, 8, 5, false);
  expectHex(spaced.rows(), "01 02 03 09 04 05 06 07", "padding keeps the source's bytes");
  PaletteImage colours;
  const Bytes four = toBytes({1, 2, 3, 200, 4, 5, 6, 201});
  expectTrue(colours.CreateFromArray(four.data(), 2, 1, 32, 8, false), "32 bits");
  expectHex(colours.rows(), "01 02 03 04 05 06 00 00", "32 bits drop the fourth byte");
  expectTrue(!colours.CreateFromArray(nullptr, 2, 1, 8, 2, false), "no array");
  expectTrue(!colours.CreateFromArray(four.data(), 2, 1, 5, 8, false), "depth 5");
  expectTrue(colours.IsValid(), "a refused array leaves the image");

  PaletteImage to;
  to.Transfer(straight);
  expectTrue(to.IsValid() && !straight.IsValid(), "transfer moves");
  expectInt(straight.GetWidth() + straight.GetHeight(), 0, "transfer empties the source");
  expectText(straight.GetLastError(), "", "transfer clears the source's text");
  expectInt(to.GetWidth(), 3, "transfer keeps the width");
  to.Destroy();
  expectInt(to.GetWidth(), 3, "width after destruction");
  expectTrue(to.GetBits(0) == nullptr && to.GetPalette() == nullptr, "nothing left");
}

void testPalettePixels() {
  PaletteImage image = imageOf(greyOf(3, 2, {50, 60, 70, 80, 90, 100}));
  expectInt(image.GetPixelIndex(-1, 0), 50, "outside gives the first pixel");
  expectInt(image.GetPixelIndex(3, 1), 50, "outside gives the first pixel");
  expectInt(image.GetPixelIndex(2, 1), 100, "inside");
  image.SetPixelIndex(3, 0, 1);
  image.SetPixelIndex(0, -1, 1);
  expectHex(indicesOf(image), "32 3C 46 50 5A 64", "writes outside are ignored");
  expectTrue(image.GetBits(1) == image.GetBits(0) + 4, "second row");
  expectTrue(image.GetBits(2) == nullptr, "row past the end");
  for (int v = 0; v < 256; ++v) {
    expectInt(image.GetNearestIndex(colour(v, v, v)), v, "nearest grey");
  }
  // Distance 2 to both neighbours: 10 and 11 differ from (10, 10, 11) by 1 and 2.
  expectInt(image.GetNearestIndex(colour(10, 10, 11)), 10, "nearest of a tinted grey");

  PaletteImage bits;
  bits.Create(10, 1, 1, 0);
  bits.SetPaletteColor(1, 255, 255, 255, 0);
  for (int x = 0; x < 8; ++x) bits.SetPixelIndex(x, 0, 255);
  bits.SetPixelIndex(3, 0, 2);
  expectHex(bits.rows(), "EF 00 00 00", "255 sets a bit, 2 clears it");
  expectInt(bits.GetPixelIndex(-1, 0), 0xEF, "outside gives the packed byte");
  // A colour just between black and white goes to the lower index.
  PaletteImage tie;
  tie.Create(1, 1, 1, 0);
  tie.SetPaletteColor(0, 10, 0, 0, 0);
  tie.SetPaletteColor(1, 20, 0, 0, 0);
  expectInt(tie.GetNearestIndex(colour(15, 0, 0)), 0, "tie");
  tie.SetPaletteColor(1, 15, 0, 0, 0);
  expectInt(tie.GetNearestIndex(colour(15, 0, 0)), 0, "the cache outlives the palette");
  expectInt(tie.GetNearestIndex(colour(16, 0, 0)), 1, "a new colour is looked up");
  expectInt(tie.GetNearestIndex(colour(15, 0, 0)), 1, "one colour is remembered");
  tie.SetPaletteColor(2, 1, 2, 3, 4);
  expectInt(tie.GetPaletteColor(2).rgbRed, 0, "no third entry");
  tie.SetPaletteColor(0, 1, 2, 3, 4);
  const tagRGBQUAD entry = tie.GetPaletteColor(0);
  expectTrue(
      entry.rgbRed == 1 && entry.rgbGreen == 2 && entry.rgbBlue == 3 && entry.rgbReserved == 4,
      "argument order of a palette entry");

  PaletteImage nibbles;
  nibbles.Create(3, 1, 4, 0);
  nibbles.SetGrayPalette();
  expectInt(nibbles.GetPaletteColor(15).rgbRed, 255, "last of 16 greys");
  expectInt(nibbles.GetPaletteColor(1).rgbRed, 17, "second of 16 greys");
  nibbles.SetPixelIndex(0, 0, 0x1A);
  nibbles.SetPixelIndex(1, 0, 0x2B);
  nibbles.SetPixelIndex(2, 0, 0x3C);
  expectHex(nibbles.rows(), "AB C0 00 00", "nibbles");
  expectInt(nibbles.GetPixelIndex(1, 0), 11, "odd nibble");

  PaletteImage deep;
  deep.Create(2, 1, 24, 0);
  deep.BlindSetPixelColor(1, 0, colour(1, 2, 3));
  expectHex(deep.rows(), "00 00 00 03 02 01 00 00", "blue, green, red");
  expectInt(deep.GetPixelIndex(1, 0), 0, "no index at 24 bits");
  expectInt(deep.GetNearestIndex(colour(9, 9, 9)), 0, "no palette at 24 bits");
  expectInt(deep.BlindGetPixelColor(1, 0).rgbRed, 1, "colour at 24 bits");
}

void testPaletteOperations() {
  for (int width : {1, 3, 4, 17}) {
    const Grey photo = photoPage(width, 11, 3);
    for (long method = -1; method <= 9; ++method) {
      PaletteImage image = imageOf(photo);
      expectTrue(image.Dither(method), "dithering");
      expectTrue(indicesOf(image) == dither(photo, method), "both dithering models agree");
      expectInt(image.head().biBitCount, 1, "depth after dithering");
      expectInt(image.GetPaletteColor(1).rgbGreen, 255, "white");
      expectTrue(image.Dither(3), "dithering again");
      expectTrue(indicesOf(image) == dither(photo, method), "1 bit stays");
      expectTrue(image.IncreaseBpp(8), "back to a byte");
      expectTrue(indicesOf(image) == dither(photo, method), "bits as bytes");
    }
    PaletteImage image = imageOf(photo);
    image.Light(35, -20);
    expectTrue(indicesOf(image) == applyTable(photo, lightTable(35, -20)).pixels, "light");
    image = imageOf(photo);
    image.Rotate180();
    expectTrue(indicesOf(image) == rotate180(photo).pixels, "rotation");
    image = imageOf(photo);
    image.Mirror();
    expectTrue(indicesOf(image) == mirror(photo).pixels, "mirror");
    image.Negative();
    expectTrue(indicesOf(image) == negative(mirror(photo)).pixels, "negative");
    const Bytes once = image.rows();
    image.Negative();
    image.Negative();
    expectTrue(image.rows() == once, "negative twice");
  }
  PaletteImage deep;
  deep.Create(5, 3, 24, 0);
  deep.BlindSetPixelColor(1, 1, colour(255, 255, 255));
  PaletteImage copy = deep;
  for (long method = 0; method <= 8; ++method) {
    copy = deep;
    expectTrue(copy.Dither(method), "24 bits");
    expectNear(whiteShare(indicesOf(copy)), 0.0, 0.0, "24 bits dither to black");
  }
  copy = deep;
  expectTrue(copy.Light(100, 0) && copy.rows() == deep.rows(), "24 bits keep their light");

  PaletteImage empty;
  expectTrue(!empty.Dither(0) && !empty.Light(1, 1) && !empty.Rotate180() &&
                 !empty.IncreaseBpp(8) && !empty.Expand(1, 1, 1, 1, colour(0, 0, 0)),
             "nothing to work on");

  PaletteImage one;
  one.Create(1, 1, 1, 0);
  one.SetPixelIndex(0, 0, 1);
  one.Rotate180();
  expectInt(one.head().biBitCount, 8, "rotation makes 8 bits");
  expectInt(one.GetPixelIndex(0, 0), 1, "rotation of one pixel");

  PaletteImage grey = imageOf(greyOf(2, 2, {1, 2, 3, 4}));
  expectTrue(grey.IncreaseBpp(8), "8 bits are 8 bits");
  expectTrue(!grey.IncreaseBpp(4), "8 bits do not shrink");
  expectTrue(!grey.IncreaseBpp(5), "depth 5");
  expectTrue(!grey.Expand(-1, 0, 0, 0, colour(0, 0, 0)), "negative margin");
  expectHex(indicesOf(grey), "01 02 03 04", "unchanged");
  PaletteImage wider = grey;
  expectTrue(wider.Expand(2, 0, 2, 0, colour(255, 255, 255)), "two columns each side");
  expectHex(indicesOf(wider), "FF FF 01 02 FF FF FF FF 03 04 FF FF", "white columns");
  PaletteImage taller = grey;
  expectTrue(taller.Expand(0, 1, 0, 2, colour(7, 7, 7)), "one above, two below");
  expectHex(indicesOf(taller), "07 07 07 07 01 02 03 04 07 07", "the bottom comes first");
  expectHex(taller.rows(), "07 07 07 07 07 07 07 07 01 02 07 07 03 04 07 07 07 07 07 07",
            "the padding is canvas, too");
  PaletteImage mono = grey;
  mono.Dither(0);
  mono.Expand(1, 0, 0, 0, colour(255, 255, 255));
  expectHex(indicesOf(mono), "01 00 00 01 00 00", "1 bit expansion");
  PaletteImage coloured;
  coloured.Create(1, 1, 24, 0);
  coloured.Expand(0, 0, 1, 0, colour(1, 2, 3));
  expectHex(coloured.rows(), "00 00 00 03 02 01 00 00", "24 bit expansion");

  PaletteImage line;
  line.Create(4, 2, 8, 0);
  line.DrawLine(0, 3, 0, 1, 255);
  expectHex(indicesOf(line), "FF FF 00 00 00 00 FF FF", "line");
  line.DrawLine(2, 2, 0, 0, 9);
  expectHex(indicesOf(line), "FF FF 09 00 00 00 FF FF", "point");
  PaletteImage centre = grey;
  centre.MakeCenter(2);
  expectInt(centre.GetWidth(), 2, "no wider");
  centre.MakeCenter(5);
  expectHex(indicesOf(centre), "00 01 02 00 00 00 03 04 00 00", "centred");
}

// --- Mathematics ------------------------------------------------------------------------------

void testMaths() {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  expectTrue(std::signbit(myAbs(-0.0F)), "myAbs keeps -0");
  expectTrue(myAbs(-2.5F) == 2.5F && myAbs(2.5F) == 2.5F, "myAbs");

  expectTrue(mySqrt(-4) == -1.0F, "root of -4");
  expectTrue(mySqrt(0) == 0.0F, "root of 0");
  expectTrue(mySqrt(65025) == 255.0F, "root of 65025");
  expectTrue(mySqrt(6.2831855F) == 2.50662851F, "root of two pi");
  expectNear(static_cast<double>(mySqrt(0.0001F)), 0.0100007, 5e-8, "root of 1e-4");
  expectNear(static_cast<double>(mySqrt(1e-6F)), 0.00100055, 5e-9, "root of 1e-6");
  expectNear(static_cast<double>(mySqrt(1e-12F)), 0.00000208, 5e-9, "root of 1e-12");
  expectTrue(std::isnan(mySqrt(nan)), "root of not-a-number");
  expectTrue(mySqrt(inf) == inf, "root of infinity");
  double worstRoot = 0;
  int64_t mostRounds = 0;
  for (float x = 1; x <= 65025; x += 0.37F) {
    int64_t rounds = 0;
    const double got = static_cast<double>(mySqrt(x, &rounds));
    const double want = std::sqrt(static_cast<double>(x));
    worstRoot = std::fmax(worstRoot, std::fabs(got / want - 1));
    if (rounds > mostRounds) mostRounds = rounds;
  }
  expectTrue(mostRounds <= 12, "rounds of the root: " + to_string(mostRounds));
  expectTrue(worstRoot < 7.3e-7, "accuracy of the root");

  expectTrue(myExp(0) == 1.0F && myExp(-0.0F) == 1.0F, "exponential of 0");
  expectNear(static_cast<double>(myExp(10)), 21991.48, 0.005, "exponential of 10");
  expectNear(1 - static_cast<double>(myExp(8)) / std::exp(8.0), 9.4e-5, 5e-7, "exponential of 8");
  expectNear(1 - static_cast<double>(myExp(10)) / std::exp(10.0), 0.0016, 5e-5,
             "exponential of 10 is low");
  expectNear(1 - static_cast<double>(myExp(20)) / std::exp(20.0), 0.44, 5e-3,
             "exponential of 20 is low");
  expectTrue(std::isnan(myExp(nan)), "exponential of not-a-number");
  double worstExp = 0;
  for (float x = -5; x <= 5; x += 0.000173F) {
    const double ratio = static_cast<double>(myExp(x)) / std::exp(static_cast<double>(x));
    worstExp = std::fmax(worstExp, std::fabs(ratio - 1));
  }
  expectTrue(worstExp < 5.7e-7, "accuracy of the exponential");

  expectTrue(myLn(1) == 0.0F, "logarithm of 1");
  expectTrue(myLn(0) == -1.0F, "logarithm of 0");
  expectTrue(myLn(-3) == -1.0F, "logarithm of -3");
  expectNear(static_cast<double>(myLn(1000000)), 13.8605, 5e-5, "logarithm of a million");
  expectTrue(std::isnan(myLn(nan)), "logarithm of not-a-number");
  expectTrue(myLn(inf) == inf, "logarithm of infinity");
  int64_t rounds = 0;
  myLn(1.0F / 64, &rounds);
  expectInt(rounds, 26, "rounds of the logarithm of 1/64");
  for (int k = 1; k <= 255; ++k) {
    const float x = static_cast<float>(k) / 255.0F;
    expectNear(static_cast<double>(myLn(x)), std::log(static_cast<double>(x)), 9e-6,
               "logarithm of a level");
  }

  expectTrue(myPow(0, 0) == 1.0F, "0 to 0");
  expectTrue(myPow(0, 2) == 0.0F, "0 to 2");
  expectTrue(myPow(0, -1) == -1.0F, "0 to -1");
  expectTrue(myPow(-2, 0.5F) == -1.0F, "-2 to 0.5");
  expectNear(static_cast<double>(myPow(-2, 2)), 0.1353, 5e-5, "-2 to 2");
  expectNear(static_cast<double>(myPow(2, 10)), 1023.987, 5e-4, "2 to 10");
  expectTrue(myPow(-2, 3e10F) == -1.0F, "an exponent past 32 bits is not whole");
  expectTrue(myPow(-2, nan) == -1.0F, "an exponent that is not a number");
  const float short48 = myPow(0.140625F, 0.5F) * 128.0F;
  expectTrue(short48 == 47.9999962F, "a hair below 48");

  expectInt(myRound(0.5F), 1, "round 0.5");
  expectInt(myRound(-0.5F), -1, "round -0.5");
  expectInt(myRound(254.5F), 255, "round 254.5");
  expectInt(myRound(2.5F), 3, "round 2.5");
  expectInt(myRound(-1.5F), -2, "round -1.5");
  expectInt(myRound(0.49999997F), 1, "round just below a half");
  expectInt(myRound(0.49F), 0, "round 0.49");
  expectInt(myRound(-0.0F), 0, "round -0");
  expectInt(myRound(3e9F), INT32_MIN, "round past 32 bits");
  expectInt(myRound(-3e9F), INT32_MIN, "round past 32 bits");
  expectInt(myRound(nan), INT32_MIN, "round not-a-number");
  expectInt(truncateToInt32(2147483520.0F), 2147483520, "largest single in range");
  expectInt(truncateToInt32(2147483648.0F), INT32_MIN, "first single out of range");
  expectInt(truncateToInt32(-2147483648.0F), INT32_MIN, "smallest in range");

  expectInt(myClamp(300, 0, 255), 255, "clamp 300");
  expectInt(myClamp(-7, 0, 255), 0, "clamp -7");
  expectInt(myClamp(9, 0, 255), 9, "clamp 9");
  expectTrue(!isWithinBounds(-1, 0, 5, 6) && !isWithinBounds(5, 0, 5, 6), "out of bounds");
  expectTrue(isWithinBounds(0, 5, 5, 6) && !isWithinBounds(0, 6, 5, 6), "bounds");

  expectInt(static_cast<int64_t>(makeQzPicture(3, 2, 2, {}).data.size()), 18, "RGB bytes");
  expectInt(static_cast<int64_t>(makeQzPicture(3, 2, 7, {}).data.size()), 24, "unknown layout");
  const int channels[] = {1, 3, 3, 4, 4, 4};
  for (int k = 0; k < 6; ++k) expectInt(channelsOfColour(k), channels[k], "channels");
  expectInt(channelsOfColour(-1), 4, "channels of -1");
}

// --- Stencil stages ---------------------------------------------------------------------------

int thresholdOfTwo(int levelA, int countA, int levelB, int countB) {
  std::array<int32_t, 256> counts{};
  counts[static_cast<size_t>(levelA)] += countA;
  counts[static_cast<size_t>(levelB)] += countB;
  return threshOfHistogram(counts, countA + countB);
}

void expectEntry(int pivot, float low, float high, int level, int want) {
  const auto table = piecewiseGammaTable(pivot, low, high);
  expectInt(table[static_cast<size_t>(level)], want,
            "gamma pivot " + to_string(pivot) + " entry " + to_string(level));
}

void testGreyAndThreshold() {
  expectHex(cvtGray(makeQzPicture(1, 1, 2, {255, 0, 0})).pixels, "4C", "red in RGB");
  expectHex(cvtGray(makeQzPicture(1, 1, 1, {255, 0, 0})).pixels, "1D", "blue in BGR");
  for (int layout = 0; layout <= 7; ++layout) {
    expectHex(cvtGray(makeQzPicture(1, 1, layout, {255, 255, 255, 0})).pixels, "FF", "white");
  }
  expectHex(cvtGray(makeQzPicture(1, 1, 3, {255, 0, 0, 9})).pixels, "1D", "blue in BGRA");
  expectHex(cvtGray(makeQzPicture(1, 1, 4, {255, 0, 0, 9})).pixels, "4C", "red in RGBA");

  expectInt(thresholdOfTwo(0, 50, 255, 50), 255, "half black, half white");
  expectInt(thresholdOfTwo(0, 100, 255, 900), 0, "100 black among 900 white");
  expectInt(thresholdOfTwo(30, 3, 200, 7), 30, "30 and 200 in 3:7");
  // Fused multiply-adds give the other answer in each of these.
  expectInt(thresholdOfTwo(0, 2, 255, 8), 255, "2 of 0, 8 of 255");
  expectInt(thresholdOfTwo(30, 1, 200, 9), 30, "1 of 30, 9 of 200");
  expectInt(thresholdOfTwo(30, 6, 200, 4), 200, "6 of 30, 4 of 200");
  // Powers of the level formed in single precision give the other answer in these.
  expectInt(thresholdOfTwo(0, 11, 255, 9), 0, "11 of 0, 9 of 255");
  expectInt(thresholdOfTwo(0, 33, 255, 67), 255, "33 of 0, 67 of 255");
  for (int level = 0; level < 256; ++level) {
    expectInt(threshGlobalMoments(makeGrey(8, 8, static_cast<uint8_t>(level))), 128,
              "one level: " + to_string(level));
    expectInt(thresholdOfTwo(level, 945 * 2362, level, 0), 128, "one level, whole page");
  }
  expectInt(thresholdOfTwo(255, 1024000, 254, 1), 128, "nearly flat 255");
  expectInt(thresholdOfTwo(220, 1, 242, 1023999), 128, "nearly flat 242");
  int at255 = 0;
  for (int black = 1; black < 1000; ++black) {
    if (thresholdOfTwo(0, black, 255, 1000 - black) == 255) ++at255;
  }
  expectNear(at255 / 999.0, 0.66, 0.1, "share of black-and-white pages with threshold 255");
}

void testGamma() {
  const int tattoo[][2] = {{0, 0},     {1, 1},     {2, 3},    {10, 13},   {32, 35},
                           {63, 63},   {64, 64},   {65, 68},  {100, 123}, {128, 152},
                           {192, 208}, {254, 254}, {255, 255}};
  for (const auto& row : tattoo) expectEntry(64, 0.85F, 0.7F, row[0], row[1]);
  const int middle[][2] = {{0, 0},     {1, 11},    {2, 16},    {18, 47},   {32, 64},
                           {64, 90},   {72, 95},   {127, 127}, {128, 128}, {129, 128},
                           {192, 173}, {254, 253}, {255, 255}};
  for (const auto& row : middle) expectEntry(128, 0.5F, 1.5F, row[0], row[1]);
  const int below[][2] = {{0, 0}, {1, 0}, {15, 2}, {63, 30}, {128, 90}, {255, 255}};
  for (const auto& row : below) expectEntry(-1, 0.5F, 1.5F, row[0], row[1]);
  // Fused multiply-adds give one less in each of these.
  expectEntry(5, 0.5F, 1.5F, 165, 133);
  expectEntry(95, 0.5F, 1.5F, 135, 115);
  expectEntry(103, 0.5F, 1.5F, 141, 122);
  // The other order of the products inside the exponential gives a neighbour.
  expectEntry(36, 0.5F, 1.5F, 1, 6);
  expectEntry(72, 0.5F, 1.5F, 2, 12);
  expectEntry(108, 0.5F, 1.5F, 3, 18);
  expectEntry(121, 0.5F, 1.5F, 1, 10);
  expectEntry(255, 0.5F, 1.5F, 255, 255);
  expectEntry(255, 0.5F, 1.5F, 0, 0);
  for (int pivot = 0; pivot < 255; ++pivot) {
    expectEntry(pivot, 0.5F, 1.5F, 255, 255);
    expectEntry(pivot, 0.5F, 1.5F, 0, 0);
  }
}

void testSmoothing() {
  const double taps[] = {0.142300460, 0.134610473, 0.113945306,
                         0.086309584, 0.058501466, 0.035482941};
  const std::vector<double> kernel = gaussianKernel1D(11, 3.0);
  expectInt(static_cast<int64_t>(kernel.size()), 11, "taps");
  for (size_t k = 0; k < 6; ++k) {
    expectNear(kernel[5 + k], taps[k], 5.1e-10, "tap " + to_string(k));
    expectTrue(kernel[5 + k] == kernel[5 - k], "symmetry of tap " + to_string(k));
  }
  expectTrue(gaussianKernel1D(1, 3.0)[0] == 1.0, "a single tap");

  Grey step;
  step.width = 20;
  step.height = 1;
  for (int x = 0; x < 20; ++x) step.pixels.push_back(x < 10 ? 100 : 150);
  const std::vector<int> blurred = {100, 100, 100, 100, 100, 102, 105, 109, 115, 121,
                                    129, 135, 141, 145, 148, 150, 150, 150, 150, 150};
  const std::vector<int> sharpened = {100, 100, 100, 100, 100, 94,  85,  73,  55,  37,
                                      213, 195, 177, 165, 156, 150, 150, 150, 150, 150};
  expectTrue(gaussianFilterFast(step, 11, 3.0).pixels == toBytes(blurred), "blurred step");
  expectTrue(unsharpMask(step, 300.0F, 11).pixels == toBytes(sharpened), "sharpened step");
  expectTrue(unsharpMask(step, 0.0F, 11).pixels == step.pixels, "amount 0");
  expectTrue(gaussianFilterFast(step, 1, 3.0).pixels == step.pixels, "blur of size 1");
  expectTrue(unsharpMask(step, 300.0F, 1).pixels == step.pixels, "mask of size 1");
  Grey hard = step;
  for (uint8_t& level : hard.pixels) level = level == 100 ? 0 : 255;
  expectTrue(unsharpMask(hard, 300.0F, 11).pixels == hard.pixels, "a full step stays");
  for (int level = 0; level < 256; ++level) {
    const Grey flat = makeGrey(5, 7, static_cast<uint8_t>(level));
    expectTrue(gaussianFilterFast(flat, 11, 3.0).pixels == flat.pixels, "flat blur");
    expectTrue(gaussianFilter(flat, 5, 1.5, 2.5).pixels == flat.pixels, "flat 2-D blur");
    expectTrue(unsharpMask(flat, 300.0F, 11).pixels == flat.pixels, "flat mask");
  }
  // The column offset goes with the first sigma: along x this one is wide, along y narrow.
  const std::vector<double> flatKernel = gaussianKernel(3, 2.0, 0.5);
  expectTrue(flatKernel[3] > flatKernel[1], "which sigma is across");
  const Grey photo = photoPage(23, 19, 8);
  const Grey direct = gaussianFilter(photo, 11, 3.0, 3.0);
  const Grey fast = gaussianFilterFast(photo, 11, 3.0);
  for (size_t i = 0; i < photo.pixels.size(); ++i) {
    expectTrue(std::abs(direct.pixels[i] - fast.pixels[i]) <= 1, "both blurs are near");
  }
}

void testErrorDiffusion() {
  const std::vector<int> wanted = {0, 255, 0, 255, 255, 0, 255, 0, 0, 255, 255, 0, 255, 0, 255, 0};
  expectTrue(edfCus(makeGrey(4, 4, 128), 128).pixels == toBytes(wanted), "4 x 4 of 128");
  const double shares[][2] = {{32, 14.4},  {64, 32.3},  {128, 58.8},
                              {192, 81.3}, {224, 91.9}, {255, 100.0}};
  for (const auto& row : shares) {
    const Grey result = edfCus(makeGrey(64, 64, static_cast<uint8_t>(row[0])), 128);
    expectNear(100 * whiteShare(result.pixels), row[1], 0.05, "share of " + to_string(row[0]));
  }
  const Grey white = edfCus(makeGrey(64, 64, 255), 255);
  std::vector<int> firstRow;
  int lastColumn = 0;
  int black = 0;
  for (int y = 0; y < 64; ++y) {
    for (int x = 0; x < 64; ++x) {
      if (white.at(x, y) != 0) continue;
      ++black;
      if (y == 0) firstRow.push_back(x);
      if (x == 63) ++lastColumn;
    }
  }
  expectInt(black, 6, "black pixels of white at threshold 255");
  expectTrue(firstRow == std::vector<int>({0, 18, 36, 54}), "columns of the first row");
  expectInt(lastColumn, 2, "black pixels of the last column");
  for (int level = 0; level < 256; ++level) {
    const Grey result = edfCus(makeGrey(3, 3, static_cast<uint8_t>(level)), 100);
    expectInt(result.at(0, 0), level > 100 ? 255 : 0, "first pixel of " + to_string(level));
  }
  expectInt(edfCus(makeGrey(1, 1, 0), -1).at(0, 0), 255, "threshold -1");
  // One column: 200 turns white, its error -55 times 0.243191 goes straight down.
  const Grey column = edfCus(greyOf(1, 3, {200, 113, 114}), 100);
  expectHex(column.pixels, "FF 00 FF", "one column");
}

std::string dots(const Grey& picture) {
  std::string out;
  for (int y = 0; y < picture.height; ++y) {
    if (y > 0) out += ", ";
    for (int x = 0; x < picture.width; ++x) {
      out += picture.at(x, y) == 255 ? 'o' : picture.at(x, y) == 0 ? 'x' : '?';
    }
  }
  return out;
}

void expectRows(const Grey& picture, const std::vector<int>& row, const std::string& what) {
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      expectInt(picture.at(x, y), row[static_cast<size_t>(x)], what);
    }
  }
}

void testPipelines() {
  const std::vector<int> ramp = {0, 36, 72, 109, 145, 182, 218, 255};
  Grey page = makeGrey(8, 8, 0);
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 8; ++x) page.set(x, y, toBytes(ramp)[static_cast<size_t>(x)]);
  }
  const TattooTrace plain = traceTattoo(page, false);
  expectInt(plain.threshold, 145, "threshold of the ramp");
  expectRows(plain.toned, {0, 39, 84, 133, 168, 200, 228, 255}, "toned");
  expectRows(plain.sharpened, {0, 0, 54, 160, 210, 255, 255, 255}, "sharpened");
  expectText(dots(plain.result),
             "xxxooooo, xxxxoooo, xxxooooo, xxxooooo, xxxooooo, xxxxoooo, xxxooooo, xxxooooo",
             "stencil");
  const TattooTrace x8 = traceTattoo(page, true);
  expectInt(x8.threshold, 145, "threshold of the ramp, X8");
  expectRows(x8.toned, {0, 72, 102, 125, 145, 166, 204, 255}, "toned, X8");
  expectRows(x8.sharpened, {0, 84, 129, 140, 139, 145, 225, 255}, "sharpened, X8");
  expectText(dots(x8.result),
             "xxoxoxoo, xxooxooo, xxoxoooo, xxooxxoo, xxoxoooo, xxooxooo, xxoxoxoo, xxooxooo",
             "stencil, X8");

  const QzPicture input = makeQzPicture(8, 8, 0, page.pixels);
  expectTrue(tattooDithering(input).data == plain.result.pixels, "pipeline");
  expectTrue(tattooDitheringX8(input).data == x8.result.pixels, "pipeline, X8");
  const QzPicture none = makeQzPicture(0, 5, 2, {});
  const QzPicture same = tattooDithering(none);
  expectTrue(same.width == 0 && same.height == 5 && same.colour == 2, "no area is copied");
  // One level: nothing hangs, a blank page stays blank and a page above 128 prints solid.
  for (int level : {0, 1, 127, 128, 129, 200, 255}) {
    const QzPicture flat = makeQzPicture(6, 6, 0, Bytes(36, static_cast<uint8_t>(level)));
    expectInt(static_cast<int64_t>(tattooDithering(flat).data.size()), 36, "one level");
    expectInt(static_cast<int64_t>(tattooDitheringX8(flat).data.size()), 36, "one level, X8");
    if (level == 0) {
      expectTrue(tattooDithering(flat).data == Bytes(36, 0), "blank stays blank");
      expectTrue(tattooDitheringX8(flat).data == Bytes(36, 0), "blank stays blank, X8");
    }
    if (level == 255) {
      expectTrue(tattooDithering(flat).data == Bytes(36, 255), "full is solid");
      expectTrue(tattooDitheringX8(flat).data == Bytes(36, 255), "full is solid, X8");
    }
  }
}

// --- Pages ------------------------------------------------------------------------------------

void testPrinterSettings() {
  expectInt(clampTone(-101), -100, "brightness -101");
  expectInt(clampTone(101), 100, "brightness 101");
  expectInt(clampTone(-100), -100, "brightness -100");
  expectInt(parseSpeed("0"), 1, "speed 0");
  expectInt(parseSpeed("abc"), 1, "speed abc");
  expectInt(parseSpeed("16"), 15, "speed 16");
  expectInt(parseSpeed("15"), 15, "speed 15");
  expectInt(clampDensity(-1), 0, "density -1");
  expectInt(clampDensity(16), 15, "density 16");
  expectText(logLine(3, "No pages found!"), "ERROR:No pages found!", "level 3");
  expectText(logLine(1, "Ready to print."), "DEBUG:Ready to print.", "level 1");
  expectInt(halftoneTypeFromName("Tattoo_X8"), 9, "Tattoo_X8");
  expectInt(halftoneTypeFromName("Tattoo"), 8, "Tattoo");
  expectInt(halftoneTypeFromName("tattoo"), 0, "lower case");
  expectInt(halftoneTypeFromName(""), 0, "no name");
}

void testFrame() {
  expectInt(dotsOf(300, 100), 12, "one millimetre");
  const int lines[] = {0, 12, 24, 35, 47, 59};
  for (int level = 1; level <= 5; ++level) {
    expectInt(frameLineWidth(300, level), lines[level], "line of level " + to_string(level));
  }
  expectInt(frameCanvas(300, 0, "A4").width, 2362, "A4 width");
  expectInt(frameCanvas(300, 0, "A4").height - 24, 3248, "A4 height");
  expectInt(frameCanvas(300, 0, "Letter").width, 2480, "Letter width");
  expectInt(frameCanvas(300, 0, "Letter").height - 24, 3035, "Letter height");
  expectInt(frameCanvas(300, 0, "Tattoo_A5").width, 2362, "A5 width");
  expectInt(frameCanvas(300, 0, "Tattoo_A5").height - 24, 1394, "A5 height");
  expectInt(frameCanvas(300, 0, "Tattoo_A6").width, 1181, "A6 width");
  expectInt(frameCanvas(300, 0, "Tattoo_A6").height - 24, 1394, "A6 height");
  expectInt(frameCanvas(300, 1, "Tattoo_A6").width, 1205, "A6 canvas width");
  expectInt(frameCanvas(300, 1, "Tattoo_A6").height, 1418, "A6 canvas height");
  expectInt(frameCanvas(300, 1, "A5").width, 0, "no canvas");

  PrinterSettings settings;
  settings.antiWrinkle = 1;
  settings.pageSizeName = "Tattoo_A6";
  PaletteImage image = imageOf(makeGrey(1000, 1000, 10));
  std::vector<std::string> log;
  enableAntiWrinkle(settings, image, log);
  expectInt(image.GetWidth(), 1204, "expanded width");
  expectInt(image.GetHeight(), 1418, "expanded height");
  expectInt(image.GetPixelIndex(0, 0), 255, "frame corner");
  expectInt(image.GetPixelIndex(11, 700), 255, "left band");
  expectInt(image.GetPixelIndex(12, 700), 255, "canvas");
  expectInt(image.GetPixelIndex(101, 700), 255, "canvas beside the page");
  expectInt(image.GetPixelIndex(102, 700), 10, "first column of the page");
  expectInt(image.GetPixelIndex(1101, 700), 10, "last column of the page");
  expectInt(image.GetPixelIndex(1102, 700), 255, "canvas right of the page");
  expectInt(image.GetPixelIndex(600, 208), 255, "canvas above the page");
  expectInt(image.GetPixelIndex(600, 209), 10, "first row of the page");
  expectText(log.back(), "DEBUG:EnableAntiWrink: Drawing bottom line. point(0, 1406, 1205, 1418)",
             "bottom line");

  settings.antiWrinkle = 2;
  settings.pageSizeName = "A4";
  PaletteImage large = imageOf(makeGrey(3000, 4000, 10));
  log.clear();
  enableAntiWrinkle(settings, large, log);
  expectInt(large.GetWidth(), 3000, "not expanded");
  expectText(log[4], "DEBUG:EnableAntiWrink: Drawing left line. point(295, 364, 319, 3636)",
             "left line");
  expectText(log[5], "DEBUG:EnableAntiWrink: Drawing top line. point(295, 364, 2705, 376)",
             "top line");
  expectInt(large.GetPixelIndex(294, 400), 10, "left of the frame");
  expectInt(large.GetPixelIndex(295, 400), 255, "left band");
  expectInt(large.GetPixelIndex(318, 400), 255, "left band");
  expectInt(large.GetPixelIndex(319, 400), 10, "inside the frame");
  expectInt(large.GetPixelIndex(2681, 400), 255, "right band");
  expectInt(large.GetPixelIndex(2680, 400), 10, "inside the frame");
  expectInt(large.GetPixelIndex(1000, 375), 255, "top band");
  expectInt(large.GetPixelIndex(1000, 376), 10, "inside the frame");
  expectInt(large.GetPixelIndex(1000, 3624), 255, "bottom band");
  expectInt(large.GetPixelIndex(1000, 3636), 10, "below the frame");

  settings.pageSizeName = "A5";
  PaletteImage plain = imageOf(makeGrey(100, 60, 10));
  log.clear();
  enableAntiWrinkle(settings, plain, log);
  expectTrue(plain.rows() == imageOf(makeGrey(100, 60, 10)).rows(), "nothing drawn");
  expectText(log[3], "DEBUG:EnableAntiWrink: Drawing left line. point(50, 30, 0, 30)",
             "no left line");
  expectText(log[4], "DEBUG:EnableAntiWrink: Drawing top line. point(50, 30, 50, 42)",
             "no top line");
  expectText(log[5], "DEBUG:EnableAntiWrink: Drawing right line. point(26, 30, 50, 30)",
             "no right line");
  settings.hasPageHeader = false;
  log.clear();
  enableAntiWrinkle(settings, plain, log);
  expectInt(static_cast<int64_t>(log.size()), 1, "no header");
}

void testPageProcessing() {
  const Grey photo = photoPage(37, 29, 4);
  for (int type = 0; type <= 9; ++type) {
    PrinterSettings settings;
    settings.halftoneType = type;
    const FinishedPage page = processPage(settings, photo.pixels, 37, 37, 29);
    expectTrue(page.valid, "page of type " + to_string(type));
    expectInt(page.filled, 29 * 40, "filled bytes");
    expectInt(page.image.GetEffWidth(), 40, "row length");
    Bytes want;
    if (type < 8) {
      want = dither(photo, type);
    } else {
      want = traceTattoo(photo, type == 9).result.pixels;
    }
    expectTrue(indicesOf(page.image) == want, "pixels of type " + to_string(type));
    for (uint32_t y = 0; y < 29; ++y) {
      for (uint32_t x = 37; x < 40; ++x) {
        expectInt(page.image.rows()[y * 40 + x], 0, "the padding is no dot");
      }
    }
  }
  PrinterSettings settings;
  settings.halftoneType = 2;
  settings.brightness = 20;
  settings.rotate180 = true;
  settings.mirror = true;
  const FinishedPage page = processPage(settings, photo.pixels, 37, 37, 29);
  const Grey turned = mirror(rotate180(applyTable(photo, lightTable(100, 0))));
  expectTrue(indicesOf(page.image) == dither(turned, 2), "light, rotation, mirror, halftone");
  bool adjusted = false;
  for (const std::string& line : page.log) {
    adjusted =
        adjusted || line == "DEBUG:PageProcess: Adjusted brightness to 100 and contrast to 0";
  }
  expectTrue(adjusted, "adjustment line");
  settings.halftoneType = 8;
  settings.negative = true;
  const FinishedPage inverted = processPage(settings, photo.pixels, 37, 37, 29);
  const Grey stencil = traceTattoo(turned, false).result;
  expectTrue(indicesOf(inverted.image) == negative(stencil).pixels, "negative stencil");
  for (int y = 0; y < 29; ++y) {
    for (int x = 0; x < 37; ++x) {
      expectInt(inverted.dst[static_cast<size_t>(y) * 40 + static_cast<size_t>(x)],
                stencil.at(x, y), "the copy is inverted twice");
    }
  }
  // Rows wider than the page: the stencil stages read the buffer as if they were not.
  Bytes wide;
  for (int y = 0; y < 29; ++y) {
    for (int x = 0; x < 41; ++x) wide.push_back(x < 37 ? photo.at(x, y) : 99);
  }
  PrinterSettings ordered;
  ordered.halftoneType = 1;
  expectTrue(indicesOf(processPage(ordered, wide, 41, 37, 29).image) == dither(photo, 1),
             "spaced rows, ordered");
  ordered.halftoneType = 8;
  Grey skewed = makeGrey(37, 29, 0);
  for (size_t i = 0; i < skewed.pixels.size(); ++i) {
    skewed.pixels[i] = i % 41 < 37 ? wide[i] : 0;
  }
  expectTrue(indicesOf(processPage(ordered, wide, 41, 37, 29).image) ==
                 traceTattoo(skewed, false).result.pixels,
             "spaced rows, stencil");
  const FinishedPage none = processPage(ordered, wide, 41, 0, 29);
  expectTrue(!none.valid && none.filled == 0, "no width, no page");
}

void testPacking() {
  const PackedPage ten = packMono(toBytes({255, 0, 0, 0, 0, 0, 0, 0, 1, 0}), 10, 1, 0);
  expectHex(ten.bytes, "80 80", "row of ten");
  expectText(ten.log, "DEBUG:GrayToMono, bpl(10), h(1), skipPixels(0), wb(10)", "line");
  expectHex(packMono(Bytes(24, 255), 12, 2, 4).bytes, "FF FF", "skip 4 of 12");
  expectHex(packMono(Bytes(24, 255), 12, 2, 12).bytes, "FF F0 FF F0", "skip 12 of 12");
  expectHex(packMono(Bytes(24, 255), 12, 2, 13).bytes, "FF F0 FF F0", "skip 13 of 12");
  expectInt(static_cast<int64_t>(packMono(Bytes(948), 948, 1, 0).bytes.size()), 119, "948 columns");

  const Bytes page = rasterBands(Bytes(296 * 200, 7), 296 * 200, 200);
  expectInt(static_cast<int64_t>(page.size()), 3 * 8 + 296 * 200, "three bands");
  expectHex(Bytes(page.begin(), page.begin() + 8), "1D 76 30 00 28 01 60 00", "first band");
  const auto second = page.begin() + 8 + 96 * 296;
  expectHex(Bytes(second, second + 8), "1D 76 30 00 28 01 60 00", "second band");
  const auto third = second + 8 + 96 * 296;
  expectHex(Bytes(third, third + 8), "1D 76 30 00 28 01 08 00", "third band");
  const Bytes odd = rasterBands(Bytes(97, 7), 97, 97);
  expectInt(static_cast<int64_t>(odd.size()), 16 + 97, "97 rows");
  expectHex(Bytes(odd.end() - 9, odd.end()), "1D 76 30 00 01 00 01 00 07", "last row");
  expectInt(static_cast<int64_t>(rasterBands(Bytes(7, 1), 7, 3).size()), 8 + 6,
            "a remainder is lost");
  expectTrue(rasterBands(Bytes(7, 1), 7, 0).empty(), "no rows");
}

void testBmp() {
  const Bytes grey = bmpFile(Bytes(20, 5), 10, 2, 10, 8);
  expectInt(static_cast<int64_t>(grey.size()), 1098, "length of a grey file");
  expectHex(Bytes(grey.begin(), grey.begin() + 54),
            "42 4D 4E 04 00 00 00 00 00 00 36 04 00 00 28 00 00 00 0A 00 00 00 02 00 00 00 "
            "01 00 08 00 00 00 00 00 18 00 00 00 00 00 00 00 00 00 00 00 00 01 00 00 00 01 00 00",
            "header of a grey file (file size 1102, image size 24)");
  expectHex(Bytes(grey.begin() + 54 + 4 * 255, grey.begin() + 1078), "FF FF FF 00", "last grey");
  expectHex(Bytes(grey.begin() + 54 + 4, grey.begin() + 54 + 8), "01 01 01 00", "second grey");
  const Bytes mono = bmpFile(Bytes(12, 0), 12, 1, 12, 1);
  expectHex(mono,
            "42 4D 42 00 00 00 00 00 00 00 3E 00 00 00 28 00 00 00 0C 00 00 00 01 00 00 00 "
            "01 00 01 00 00 00 00 00 04 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
            "00 00 00 00 FF FF FF 00 FF FF 00 00",
            "1-bit file");
  const Bytes other = bmpFile(toBytes({0, 1, 1, 1}), 2, 2, 2, 24);
  expectInt(static_cast<int64_t>(other.size()), 54 + 8, "other depths have no palette");
  expectHex(Bytes(other.begin() + 54, other.end()), "3F 00 00 00 BF 00 00 00",
            "the last row comes first");
}

// --- Jobs -------------------------------------------------------------------------------------

RasterPage rasterPage(const Grey& picture) {
  RasterPage page;
  page.cupsWidth = static_cast<uint32_t>(picture.width);
  page.bytesPerLine = page.cupsWidth;
  page.height = static_cast<uint32_t>(picture.height);
  page.pixels = picture.pixels;
  return page;
}

void testCommands() {
  const JobSettings bare;
  expectHex(jobSetupBytes(bare), "1B 40 1F 1B 1F 13 14 00 1B 24 01 00", "bare job setup");
  expectHex(pageSetupBytes(bare), "", "bare page setup");
  expectHex(endPageBytes(bare), "1B 4A A0", "bare page end");
  expectHex(endJobBytes(bare), "1B 76", "bare job end");

  JobSettings s;
  s.printDensity = 3;
  s.cashDrawer1Setting = 1;
  s.cashDrawer2Setting = 0;
  s.documentBuzzerSetting = 2;
  s.pageBuzzerSetting = 0;
  s.buzzerRepeat = 2;
  s.buzzerOnTime = 3;
  s.docTopLogoID = 1;
  s.docTopLogoMode = 0;
  s.docTopLogoPosition = 1;
  s.docBottomLogoID = 0;
  s.pageCutType = 0;
  s.docCutType = 1;
  s.feedCutAfterJobEnd = 3;
  expectHex(jobSetupBytes(s),
            "1B 40 1F 1B 1F 13 14 03 1B 70 00 40 40 1B 61 01 1C 70 01 00 1B 61 00 1B 24 01 00",
            "job setup");
  expectHex(pageSetupBytes(s), "", "page setup");
  expectHex(endPageBytes(s), "1B 4A A0", "page end");
  expectHex(endJobBytes(s), "1B 4A 78 1B 64 03 0A 0A 0A 0A 1D 56 01 1B 42 02 03 1B 76", "job end");

  JobSettings loud;
  loud.documentBuzzerSetting = 1;
  loud.pageBuzzerSetting = 1;
  loud.cashDrawer1Setting = 2;
  loud.cashDrawer2Setting = 1;
  expectHex(jobSetupBytes(loud), "1B 40 1F 1B 1F 13 14 00 1B 70 01 40 40 1B 42 FF FF 1B 24 01 00",
            "missing times");
  expectHex(pageSetupBytes(loud), "1B 42 FF FF", "page buzzer at the start");
  expectHex(endJobBytes(loud), "1B 70 00 40 40 1B 76", "drawer at the end");
  loud.pageBuzzerSetting = 2;
  loud.pageCutType = 2;
  loud.docBottomLogoID = 5;
  loud.docBottomLogoPosition = 2;
  loud.docBottomLogoMode = 3;
  expectHex(endPageBytes(loud),
            "1B 4A A0 1B 61 02 1C 70 05 03 1B 61 00 0A 0A 0A 0A 1D 56 00 1B 42 FF FF",
            "page end in order");
  loud.pageCutType = 3;
  loud.pageBuzzerSetting = 0;
  loud.docBottomLogoID = 0;
  expectHex(endPageBytes(loud), "1B 4A A0", "a cut that does not exist");

  expectInt(static_cast<int64_t>(maxMediaLinePixels(576, 203)), 1624, "width limit");
  expectInt(static_cast<int64_t>(skipPixels(576, 203, 1700)), 76, "skip of 1700");
  expectInt(static_cast<int64_t>(skipPixels(576, 203, 1624)), 0, "skip of 1624");
  expectInt(static_cast<int64_t>(skipPixels(576, 203, 1000)), 0, "skip of 1000");
  expectInt(static_cast<int64_t>(skipPixels(0, 203, 1700)), 0, "no limit");
  expectInt(static_cast<int64_t>(skipPixels(-5, 203, 1700)), 0, "negative limit");
  expectInt(static_cast<int64_t>(skipPixels(static_cast<double>(INFINITY), 203, 1700)), 0,
            "infinite limit");
  expectInt(static_cast<int64_t>(skipPixels(static_cast<double>(NAN), 203, 1700)), 0,
            "limit that is no number");
  expectInt(static_cast<int64_t>(skipPixels(576, 300, 2479)), 79, "skip of A4");
}

size_t countLines(const JobResult& job, const std::string& line) {
  size_t count = 0;
  for (const std::string& entry : job.log) {
    if (entry == line) ++count;
  }
  return count;
}

void testJobs() {
  JobSettings settings;
  const Bytes zeros(64, 0);
  Bytes start = zeros;
  for (uint8_t byte : jobSetupBytes(settings)) start.push_back(byte);

  const JobResult none = runJob(settings, {});
  expectTrue(none.stdoutBytes == start, "no pages: job setup only");
  expectInt(none.exitStatus, 1, "no pages: status");
  expectText(none.log.back(), "ERROR:No pages found!", "no pages: line");

  RasterPage page = rasterPage(photoPage(945, 100, 1));
  settings.recordFileName = "r.bin";
  settings.halftoneType = 1;
  const JobResult one = runJob(settings, {page});
  const size_t bands = 2 * 8 + 119 * 100;
  expectInt(static_cast<int64_t>(one.stdoutBytes.size()),
            static_cast<int64_t>(start.size() + bands + 3 + 2), "one page");
  expectInt(static_cast<int64_t>(one.recordBytes.size()), static_cast<int64_t>(bands),
            "record has the bands alone");
  expectTrue(std::memcmp(one.recordBytes.data(), one.stdoutBytes.data() + start.size(), bands) == 0,
             "record equals the bands");
  expectInt(one.exitStatus, 0, "one page: status");
  expectInt(static_cast<int64_t>(one.saved.size()), 2, "two picture files");
  expectInt(static_cast<int64_t>(one.saved[0].bytes.size()), 1078 + 945 * 100, "input picture");
  expectInt(static_cast<int64_t>(one.saved[1].bytes.size()), 1078 + 945 * 100, "result picture");
  expectText(one.log.front(), "DEBUG:Filter data output to: r.bin", "record line");
  expectText(one.log[1], "DEBUG:PAGE: 1 1", "page line");
  expectText(one.log[2], "DEBUG:Calc skip pixels : maxMediaLinePixels(0), cupsBytesPerLine(945)",
             "skip line");
  expectText(one.log.back(), "DEBUG:Ready to print.", "last line");
  expectInt(static_cast<int64_t>(countLines(one, "WARN:<may print inverted>")), 0, "K is fine");

  RasterPage black = page;
  black.bitsPerPixel = 1;
  const JobResult stopped = runJob(settings, {page, black, page});
  expectInt(stopped.exitStatus, 1, "1-bit page: status");
  expectInt(static_cast<int64_t>(stopped.stdoutBytes.size()),
            static_cast<int64_t>(start.size() + bands + 3), "1-bit page: no job end");
  expectText(stopped.log.back(),
             "ERROR:Unsupported bits per pixel : 1 ! Requires 8 bits per pixel!", "1-bit line");

  RasterPage cut = page;
  cut.pixels.pop_back();
  const JobResult shortened = runJob(settings, {page, cut, page});
  expectInt(shortened.exitStatus, 0, "cut-off page: status");
  expectInt(static_cast<int64_t>(shortened.stdoutBytes.size()),
            static_cast<int64_t>(start.size() + bands + 3 + 2), "cut-off page: job end follows");
  expectInt(static_cast<int64_t>(countLines(shortened, "DEBUG:PAGE: 2 1")), 1, "it was counted");

  RasterPage flat = page;
  flat.height = 0;
  expectInt(runJob(settings, {flat}).exitStatus, 1, "no height, no page");
  expectInt(runJob(settings, {page, flat}).exitStatus, 0, "no height after a page");

  RasterPage overrun = page;
  overrun.cupsWidth = 946;
  const JobResult refused = runJob(settings, {page, overrun});
  expectInt(refused.exitStatus, 1, "overrun: status");
  expectInt(static_cast<int64_t>(refused.stdoutBytes.size()),
            static_cast<int64_t>(start.size() + bands + 3), "overrun: nothing more");
  RasterPage huge;
  huge.cupsWidth = 65537;
  huge.bytesPerLine = 65537;
  huge.height = 65536;
  expectInt(runJob(settings, {huge}).exitStatus, 1, "huge page: status");
  expectTrue(runJob(settings, {huge}).stdoutBytes == start, "huge page: nothing more");
  huge.cupsWidth = 65536;
  huge.bytesPerLine = 65536;
  const JobResult wrapped = runJob(settings, {huge});
  expectInt(wrapped.exitStatus, 0, "a size that wraps to 0 ends the loop");
  expectInt(static_cast<int64_t>(wrapped.stdoutBytes.size()),
            static_cast<int64_t>(start.size() + 2), "a size that wraps to 0: job end follows");

  RasterPage narrow = page;
  narrow.cupsWidth = 0;
  const JobResult empty = runJob(settings, {page, narrow});
  expectInt(empty.exitStatus, 0, "no width: status");
  expectInt(static_cast<int64_t>(empty.stdoutBytes.size()),
            static_cast<int64_t>(start.size() + bands + 3 + 3 + 2), "no width: no bands");
  expectInt(static_cast<int64_t>(empty.saved.size()), 3, "no width: no result picture");
  expectInt(static_cast<int64_t>(
                countLines(empty, "ERROR:printImage: pimage is NULL, unable to print the image")),
            1, "no width: line");
  expectInt(static_cast<int64_t>(
                countLines(empty, "CRIT:paletteImage.CreateFromArray with grey failed!")),
            1, "no width: creation line");

  RasterPage white = page;
  white.colorSpace = 0;
  expectInt(static_cast<int64_t>(
                countLines(runJob(settings, {page, white, white}), "WARN:<may print inverted>")),
            1, "one warning a job");

  settings.pageCutType = 2;
  settings.docCutType = 2;
  const JobResult cuts = runJob(settings, {page, page});
  expectInt(static_cast<int64_t>(cuts.stdoutBytes.size()),
            static_cast<int64_t>(start.size() + 2 * (bands + 3 + 7) + 7 + 2), "three cuts");

  settings = JobSettings{};
  settings.maxMediaWidth = 576;
  const JobResult a4 = runJob(settings, {rasterPage(makeGrey(2479, 3, 0))});
  expectHex(Bytes(a4.stdoutBytes.begin() + static_cast<std::ptrdiff_t>(start.size()),
                  a4.stdoutBytes.begin() + static_cast<std::ptrdiff_t>(start.size()) + 8),
            "1D 76 30 00 2D 01 03 00", "A4 row of 301 bytes");
  settings.savesFail = true;
  const JobResult unsaved = runJob(settings, {rasterPage(makeGrey(20, 3, 0))});
  expectInt(static_cast<int64_t>(
                countLines(unsaved, "DravPrinter::saveImage: unable to open the file <path>")),
            2, "saves that fail");
}

void testPatterns() {
  Random random(0);
  // First outputs of splitmix64 from state 0.
  expectTrue(random.next() == 0xE220A8397B1DCDAFU, "first random number");
  expectTrue(random.next() == 0x6E789E6AA1B965F4U, "second random number");
  expectInt(sineOf(0), 0, "sine of 0");
  expectInt(sineOf(256), 1024, "crest");
  expectInt(sineOf(-256), -1024, "trough");
  for (const std::string& name : patternNames()) {
    for (int width : {1, 2, 50}) {
      const Grey page = patternPage(name, width, 31, 7);
      expectInt(static_cast<int64_t>(page.pixels.size()), width * 31, "size of " + name);
      expectTrue(page.pixels == patternPage(name, width, 31, 7).pixels, name + " repeats");
    }
  }
}

}  // namespace

int main() {
  testTone();
  testBlankRows();
  testDither();
  testPaletteCreation();
  testPalettePixels();
  testPaletteOperations();
  testMaths();
  testGreyAndThreshold();
  testGamma();
  testSmoothing();
  testErrorDiffusion();
  testPipelines();
  testPrinterSettings();
  testFrame();
  testPageProcessing();
  testPacking();
  testBmp();
  testCommands();
  testJobs();
  testPatterns();
  std::printf("%d checks, %d failed\n", checks, failures);
  return failures == 0 ? 0 : 1;
}
