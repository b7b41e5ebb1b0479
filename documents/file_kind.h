// SPDX-License-Identifier: Apache-2.0
// What kind of document a file is: by its first bytes, never by its name.
#ifndef DOCUMENTS_FILE_KIND_H_
#define DOCUMENTS_FILE_KIND_H_

#include <cstddef>
#include <cstdint>
#include <span>

namespace documents {

enum class FileKind : uint8_t {
  kUnknown,
  kEmpty,
  kPng,
  kJpeg,
  kWebp,
  kTiff,
  kGif,
  kHeif,      // HEIC and AVIF
  kPortable,  // PBM, PGM, PPM, plain or raw
  kSvg,
  kBmp,
  kPdf,
  kPostScript,
  kRaster,  // CUPS or PWG raster
  kText,    // UTF-8, or one byte a letter, without control characters
  kJpegXl,  // from here on: known, to be refused by name
  kGzip,
  kZip,
};

// So many bytes from the start are enough to tell the kind.
inline constexpr size_t kKindBytes = 4096;

// `start` is the beginning of the file, at most kKindBytes, less only when the file is
// that short.
FileKind fileKind(std::span<const uint8_t> start);

// For people, such as "PNG". A literal.
const char* kindName(FileKind kind);

// Whether the picture reader takes it.
bool isPicture(FileKind kind);

}  // namespace documents

#endif  // DOCUMENTS_FILE_KIND_H_
