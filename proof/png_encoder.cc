// SPDX-License-Identifier: Apache-2.0
#include "proof/png_encoder.h"

#include <png.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csetjmp>
#include <cstring>
#include <string_view>
#include <type_traits>

struct PngEncoder::State {
  png_structp png = nullptr;
  png_infop info = nullptr;
  std::vector<uint8_t> row;
  uint8_t white = 0;                // a byte of the caller's that is blank
  std::array<char, 200> message{};  // of the last failure; no allocation below libpng

  State() = default;
  ~State() { png_destroy_write_struct(&png, &info); }
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  State(State&&) = delete;
  State& operator=(State&&) = delete;
};

namespace {

void keepMessage(std::array<char, 200>& message, const char* text) {
  const size_t length = std::string_view(text).copy(message.data(), message.size() - 1);
  message[length] = '\0';
}

// The functions that libpng calls back. They hold nothing that a jump would leak.
[[noreturn]] void onError(png_structp png, png_const_charp text) {
  auto* message = static_cast<std::array<char, 200>*>(png_get_error_ptr(png));
  if ((*message)[0] == '\0') keepMessage(*message, text);
  png_longjmp(png, 1);
}

void onWarning(png_structp /*png*/, png_const_charp /*text*/) {}

void onWrite(png_structp png, png_bytep bytes, size_t size) {
  auto* stream = static_cast<std::FILE*>(png_get_io_ptr(png));
  errno = 0;
  if (std::fwrite(bytes, 1, size, stream) == size) return;
  const int code = errno != 0 ? errno : EIO;
  keepMessage(*static_cast<std::array<char, 200>*>(png_get_error_ptr(png)), std::strerror(code));
  png_error(png, "write failed");
}

void onFlush(png_structp /*png*/) {}

// 10,000 inches are 254 metres.
uint32_t dotsPerMetre(uint32_t dotsPerInch) {
  return static_cast<uint32_t>((uint64_t{dotsPerInch} * 10000 + 127) / 254);
}

// Runs `step`, the one place where libpng's jumps land. A step makes libpng calls
// only and owns nothing, so that no destructor is jumped over.
template <typename Step>
bool guarded(png_structp png, const Step& step) {
  static_assert(std::is_trivially_destructible_v<Step>);
  // NOLINTNEXTLINE(cert-err52-cpp): libpng reports its errors in no other way.
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  step();
  return true;
}

// As libpng takes them; `notes` must outlive the list. Latin-1 cannot hold every text.
std::vector<png_text> pngTexts(const PngNotes& notes) {
  std::vector<png_text> texts;
  for (const auto& [keyword, value] : notes.texts) {
    const bool plain = std::all_of(value.begin(), value.end(), [](char letter) {
      return letter == '\n' || (letter >= 0x20 && letter < 0x7F);
    });
    png_text text = {};
    text.compression = plain ? PNG_TEXT_COMPRESSION_NONE : PNG_ITXT_COMPRESSION_NONE;
    text.key = const_cast<char*>(keyword.c_str());
    text.text = const_cast<char*>(value.c_str());
    text.text_length = plain ? value.size() : 0;
    text.itxt_length = plain ? 0 : value.size();
    texts.push_back(text);
  }
  return texts;
}

}  // namespace

PngEncoder::PngEncoder() = default;
PngEncoder::~PngEncoder() = default;

bool PngEncoder::begin(std::FILE* stream, PngKind kind, uint32_t width, uint32_t height,
                       std::string& error, const PngNotes& notes, PngEffort effort) {
  state_.reset();
  auto state = std::make_unique<State>();
  const bool dots = kind == PngKind::kDots;
  state->row.resize(dots ? (static_cast<size_t>(width) + 7) / 8 : width);
  state->white = dots ? 0 : 255;
  state->png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &state->message, onError, onWarning);
  if (state->png != nullptr) state->info = png_create_info_struct(state->png);
  if (state->info == nullptr) {
    error = "libpng cannot start";
    return false;
  }
  png_structp png = state->png;
  png_infop info = state->info;
  std::vector<png_text> texts = pngTexts(notes);
  png_text* firstText = texts.data();
  const auto textCount = static_cast<int>(texts.size());
  const uint32_t xPerMetre = dotsPerMetre(notes.dotsPerInchX);
  const uint32_t yPerMetre = dotsPerMetre(notes.dotsPerInchY);
  const bool begun = guarded(png, [=] {
    png_set_write_fn(png, stream, onWrite, onFlush);
    if (effort == PngEffort::kQuick) {
      png_set_compression_level(png, 1);
      png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
    }
    png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
    png_set_IHDR(png, info, width, height, dots ? 1 : 8, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (xPerMetre != 0 && yPerMetre != 0)
      png_set_pHYs(png, info, xPerMetre, yPerMetre, PNG_RESOLUTION_METER);
    if (textCount != 0) png_set_text(png, info, firstText, textCount);
    png_write_info(png, info);
    if (dots) png_set_invert_mono(png);  // our 1 is black, PNG's is white
  });
  if (!begun) {
    error = state->message.data();
    return false;
  }
  state_ = std::move(state);
  return true;
}

bool PngEncoder::writeRow(std::span<const uint8_t> row, std::string& error) {
  const size_t used = std::min(row.size(), state_->row.size());
  std::copy_n(row.begin(), used, state_->row.begin());
  std::fill(state_->row.begin() + static_cast<std::ptrdiff_t>(used), state_->row.end(),
            state_->white);
  png_structp png = state_->png;
  const uint8_t* bytes = state_->row.data();
  if (guarded(png, [png, bytes] { png_write_row(png, bytes); })) return true;
  error = state_->message.data();
  state_.reset();
  return false;
}

bool PngEncoder::end(std::string& error) {
  png_structp png = state_->png;
  const bool done = guarded(png, [png] { png_write_end(png, nullptr); });
  if (!done) error = state_->message.data();
  state_.reset();
  return done;
}
