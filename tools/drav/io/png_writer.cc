// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/png_writer.h"

#include "tools/drav/io/text.h"

bool PngWriter::open(const std::string& path, uint32_t width, uint32_t height, std::string& error,
                     const PngNotes& notes) {
  path_ = path;
  encoded_ = false;
  file_.emplace();
  if (!file_->open(path, error)) {
    file_.reset();
    return false;
  }
  return settle(encoder_.begin(file_->stream(), PngKind::kDots, width, height, error, notes),
                error);
}

bool PngWriter::writeRow(std::span<const uint8_t> row, std::string& error) {
  return settle(encoder_.writeRow(row, error), error);
}

bool PngWriter::complete(std::string& error) {
  if (encoded_) return true;
  if (!settle(encoder_.end(error), error)) return false;
  encoded_ = true;
  if (file_->complete(error)) return true;
  file_.reset();
  return false;
}

bool PngWriter::finish(std::string& error) {
  if (!complete(error)) return false;
  const bool done = file_->commit(error);
  file_.reset();
  return done;
}

// A failure of the encoder ends the file, and its words get the file's name.
bool PngWriter::settle(bool well, std::string& error) {
  if (well) return true;
  error = printablePath(path_) + ": " + error;
  file_.reset();
  return false;
}
