// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/prepare/page_store.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "common/temporary_file.h"

namespace {

bool failWithErrno(std::string& error) {
  error = std::strerror(errno != 0 ? errno : EIO);
  return false;
}

}  // namespace

bool PageStore::open(PageFormat format, const std::string& source, std::string& error) {
  format_ = format;
  source_ = source;
  const int file = openAnonymousFile(error);
  if (file < 0) return false;
  stream_.reset(::fdopen(file, "w+b"));
  if (stream_) return format != PageFormat::kPdf || pdf_.begin(stream_.get(), error);
  ::close(file);
  return failWithErrno(error);
}

bool PageStore::beginPage(const documents::Paper& paper, uint32_t height, std::string& error) {
  y_ = 0;
  height_ = height;
  if (format_ == PageFormat::kPdf) {
    shown_ = {0, 0, paper.width, height};
    return pdf_.beginPage(paper.width, height, paper.dpiX, paper.dpiY, error);
  }
  shown_ = reachOf(paper);
  shown_.height = height - paper.top - paper.bottom;
  PngNotes notes;
  notes.dotsPerInchX = paper.dpiX;
  notes.dotsPerInchY = paper.dpiY;
  notes.texts = {{"Software", "drav " DRAV_VERSION}, {"Source", source_}};
  return png_.begin(stream_.get(), PngKind::kLevels, shown_.width, shown_.height, error, notes);
}

bool PageStore::writeRow(std::span<const uint8_t> row, std::string& error) {
  const uint32_t y = y_++;
  if (y < shown_.top || y - shown_.top >= shown_.height) return true;
  const auto part = row.subspan(shown_.left, shown_.width);
  levels_.resize(part.size());
  std::transform(part.begin(), part.end(), levels_.begin(),
                 [](uint8_t ink) { return static_cast<uint8_t>(255 - ink); });
  if (format_ == PageFormat::kPdf) return pdf_.writeRow(levels_, error);
  if (!png_.writeRow(levels_, error)) return false;
  return y - shown_.top + 1 < shown_.height || endPng(error);
}

bool PageStore::endPng(std::string& error) {
  if (!png_.end(error)) return false;
  errno = 0;
  if (std::fflush(stream_.get()) != 0) return failWithErrno(error);
  pngEnds_.push_back(std::ftell(stream_.get()));
  return true;
}

bool PageStore::end(std::string& error) {
  if (format_ == PageFormat::kPdf && !pdf_.end(error)) return false;
  errno = 0;
  return std::fflush(stream_.get()) == 0 || failWithErrno(error);
}

size_t PageStore::files() const { return format_ == PageFormat::kPdf ? 1 : pngEnds_.size(); }

bool PageStore::copy(size_t file, std::FILE* out, std::string& error) const {
  const bool isPdf = format_ == PageFormat::kPdf;
  errno = 0;
  if (std::fseek(stream_.get(), isPdf || file == 0 ? 0 : pngEnds_[file - 1], SEEK_SET) != 0)
    return failWithErrno(error);
  std::vector<char> buffer(size_t{1} << 16U);
  for (;;) {
    size_t wanted = buffer.size();
    if (!isPdf)
      wanted = std::min(wanted, static_cast<size_t>(pngEnds_[file] - std::ftell(stream_.get())));
    const size_t got = wanted == 0 ? 0 : std::fread(buffer.data(), 1, wanted, stream_.get());
    if (got == 0) return std::ferror(stream_.get()) == 0 || failWithErrno(error);
    if (std::fwrite(buffer.data(), 1, got, out) != got) return failWithErrno(error);
  }
}
