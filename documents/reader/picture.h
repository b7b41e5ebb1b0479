// SPDX-License-Identifier: Apache-2.0
// A picture through libvips: its facts, and its rows as grey at the size that is wanted.
//
// Everything here throws Refusal, with one line for people, for a file that cannot be read.
#ifndef DOCUMENTS_READER_PICTURE_H_
#define DOCUMENTS_READER_PICTURE_H_

#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>

#include "documents/file_kind.h"
#include "documents/placing.h"

namespace documents {

class Refusal : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Starts libvips for pictures of these kinds, with one thread and without the loaders that it
// does not trust itself; those of portable maps, SVG and BMP are let in by name. Once.
void startVips(const char* program, std::span<const FileKind> kinds);

class Picture {
 public:
  // `file` outlives the picture. Of SVG, which has no pixels, the facts are those of its
  // true size at the head's resolution.
  Picture(FileKind kind, std::span<const uint8_t> file, const Paper& head, uint64_t mostPixels);
  ~Picture();
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;
  Picture(Picture&&) = delete;
  Picture& operator=(Picture&&) = delete;

  const PictureFacts& facts() const;

  // Writes the rows of the visible part to a descriptor, 255 white: one byte a dot, or three
  // for red, green and blue.
  void writeRows(const Placing& placing, bool colour, int descriptor);

 private:
  class Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace documents

#endif  // DOCUMENTS_READER_PICTURE_H_
