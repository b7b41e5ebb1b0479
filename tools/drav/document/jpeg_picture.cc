// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/document/jpeg_picture.h"

#include <array>
#include <csetjmp>
#include <cstdio>
#include <type_traits>
// libjpeg's header needs the ones above.
#include <jpeglib.h>

namespace {

constexpr int kMaxScans = 200;  // of a progressive file; each costs a pass over all of it

// What libjpeg calls back finds this behind its error manager.
struct JpegErrors {
  jpeg_error_mgr manager{};  // first, so that the two addresses are one
  std::jmp_buf landing{};
  std::array<char, JMSG_LENGTH_MAX> message{};
};

[[noreturn]] void onError(j_common_ptr info) {
  auto* errors = reinterpret_cast<JpegErrors*>(info->err);
  info->err->format_message(info, errors->message.data());
  std::longjmp(errors->landing, 1);  // NOLINT(cert-err52-cpp): libjpeg knows no other way
}

// Warnings are damage that libjpeg has papered over.
void onMessage(j_common_ptr info, int level) {
  if (level < 0) onError(info);
}

void onOutput(j_common_ptr /*info*/) {}

void onProgress(j_common_ptr info) {
  if (reinterpret_cast<j_decompress_ptr>(info)->input_scan_number > kMaxScans) onError(info);
}

class JpegFile {
 public:
  JpegFile() {
    info_.err = jpeg_std_error(&errors_.manager);
    errors_.manager.error_exit = onError;
    errors_.manager.emit_message = onMessage;
    errors_.manager.output_message = onOutput;
    jpeg_create_decompress(&info_);
    progress_.progress_monitor = onProgress;
    info_.progress = &progress_;
  }
  ~JpegFile() { jpeg_destroy_decompress(&info_); }
  JpegFile(const JpegFile&) = delete;
  JpegFile& operator=(const JpegFile&) = delete;
  JpegFile(JpegFile&&) = delete;
  JpegFile& operator=(JpegFile&&) = delete;

  bool readHeader(std::span<const uint8_t> file) {
    return guarded([this, file] {
      jpeg_mem_src(&info_, file.data(), file.size());
      (void)jpeg_read_header(&info_, TRUE);
    });
  }

  bool begin() {
    return guarded([this] {
      const bool isInk = info_.jpeg_color_space == JCS_CMYK || info_.jpeg_color_space == JCS_YCCK;
      info_.out_color_space = isInk ? JCS_CMYK : JCS_GRAYSCALE;
      (void)jpeg_start_decompress(&info_);
    });
  }

  bool readRow(uint8_t* row) {
    return guarded([this, row] {
      JSAMPROW rows[] = {row};
      (void)jpeg_read_scanlines(&info_, rows, 1);
    });
  }

  bool isInk() const { return info_.out_color_space == JCS_CMYK; }
  // Adobe's programs store how much light is left instead of how much ink there is.
  bool isInverted() const { return info_.saw_Adobe_marker != FALSE; }
  uint32_t width() const { return info_.image_width; }
  uint32_t height() const { return info_.image_height; }
  std::string failure() const {
    return std::string("is a damaged JPEG: ") + errors_.message.data();
  }

 private:
  // The one place where libjpeg's jumps land. A step makes libjpeg calls only and owns
  // nothing, so that no destructor is jumped over.
  template <typename Step>
  bool guarded(const Step& step) {
    static_assert(std::is_trivially_destructible_v<Step>);
    // NOLINTNEXTLINE(cert-err52-cpp): libjpeg reports its errors in no other way.
    if (setjmp(errors_.landing) != 0) return false;
    step();
    return true;
  }

  JpegErrors errors_;
  jpeg_progress_mgr progress_{};
  jpeg_decompress_struct info_{};
};

uint8_t greyOfInk(const uint8_t* ink, bool inverted) {
  std::array<uint32_t, 4> light{};  // that each of the four inks lets through
  for (size_t i = 0; i < light.size(); ++i) light.at(i) = inverted ? ink[i] : 255U - ink[i];
  return static_cast<uint8_t>(greyOf(light[0], light[1], light[2]) * light[3] / 255);
}

}  // namespace

bool measureJpeg(std::span<const uint8_t> file, PictureSize& size, std::string& error) {
  JpegFile jpeg;
  if (!jpeg.readHeader(file)) {
    error = jpeg.failure();
    return false;
  }
  size = {jpeg.width(), jpeg.height()};
  return true;
}

bool decodeJpeg(std::span<const uint8_t> file, std::vector<uint8_t>& levels, std::string& error) {
  JpegFile jpeg;
  bool good = jpeg.readHeader(file) && jpeg.begin();
  const size_t width = jpeg.width();
  levels.resize(good ? width * jpeg.height() : 0);
  std::vector<uint8_t> inks(jpeg.isInk() ? width * 4 : 0);
  for (size_t y = 0; good && y < jpeg.height(); ++y) {
    uint8_t* row = levels.data() + y * width;
    good = jpeg.readRow(jpeg.isInk() ? inks.data() : row);
    if (!jpeg.isInk()) continue;
    for (size_t x = 0; x < width; ++x) row[x] = greyOfInk(&inks[x * 4], jpeg.isInverted());
  }
  if (!good) error = jpeg.failure();
  return good;
}
