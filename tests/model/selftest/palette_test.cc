// SPDX-License-Identifier: Apache-2.0
// Known answers for the model of the image class.

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/model/dither.h"
#include "tests/model/grey.h"
#include "tests/model/page_patterns.h"
#include "tests/model/palette_image.h"
#include "tests/model/selftest/known_answers.h"
#include "tests/model/tone.h"

namespace {

using namespace model;

tagRGBQUAD colour(int red, int green, int blue) {
  tagRGBQUAD quad;
  quad.rgbRed = static_cast<uint8_t>(red);
  quad.rgbGreen = static_cast<uint8_t>(green);
  quad.rgbBlue = static_cast<uint8_t>(blue);
  return quad;
}

TEST(ModelPalette, PaletteCreation) {
  PaletteImage image;
  EXPECT_EQ(image.GetWidth(), 0) << "width of a fresh image";
  EXPECT_STREQ(image.GetLastError(), "") << "text of a fresh image";
  EXPECT_FALSE(image.Create(0, 5, 8, 0)) << "no width";
  EXPECT_STREQ(image.GetLastError(),
               "PaletteImage::Create : width and height must be greater than zero")
      << "no width";
  EXPECT_FALSE(image.Create(5, 0, 8, 0)) << "no height";
  const uint32_t wanted[][4] = {{0, 1, 2, 0},   {1, 1, 2, 0},   {2, 4, 16, 0},  {3, 4, 16, 0},
                                {4, 4, 16, 0},  {5, 8, 256, 0}, {8, 8, 256, 0}, {9, 24, 0, 0},
                                {24, 24, 0, 0}, {32, 24, 0, 0}};
  for (const auto& row : wanted) {
    EXPECT_TRUE(image.Create(5, 3, row[0], 77)) << "creation";
    EXPECT_EQ(image.head().biBitCount, row[1]) << "coerced depth";
    EXPECT_EQ(image.GetNumColors(), row[2]) << "palette entries";
    EXPECT_EQ(image.info().imageType, 77) << "type tag";
    EXPECT_EQ(static_cast<int64_t>(image.block().size()), image.GetSize()) << "size of the block";
    for (uint8_t byte : image.rows()) EXPECT_EQ(byte, 0) << "fresh rows are zero";
  }
  image.Create(1, 1, 8, 0);
  EXPECT_EQ(image.GetEffWidth(), 4) << "row of 1 at 8 bits";
  image.Create(33, 1, 1, 0);
  EXPECT_EQ(image.GetEffWidth(), 8) << "row of 33 at 1 bit";
  image.Create(5, 1, 24, 0);
  EXPECT_EQ(image.GetEffWidth(), 16) << "row of 5 at 24 bits";
  EXPECT_FALSE(image.Create(65536, 65536, 8, 0)) << "too large";
  EXPECT_STREQ(image.GetLastError(), "PALETTE_IMAGE_MAX_MEMORY exceeded") << "too large";
  EXPECT_FALSE(image.Create(1, 0x40000000, 8, 0))
      << "rows of one pixel that fill the address range";
  EXPECT_STREQ(image.GetLastError(), "PALETTE_IMAGE_MAX_MEMORY exceeded") << "padding counts";
  EXPECT_EQ(image.GetWidth(), 5) << "a refused creation leaves the header";
  EXPECT_TRUE(image.GetBits(0) == nullptr && !image.IsValid())
      << "a refused creation holds nothing";

  const Bytes bytes = toBytes({1, 2, 3, 4, 5, 6});
  PaletteImage flipped;
  flipped.CreateFromArray(bytes.data(), 3, 2, 8, 3, true);
  EXPECT_EQ(hexOf(flipped.rows()), "04 05 06 00 01 02 03 00") << "flipped rows";
  PaletteImage straight;
  straight.CreateFromArray(bytes.data(), 3, 2, 8, 3, false);
  EXPECT_EQ(hexOf(straight.rows()), "01 02 03 00 04 05 06 00") << "rows";
  const Bytes wide = toBytes({1, 2, 3, 9, 8, 4, 5, 6, 7, 8});
  PaletteImage spaced;
  spaced.CreateFromArray(wide.data(), 3, 2, 8, 5, false);
  EXPECT_EQ(hexOf(spaced.rows()), "01 02 03 09 04 05 06 07") << "padding keeps the source's bytes";
  PaletteImage colours;
  const Bytes four = toBytes({1, 2, 3, 200, 4, 5, 6, 201});
  EXPECT_TRUE(colours.CreateFromArray(four.data(), 2, 1, 32, 8, false)) << "32 bits";
  EXPECT_EQ(hexOf(colours.rows()), "01 02 03 04 05 06 00 00") << "32 bits drop the fourth byte";
  EXPECT_FALSE(colours.CreateFromArray(nullptr, 2, 1, 8, 2, false)) << "no array";
  EXPECT_FALSE(colours.CreateFromArray(four.data(), 2, 1, 5, 8, false)) << "depth 5";
  EXPECT_TRUE(colours.IsValid()) << "a refused array leaves the image";

  PaletteImage to;
  to.Transfer(straight);
  EXPECT_TRUE(to.IsValid() && !straight.IsValid()) << "transfer moves";
  EXPECT_EQ(straight.GetWidth() + straight.GetHeight(), 0) << "transfer empties the source";
  EXPECT_STREQ(straight.GetLastError(), "") << "transfer clears the source's text";
  EXPECT_EQ(to.GetWidth(), 3) << "transfer keeps the width";
  to.Destroy();
  EXPECT_EQ(to.GetWidth(), 3) << "width after destruction";
  EXPECT_TRUE(to.GetBits(0) == nullptr && to.GetPalette() == nullptr) << "nothing left";
}

TEST(ModelPalette, PalettePixels) {
  PaletteImage image = imageOf(greyOf(3, 2, {50, 60, 70, 80, 90, 100}));
  EXPECT_EQ(image.GetPixelIndex(-1, 0), 50) << "outside gives the first pixel";
  EXPECT_EQ(image.GetPixelIndex(3, 1), 50) << "outside gives the first pixel";
  EXPECT_EQ(image.GetPixelIndex(2, 1), 100) << "inside";
  image.SetPixelIndex(3, 0, 1);
  image.SetPixelIndex(0, -1, 1);
  EXPECT_EQ(hexOf(indicesOf(image)), "32 3C 46 50 5A 64") << "writes outside are ignored";
  EXPECT_EQ(image.GetBits(1), image.GetBits(0) + 4) << "second row";
  EXPECT_EQ(image.GetBits(2), nullptr) << "row past the end";
  for (int v = 0; v < 256; ++v) {
    EXPECT_EQ(image.GetNearestIndex(colour(v, v, v)), v) << "nearest grey";
  }
  // Distance 2 to both neighbours: 10 and 11 differ from (10, 10, 11) by 1 and 2.
  EXPECT_EQ(image.GetNearestIndex(colour(10, 10, 11)), 10) << "nearest of a tinted grey";

  PaletteImage bits;
  bits.Create(10, 1, 1, 0);
  bits.SetPaletteColor(1, 255, 255, 255, 0);
  for (int x = 0; x < 8; ++x) bits.SetPixelIndex(x, 0, 255);
  bits.SetPixelIndex(3, 0, 2);
  EXPECT_EQ(hexOf(bits.rows()), "EF 00 00 00") << "255 sets a bit, 2 clears it";
  EXPECT_EQ(bits.GetPixelIndex(-1, 0), 0xEF) << "outside gives the packed byte";
  // A colour just between black and white goes to the lower index.
  PaletteImage tie;
  tie.Create(1, 1, 1, 0);
  tie.SetPaletteColor(0, 10, 0, 0, 0);
  tie.SetPaletteColor(1, 20, 0, 0, 0);
  EXPECT_EQ(tie.GetNearestIndex(colour(15, 0, 0)), 0) << "tie";
  tie.SetPaletteColor(1, 15, 0, 0, 0);
  EXPECT_EQ(tie.GetNearestIndex(colour(15, 0, 0)), 0) << "the cache outlives the palette";
  EXPECT_EQ(tie.GetNearestIndex(colour(16, 0, 0)), 1) << "a new colour is looked up";
  EXPECT_EQ(tie.GetNearestIndex(colour(15, 0, 0)), 1) << "one colour is remembered";
  tie.SetPaletteColor(2, 1, 2, 3, 4);
  EXPECT_EQ(tie.GetPaletteColor(2).rgbRed, 0) << "no third entry";
  tie.SetPaletteColor(0, 1, 2, 3, 4);
  const tagRGBQUAD entry = tie.GetPaletteColor(0);
  EXPECT_TRUE(entry.rgbRed == 1 && entry.rgbGreen == 2 && entry.rgbBlue == 3 &&
              entry.rgbReserved == 4)
      << "argument order of a palette entry";

  PaletteImage nibbles;
  nibbles.Create(3, 1, 4, 0);
  nibbles.SetGrayPalette();
  EXPECT_EQ(nibbles.GetPaletteColor(15).rgbRed, 255) << "last of 16 greys";
  EXPECT_EQ(nibbles.GetPaletteColor(1).rgbRed, 17) << "second of 16 greys";
  nibbles.SetPixelIndex(0, 0, 0x1A);
  nibbles.SetPixelIndex(1, 0, 0x2B);
  nibbles.SetPixelIndex(2, 0, 0x3C);
  EXPECT_EQ(hexOf(nibbles.rows()), "AB C0 00 00") << "nibbles";
  EXPECT_EQ(nibbles.GetPixelIndex(1, 0), 11) << "odd nibble";

  PaletteImage deep;
  deep.Create(2, 1, 24, 0);
  deep.BlindSetPixelColor(1, 0, colour(1, 2, 3));
  EXPECT_EQ(hexOf(deep.rows()), "00 00 00 03 02 01 00 00") << "blue, green, red";
  EXPECT_EQ(deep.GetPixelIndex(1, 0), 0) << "no index at 24 bits";
  EXPECT_EQ(deep.GetNearestIndex(colour(9, 9, 9)), 0) << "no palette at 24 bits";
  EXPECT_EQ(deep.BlindGetPixelColor(1, 0).rgbRed, 1) << "colour at 24 bits";
}

TEST(ModelPalette, PaletteOperations) {
  for (int width : {1, 3, 4, 17}) {
    const Grey photo = photoPage(width, 11, 3);
    for (long method = -1; method <= 9; ++method) {
      PaletteImage image = imageOf(photo);
      EXPECT_TRUE(image.Dither(method)) << "dithering";
      EXPECT_EQ(indicesOf(image), dither(photo, method)) << "both dithering models agree";
      EXPECT_EQ(image.head().biBitCount, 1) << "depth after dithering";
      EXPECT_EQ(image.GetPaletteColor(1).rgbGreen, 255) << "white";
      EXPECT_TRUE(image.Dither(3)) << "dithering again";
      EXPECT_EQ(indicesOf(image), dither(photo, method)) << "1 bit stays";
      EXPECT_TRUE(image.IncreaseBpp(8)) << "back to a byte";
      EXPECT_EQ(indicesOf(image), dither(photo, method)) << "bits as bytes";
    }
    PaletteImage image = imageOf(photo);
    image.Light(35, -20);
    EXPECT_EQ(indicesOf(image), applyTable(photo, lightTable(35, -20)).pixels) << "light";
    image = imageOf(photo);
    image.Rotate180();
    EXPECT_EQ(indicesOf(image), rotate180(photo).pixels) << "rotation";
    image = imageOf(photo);
    image.Mirror();
    EXPECT_EQ(indicesOf(image), mirror(photo).pixels) << "mirror";
    image.Negative();
    EXPECT_EQ(indicesOf(image), negative(mirror(photo)).pixels) << "negative";
    const Bytes once = image.rows();
    image.Negative();
    image.Negative();
    EXPECT_EQ(image.rows(), once) << "negative twice";
  }
  PaletteImage deep;
  deep.Create(5, 3, 24, 0);
  deep.BlindSetPixelColor(1, 1, colour(255, 255, 255));
  PaletteImage copy = deep;
  for (long method = 0; method <= 8; ++method) {
    copy = deep;
    EXPECT_TRUE(copy.Dither(method)) << "24 bits";
    EXPECT_NEAR(whiteShare(indicesOf(copy)), 0.0, 0.0) << "24 bits dither to black";
  }
  copy = deep;
  EXPECT_TRUE(copy.Light(100, 0) && copy.rows() == deep.rows()) << "24 bits keep their light";

  PaletteImage empty;
  EXPECT_TRUE(!empty.Dither(0) && !empty.Light(1, 1) && !empty.Rotate180() &&
              !empty.IncreaseBpp(8) && !empty.Expand(1, 1, 1, 1, colour(0, 0, 0)))
      << "nothing to work on";

  PaletteImage one;
  one.Create(1, 1, 1, 0);
  one.SetPixelIndex(0, 0, 1);
  one.Rotate180();
  EXPECT_EQ(one.head().biBitCount, 8) << "rotation makes 8 bits";
  EXPECT_EQ(one.GetPixelIndex(0, 0), 1) << "rotation of one pixel";

  PaletteImage grey = imageOf(greyOf(2, 2, {1, 2, 3, 4}));
  EXPECT_TRUE(grey.IncreaseBpp(8)) << "8 bits are 8 bits";
  EXPECT_FALSE(grey.IncreaseBpp(4)) << "8 bits do not shrink";
  EXPECT_FALSE(grey.IncreaseBpp(5)) << "depth 5";
  EXPECT_FALSE(grey.Expand(-1, 0, 0, 0, colour(0, 0, 0))) << "negative margin";
  EXPECT_EQ(hexOf(indicesOf(grey)), "01 02 03 04") << "unchanged";
  PaletteImage wider = grey;
  EXPECT_TRUE(wider.Expand(2, 0, 2, 0, colour(255, 255, 255))) << "two columns each side";
  EXPECT_EQ(hexOf(indicesOf(wider)), "FF FF 01 02 FF FF FF FF 03 04 FF FF") << "white columns";
  PaletteImage taller = grey;
  EXPECT_TRUE(taller.Expand(0, 1, 0, 2, colour(7, 7, 7))) << "one above, two below";
  EXPECT_EQ(hexOf(indicesOf(taller)), "07 07 07 07 01 02 03 04 07 07") << "the bottom comes first";
  EXPECT_EQ(hexOf(taller.rows()), "07 07 07 07 07 07 07 07 01 02 07 07 03 04 07 07 07 07 07 07")
      << "the padding is canvas, too";
  PaletteImage mono = grey;
  mono.Dither(0);
  mono.Expand(1, 0, 0, 0, colour(255, 255, 255));
  EXPECT_EQ(hexOf(indicesOf(mono)), "01 00 00 01 00 00") << "1 bit expansion";
  PaletteImage coloured;
  coloured.Create(1, 1, 24, 0);
  coloured.Expand(0, 0, 1, 0, colour(1, 2, 3));
  EXPECT_EQ(hexOf(coloured.rows()), "00 00 00 03 02 01 00 00") << "24 bit expansion";

  PaletteImage line;
  line.Create(4, 2, 8, 0);
  line.DrawLine(0, 3, 0, 1, 255);
  EXPECT_EQ(hexOf(indicesOf(line)), "FF FF 00 00 00 00 FF FF") << "line";
  line.DrawLine(2, 2, 0, 0, 9);
  EXPECT_EQ(hexOf(indicesOf(line)), "FF FF 09 00 00 00 FF FF") << "point";
  PaletteImage centre = grey;
  centre.MakeCenter(2);
  EXPECT_EQ(centre.GetWidth(), 2) << "no wider";
  centre.MakeCenter(5);
  EXPECT_EQ(hexOf(indicesOf(centre)), "00 01 02 00 00 00 03 04 00 00") << "centred";
}

}  // namespace
