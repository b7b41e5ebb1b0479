// SPDX-License-Identifier: Apache-2.0
#include "tattoo/qz_image.h"

#include <cstring>
#include <new>

namespace {

int32_t channelsOf(QZ_IMG_COLOR color) {
  switch (color) {
    case QZ_IMG_GRAY:
      return 1;
    case QZ_IMG_BGR:
    case QZ_IMG_RGB:
      return 3;
    default:
      return 4;
  }
}

uint8_t* allocate(int64_t bytes) {
  if (bytes < 0) throw std::bad_alloc();
  return new uint8_t[static_cast<size_t>(bytes)];
}

void copyBytes(uint8_t* target, const uint8_t* source, int64_t bytes) {
  if (bytes > 0) std::memcpy(target, source, static_cast<size_t>(bytes));
}

}  // namespace

QZImage::QZImage(int32_t imageWidth, int32_t imageHeight, QZ_IMG_COLOR imageColor)
    : width(imageWidth),
      height(imageHeight),
      channels(channelsOf(imageColor)),
      color(imageColor),
      data(allocate(byteCount())) {}

QZImage::QZImage(int32_t imageWidth, int32_t imageHeight, QZ_IMG_COLOR imageColor,
                 const uint8_t* source)
    : QZImage(imageWidth, imageHeight, imageColor) {
  copyBytes(data, source, byteCount());
}

QZImage::QZImage(const QZImage& other)
    : width(other.width),
      height(other.height),
      channels(other.channels),
      color(other.color),
      data(allocate(byteCount())) {
  copyBytes(data, other.data, byteCount());
}

QZImage& QZImage::operator=(const QZImage& other) {
  if (this == &other) return *this;
  uint8_t* fresh = allocate(other.byteCount());  // first: a failure changes nothing
  copyBytes(fresh, other.data, other.byteCount());
  delete[] data;
  width = other.width;
  height = other.height;
  channels = other.channels;
  color = other.color;
  data = fresh;
  return *this;
}

QZImage::~QZImage() {
  // Volatile: the destructor promises to clear these fields, and the optimiser
  // removes plain stores to an object that is about to die.
  const auto clear = [](int32_t& field) { *static_cast<volatile int32_t*>(&field) = 0; };
  clear(width);
  clear(height);
  clear(channels);
  delete[] data;
  *static_cast<uint8_t* volatile*>(&data) = nullptr;
}
