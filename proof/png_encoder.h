// SPDX-License-Identifier: Apache-2.0
// Writes grey pictures as PNG (ISO/IEC 15948) to a stream, row by row, so that no more
// than a row is held in memory.
#ifndef PROOF_PNG_ENCODER_H_
#define PROOF_PNG_ENCODER_H_

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

// What a picture says about itself besides its dots.
struct PngNotes {
  uint32_t dotsPerInchX = 0;  // 0: unknown, nothing is said
  uint32_t dotsPerInchY = 0;
  // Keyword (1 to 79 letters of Latin-1) and text in UTF-8.
  std::vector<std::pair<std::string, std::string>> texts;
};

enum class PngKind {
  kDots,    // 1 bit: a set bit is a black dot, the top bit of a byte is the leftmost
  kLevels,  // 8 bits: a byte a pixel, 0 black to 255 white
};

// `kQuick` takes less time and makes a larger file.
enum class PngEffort { kUsual, kQuick };

class PngEncoder {
 public:
  PngEncoder();
  ~PngEncoder();
  PngEncoder(const PngEncoder&) = delete;
  PngEncoder& operator=(const PngEncoder&) = delete;
  PngEncoder(PngEncoder&&) = delete;
  PngEncoder& operator=(PngEncoder&&) = delete;

  // Begins a picture of `width` x `height` pixels, both from 1 to 2^31 - 1. `stream`
  // stays the caller's and must outlive the picture.
  // Every function: false with a few words in `error`; the encoder is then good for
  // nothing but another begin().
  [[nodiscard]] bool begin(std::FILE* stream, PngKind kind, uint32_t width, uint32_t height,
                           std::string& error, const PngNotes& notes = {},
                           PngEffort effort = PngEffort::kUsual);

  // The next row from the top. One that ends early is white from there on; bits past
  // the width are not looked at. REQUIRES: a picture that was begun, with rows left.
  [[nodiscard]] bool writeRow(std::span<const uint8_t> row, std::string& error);

  // REQUIRES: every row was written.
  [[nodiscard]] bool end(std::string& error);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

#endif  // PROOF_PNG_ENCODER_H_
