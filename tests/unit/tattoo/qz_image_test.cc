// SPDX-License-Identifier: Apache-2.0
// The image record: channel counts, deep copies, release, failing allocations.
#include <climits>
#include <cstddef>
#include <cstring>
#include <new>

#include "tests/unit/tattoo/tattoo_support.h"

namespace {

constexpr auto kUnknownColour = static_cast<QZ_IMG_COLOR>(7);
constexpr auto kNegativeColour = static_cast<QZ_IMG_COLOR>(-1);

TEST(QZImage, ColourGivesTheChannels) {
  struct Row {
    QZ_IMG_COLOR colour;
    int32_t channels;
  };
  for (const Row& row : {Row{QZ_IMG_GRAY, 1}, Row{QZ_IMG_BGR, 3}, Row{QZ_IMG_RGB, 3},
                         Row{QZ_IMG_BGRA, 4}, Row{QZ_IMG_RGBA, 4}, Row{kUnknownColour, 4},
                         Row{kNegativeColour, 4}, Row{static_cast<QZ_IMG_COLOR>(INT_MIN), 4}}) {
    const QZImage image(3, 2, row.colour);
    EXPECT_EQ(image.channels, row.channels);
    EXPECT_EQ(image.color, row.colour);
    EXPECT_EQ(image.width, 3);
    EXPECT_EQ(image.height, 2);
    EXPECT_EQ(image.byteCount(), 6 * row.channels);
    EXPECT_EQ(image.pixelCount(), 6U);
    EXPECT_NE(image.data, nullptr);
  }
  EXPECT_EQ(QZImage(3, 2, QZ_IMG_RGB).byteCount(), 18);
  EXPECT_EQ(QZImage(3, 2, kUnknownColour).byteCount(), 24);
}

TEST(QZImage, ColoursHaveTheirNumbers) {
  EXPECT_EQ(QZ_IMG_GRAY, 0);
  EXPECT_EQ(QZ_IMG_BGR, 1);
  EXPECT_EQ(QZ_IMG_RGB, 2);
  EXPECT_EQ(QZ_IMG_BGRA, 3);
  EXPECT_EQ(QZ_IMG_RGBA, 4);
}

TEST(QZImage, CopiesTheSourceBytesAndDoesNotOwnThem) {
  Bytes source = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  const QZImage image(2, 2, QZ_IMG_BGR, source.data());
  EXPECT_NE(image.data, source.data());
  source[0] = 99;
  EXPECT_EQ(bytesOf(image), (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
}

TEST(QZImage, CopyIsDeepAndTakesTheChannelsAsTheyStand) {
  const Bytes source = {1, 2, 3, 4, 5, 6, 7, 8};
  QZImage image(2, 1, QZ_IMG_RGBA, source.data());
  image.channels = 3;  // no longer what the colour would give
  const QZImage copy(image);
  EXPECT_EQ(copy.channels, 3);
  EXPECT_EQ(copy.color, QZ_IMG_RGBA);
  EXPECT_EQ(copy.width, 2);
  EXPECT_EQ(copy.height, 1);
  EXPECT_NE(copy.data, image.data);
  image.data[0] = 99;
  EXPECT_EQ(bytesOf(copy), (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST(QZImage, AssignmentIsDeepAndReplacesTheOldBytes) {
  QZImage source = greyRows(3, {1, 2, 3, 4, 5, 6});
  QZImage target(50, 40, QZ_IMG_RGBA);
  target = source;
  EXPECT_EQ(target.width, 3);
  EXPECT_EQ(target.height, 2);
  EXPECT_EQ(target.channels, 1);
  EXPECT_EQ(target.color, QZ_IMG_GRAY);
  source.data[5] = 99;
  EXPECT_EQ(bytesOf(target), (Bytes{1, 2, 3, 4, 5, 6}));
}

TEST(QZImage, SelfAssignmentIsHarmless) {
  QZImage image = greyRows(3, {1, 2, 3});
  const QZImage& same = image;
  image = same;
  EXPECT_EQ(bytesOf(image), (Bytes{1, 2, 3}));
}

TEST(QZImage, DestructionClearsTheSizesAndKeepsTheColour) {
  alignas(QZImage) std::byte storage[sizeof(QZImage)];
  auto* image = new (storage) QZImage(3, 2, QZ_IMG_RGB);
  const auto offset = [image](const void* field) {
    return static_cast<size_t>(static_cast<const std::byte*>(field) -
                               reinterpret_cast<const std::byte*>(image));
  };
  const size_t width = offset(&image->width);
  const size_t height = offset(&image->height);
  const size_t channels = offset(&image->channels);
  const size_t colour = offset(&image->color);
  const size_t data = offset(&image->data);
  image->~QZImage();
  const auto intAt = [&storage](size_t at) {
    int32_t value = -1;
    std::memcpy(&value, storage + at, sizeof value);
    return value;
  };
  EXPECT_EQ(intAt(width), 0);
  EXPECT_EQ(intAt(height), 0);
  EXPECT_EQ(intAt(channels), 0);
  EXPECT_EQ(intAt(colour), QZ_IMG_RGB);
  uintptr_t pointer = 1;
  std::memcpy(&pointer, storage + data, sizeof pointer);
  EXPECT_EQ(pointer, 0U);
}

TEST(QZImage, FieldsLieInTheirDeclaredOrder) {
  const QZImage image(1, 1, QZ_IMG_GRAY);
  EXPECT_EQ(static_cast<const void*>(&image), static_cast<const void*>(&image.width));
  EXPECT_EQ(&image.width + 1, &image.height);
  EXPECT_EQ(&image.height + 1, &image.channels);
  EXPECT_EQ(static_cast<const void*>(&image.channels + 1), static_cast<const void*>(&image.color));
}

TEST(QZImage, NoAreaIsAnEmptyImage) {
  for (const Size& size : {Size{0, 0}, Size{0, 5}, Size{5, 0}, Size{0, INT_MAX}, Size{0, -5}}) {
    const QZImage image(size.width, size.height, QZ_IMG_BGR, nullptr);
    EXPECT_EQ(image.byteCount(), 0);
    EXPECT_EQ(image.width, size.width);
    EXPECT_EQ(image.height, size.height);
    const QZImage copy(image);
    EXPECT_EQ(copy.height, size.height);
    QZImage assigned = greyRows(1, {1});
    assigned = image;
    EXPECT_EQ(assigned.byteCount(), 0);
  }
}

TEST(QZImage, NegativeByteCountThrows) {
  const Bytes source(16, 1);
  for (const Size& size : {Size{-1, 1}, Size{1, -1}, Size{INT_MIN, 1}, Size{-70000, 70000}}) {
    EXPECT_THROW(QZImage(size.width, size.height, QZ_IMG_GRAY), std::bad_alloc);
    EXPECT_THROW(QZImage(size.width, size.height, QZ_IMG_RGB, source.data()), std::bad_alloc);
  }
  QZImage broken = greyRows(2, {1, 2, 3, 4});
  broken.width = -2;
  EXPECT_THROW(QZImage{broken}, std::bad_alloc);
  QZImage target = greyRows(2, {5, 6});
  EXPECT_THROW(target = broken, std::bad_alloc);
  EXPECT_EQ(bytesOf(target), (Bytes{5, 6})) << "nothing is lost";
}

}  // namespace
