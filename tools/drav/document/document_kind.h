// SPDX-License-Identifier: Apache-2.0
// What kind of document a file is, by its first bytes.
#ifndef TOOLS_DRAV_DOCUMENT_DOCUMENT_KIND_H_
#define TOOLS_DRAV_DOCUMENT_DOCUMENT_KIND_H_

#include <cstddef>
#include <cstdint>
#include <span>

enum class DocumentKind : uint8_t {
  kUnknown,
  kRaster,  // CUPS or PWG raster
  kPdf,
  kPng,
  kJpeg,
  kPortable,  // PBM, PGM or PPM, plain or raw
  kText,      // UTF-8 or ASCII without control characters
};

// So many bytes from the start are enough to tell the kind.
inline constexpr size_t kKindBytes = 4096;

// `start` is the beginning of the file, at most kKindBytes, less only when the file is
// that short.
DocumentKind documentKind(std::span<const uint8_t> start);

// Media type of a kind that has one, as the scheduler calls it; null otherwise.
const char* mediaType(DocumentKind kind, std::span<const uint8_t> start);

#endif  // TOOLS_DRAV_DOCUMENT_DOCUMENT_KIND_H_
