// SPDX-License-Identifier: Apache-2.0
// Conversion to one grey channel.
#include "tattoo/grey.h"

#include "tests/model/tattoo.h"
#include "tests/unit/tattoo/tattoo_support.h"

namespace {

uint8_t greyOf(QZ_IMG_COLOR colour, const Bytes& pixel) {
  const QZImage grey = cvtGray(QZImage(1, 1, colour, pixel.data()));
  EXPECT_EQ(grey.channels, 1);
  EXPECT_EQ(grey.color, QZ_IMG_GRAY);
  return grey.data[0];
}

TEST(CvtGray, WeighsTheFirstByteByTheLayout) {
  EXPECT_EQ(greyOf(QZ_IMG_RGB, {255, 0, 0}), 76);
  EXPECT_EQ(greyOf(QZ_IMG_BGR, {255, 0, 0}), 29);
  EXPECT_EQ(greyOf(QZ_IMG_RGBA, {255, 0, 0, 9}), 76);
  EXPECT_EQ(greyOf(QZ_IMG_BGRA, {255, 0, 0, 9}), 29);
  EXPECT_EQ(greyOf(static_cast<QZ_IMG_COLOR>(7), {255, 0, 0, 9}), 76);
  EXPECT_EQ(greyOf(static_cast<QZ_IMG_COLOR>(-2), {255, 0, 0, 9}), 76);
  EXPECT_EQ(greyOf(QZ_IMG_RGB, {0, 255, 0}), 150);
  EXPECT_EQ(greyOf(QZ_IMG_BGR, {0, 0, 255}), 76);
}

TEST(CvtGray, WhiteAndBlackStayAndAlphaIsIgnored) {
  EXPECT_EQ(greyOf(QZ_IMG_RGB, {255, 255, 255}), 255);
  EXPECT_EQ(greyOf(QZ_IMG_BGR, {255, 255, 255}), 255);
  EXPECT_EQ(greyOf(QZ_IMG_RGBA, {0, 0, 0, 255}), 0);
  EXPECT_EQ(greyOf(QZ_IMG_BGRA, {255, 255, 255, 0}), 255);
}

TEST(CvtGray, NoPixelsStayNoPixels) {
  for (const QZ_IMG_COLOR colour : {QZ_IMG_GRAY, QZ_IMG_RGB}) {
    const QZImage grey = cvtGray(QZImage(0, 5, colour));
    EXPECT_EQ(grey.width, 0);
    EXPECT_EQ(grey.height, 5);
    EXPECT_EQ(grey.color, QZ_IMG_GRAY);
    EXPECT_EQ(grey.byteCount(), 0);
  }
}

TEST(CvtGray, GreyIsCopied) {
  const Bytes levels = {0, 1, 2, 127, 128, 255};
  const QZImage source = greyRows(3, levels);
  const QZImage grey = cvtGray(source);
  EXPECT_NE(grey.data, source.data);
  EXPECT_EQ(bytesOf(grey), levels);
}

TEST(CvtGray, MatchesTheModelForEveryLayoutAndSize) {
  for (const int colour : {0, 1, 2, 3, 4, 5, 7, -1}) {
    for (uint64_t seed = 1; seed <= 3; ++seed) {
      for (const Size& size : kSizes) {
        SCOPED_TRACE(testing::Message() << "colour " << colour << ", " << size.width << " x "
                                        << size.height << ", seed " << seed);
        const Bytes bytes = model::noisePage(size.width * 4, size.height, seed).pixels;
        const model::QzPicture picture =
            model::makeQzPicture(size.width, size.height, colour, bytes);
        const QZImage source(size.width, size.height, static_cast<QZ_IMG_COLOR>(colour),
                             bytes.data());
        ASSERT_TRUE(samePicture(model::cvtGray(picture), cvtGray(source)));
        ASSERT_TRUE(sameBytes(picture.data, bytesOf(source))) << "the source is only read";
      }
    }
  }
}

TEST(CvtGray, MatchesTheModelForEveryPairOfColours) {
  // Every first and third byte; the second runs along.
  Bytes bytes;
  for (int first = 0; first < 256; ++first) {
    for (int third = 0; third < 256; ++third) {
      bytes.push_back(static_cast<uint8_t>(first));
      bytes.push_back(static_cast<uint8_t>(first * 7 + third * 13));
      bytes.push_back(static_cast<uint8_t>(third));
    }
  }
  for (const int colour : {1, 2}) {
    const QZImage source(256, 256, static_cast<QZ_IMG_COLOR>(colour), bytes.data());
    EXPECT_TRUE(samePicture(model::cvtGray(model::makeQzPicture(256, 256, colour, bytes)),
                            cvtGray(source)));
  }
}

TEST(CvtGray, NoAreaGivesAnEmptyGreyImage) {
  const QZImage grey = cvtGray(QZImage(0, 5, QZ_IMG_RGB));
  EXPECT_EQ(grey.width, 0);
  EXPECT_EQ(grey.height, 5);
  EXPECT_EQ(grey.channels, 1);
}

}  // namespace
