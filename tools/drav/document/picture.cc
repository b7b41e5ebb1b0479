// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/document/picture.h"

#include <png.h>

#include <algorithm>

#include "tools/drav/document/exif.h"
#include "tools/drav/document/jpeg_picture.h"

namespace {

bool checkSize(const PictureSize& size, std::string& error) {
  const std::string sides = std::to_string(size.width) + " x " + std::to_string(size.height);
  if (size.width == 0 || size.height == 0) {
    error = "is a picture of " + sides + " pixels";
  } else if (size.width > kMaxPictureSide || size.height > kMaxPictureSide) {
    error =
        "is " + sides + " pixels; no side may have more than " + std::to_string(kMaxPictureSide);
  } else if (size.width * size.height > kMaxPicturePixels) {
    error = "is " + sides + " pixels; a picture may have " +
            std::to_string(kMaxPicturePixels / 1'000'000) + " million";
  } else {
    return true;
  }
  return false;
}

// libpng's simplified interface keeps its jumps to itself.
class PngFile {
 public:
  explicit PngFile(std::span<const uint8_t> file)
      : opened_(png_image_begin_read_from_memory(&image_, file.data(), file.size()) != 0) {
    // Samples of 16 bits are levels like those of 8, not amounts of light.
    image_.flags |= PNG_IMAGE_FLAG_16BIT_sRGB;
  }
  ~PngFile() { png_image_free(&image_); }
  PngFile(const PngFile&) = delete;
  PngFile& operator=(const PngFile&) = delete;
  PngFile(PngFile&&) = delete;
  PngFile& operator=(PngFile&&) = delete;

  bool isOpen() const { return opened_; }
  std::string failure() const { return std::string("is a damaged PNG: ") + image_.message; }
  bool isGreyWithTransparency() const {
    return (image_.format & (PNG_FORMAT_FLAG_ALPHA | PNG_FORMAT_FLAG_COLOR)) ==
           PNG_FORMAT_FLAG_ALPHA;
  }

  bool decode(std::vector<uint8_t>& levels) {
    constexpr png_color kWhite = {255, 255, 255};
    image_.format = PNG_FORMAT_GRAY;
    levels.resize(PNG_IMAGE_SIZE(image_));
    return png_image_finish_read(&image_, &kWhite, levels.data(), 0, nullptr) != 0;
  }

 private:
  static png_image unread() {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    return image;
  }

  png_image image_ = unread();
  bool opened_ = false;
};

// From the header chunk, which comes first: libpng itself refuses large sizes, but does
// not say so.
bool measurePng(std::span<const uint8_t> file, PictureSize& size, std::string& error) {
  constexpr size_t kWidthAt = 16;
  if (file.size() < kWidthAt + 8) {
    error = "is a damaged PNG: it ends in its header";
    return false;
  }
  const auto number = [file](size_t at) {
    uint64_t value = 0;
    for (size_t i = 0; i < 4; ++i) value = value << 8U | file[at + i];
    return value;
  };
  size = {number(kWidthAt), number(kWidthAt + 4)};
  return true;
}

// Reads the header of a portable picture (netpbm's pbm(5), pgm(5), ppm(5)) and what
// follows it.
class PortableFile {
 public:
  explicit PortableFile(std::span<const uint8_t> file) : file_(file) {}

  bool readHeader(std::string& error) {
    if (file_.size() < 3 || file_[0] != 'P' || file_[1] < '1' || file_[1] > '6') {
      error = "is no portable picture";
      return false;
    }
    kind_ = file_[1] - '0';
    at_ = 2;
    uint64_t most = 1;
    const bool whole =
        readNumber(size_.width) && readNumber(size_.height) && (isBitmap() || readNumber(most));
    if (!whole || most == 0 || most > 65535) {
      error = "is a damaged portable picture: its header makes no sense";
      return false;
    }
    most_ = static_cast<uint32_t>(most);
    if (isRaw()) ++at_;  // exactly one space
    return true;
  }

  PictureSize size() const { return size_; }
  size_t used() const { return at_; }

  bool decode(std::vector<uint8_t>& levels, std::string& error) {
    levels.clear();
    levels.reserve(static_cast<size_t>(size_.width * size_.height));
    for (uint64_t y = 0; y < size_.height; ++y) {
      bit_ = 8;  // raw bitmaps begin each row with a byte
      for (uint64_t x = 0; x < size_.width; ++x) {
        uint8_t level = 0;
        if (!readPixel(level)) {
          error = "is a damaged portable picture: it ends in row " + std::to_string(y + 1) +
                  " of " + std::to_string(size_.height);
          return false;
        }
        levels.push_back(level);
      }
    }
    return true;
  }

 private:
  bool isRaw() const { return kind_ >= 4; }
  bool isBitmap() const { return kind_ == 1 || kind_ == 4; }
  bool isColor() const { return kind_ == 3 || kind_ == 6; }
  static bool isSpace(uint8_t byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); }

  void skipSpace() {
    bool comment = false;
    for (; at_ < file_.size(); ++at_) {
      const uint8_t byte = file_[at_];
      if (byte == '#') comment = true;
      if (byte == '\n' || byte == '\r') comment = false;
      if (!comment && !isSpace(byte)) return;
    }
  }

  bool readNumber(uint64_t& number) {
    skipSpace();
    size_t digits = 0;
    for (number = 0; at_ < file_.size() && file_[at_] >= '0' && file_[at_] <= '9'; ++at_) {
      number = number * 10 + (file_[at_] - '0');
      if (++digits > 9) return false;
    }
    return digits > 0;
  }

  bool readBit(bool& set) {
    if (isRaw()) {
      if (bit_ == 8) {
        if (at_ >= file_.size()) return false;
        byte_ = file_[at_++];
        bit_ = 0;
      }
      set = (uint32_t{byte_} >> (7U - bit_++) & 1U) != 0;
      return true;
    }
    skipSpace();
    if (at_ >= file_.size() || (file_[at_] != '0' && file_[at_] != '1')) return false;
    set = file_[at_++] == '1';
    return true;
  }

  bool readSample(uint32_t& sample) {
    uint64_t value = 0;
    if (!isRaw()) {
      if (!readNumber(value)) return false;
    } else {
      const size_t bytes = most_ > 255 ? 2 : 1;
      if (file_.size() < at_ || file_.size() - at_ < bytes) return false;
      for (size_t i = 0; i < bytes; ++i) value = value << 8U | file_[at_++];
    }
    sample = static_cast<uint32_t>(std::min<uint64_t>(value, most_) * 255 / most_);
    return true;
  }

  bool readPixel(uint8_t& level) {
    if (isBitmap()) {
      bool set = false;
      if (!readBit(set)) return false;
      level = set ? 0 : 255;
      return true;
    }
    uint32_t red = 0;
    if (!readSample(red)) return false;
    uint32_t green = red;
    uint32_t blue = red;
    if (isColor() && (!readSample(green) || !readSample(blue))) return false;
    level = greyOf(red, green, blue);
    return true;
  }

  std::span<const uint8_t> file_;
  size_t at_ = 0;
  int kind_ = 0;
  PictureSize size_;
  uint32_t most_ = 1;
  uint8_t byte_ = 0;
  unsigned bit_ = 8;
};

}  // namespace

bool measurePicture(DocumentKind kind, std::span<const uint8_t> file, PictureSize& size,
                    std::string& error) {
  if (kind == DocumentKind::kPng) {
    if (!measurePng(file, size, error)) return false;
  } else if (kind == DocumentKind::kJpeg) {
    if (!measureJpeg(file, size, error)) return false;
  } else {
    PortableFile portable(file);
    if (!portable.readHeader(error)) return false;
    size = portable.size();
  }
  return checkSize(size, error);
}

bool decodePicture(DocumentKind kind, std::span<const uint8_t> file, GreyPicture& picture,
                   std::string& error) {
  PictureSize size;
  if (!measurePicture(kind, file, size, error)) return false;
  picture.width = static_cast<uint32_t>(size.width);
  picture.height = static_cast<uint32_t>(size.height);
  if (kind == DocumentKind::kJpeg) {
    if (!decodeJpeg(file, picture.levels, error)) return false;
    picture = upright(std::move(picture), exifOrientation(file));
    return true;
  }
  if (kind == DocumentKind::kPng) {
    PngFile png(file);
    if (png.isOpen() && png.decode(picture.levels)) return true;
    error = png.failure();
    return false;
  }
  size_t used = 0;
  return decodePortable(file, picture, used, error);
}

bool decodePortable(std::span<const uint8_t> file, GreyPicture& picture, size_t& used,
                    std::string& error) {
  PortableFile portable(file);
  if (!portable.readHeader(error) || !checkSize(portable.size(), error)) return false;
  picture.width = static_cast<uint32_t>(portable.size().width);
  picture.height = static_cast<uint32_t>(portable.size().height);
  if (!portable.decode(picture.levels, error)) return false;
  used = portable.used();
  return true;
}

bool isGreyWithTransparency(DocumentKind kind, std::span<const uint8_t> file) {
  return kind == DocumentKind::kPng && PngFile(file).isGreyWithTransparency();
}
