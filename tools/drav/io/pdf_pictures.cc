// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/pdf_pictures.h"

#include <zlib.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <new>

namespace {

constexpr size_t kCatalog = 1;
constexpr size_t kPages = 2;
constexpr size_t kInformation = 3;
constexpr size_t kFirstPage = 4;  // of each page: page, drawing, picture, length of the picture
constexpr size_t kObjectsOfPage = 4;
constexpr double kPointsPerInch = 72;

std::string reference(size_t object) { return std::to_string(object) + " 0 R"; }

// Points, to a hundred-thousandth. Not by printf, which writes a decimal comma in some locales.
std::string points(uint32_t dots, uint32_t dotsPerInch) {
  constexpr int64_t kParts = 100'000;
  const auto parts =
      static_cast<int64_t>(std::llround(dots * kPointsPerInch / dotsPerInch * kParts));
  const std::string fraction = std::to_string(kParts + parts % kParts);
  return std::to_string(parts / kParts) + "." + fraction.substr(1);
}

std::string tenDigits(uint64_t number) {
  const std::string digits = std::to_string(number);
  return std::string(digits.size() < 10 ? 10 - digits.size() : 0, '0') + digits;
}

}  // namespace

struct PdfPictures::Deflation {
  z_stream state = {};
  bool isOpen = false;
  std::array<unsigned char, size_t{1} << 16U> out{};

  Deflation() = default;
  ~Deflation() {
    if (isOpen) (void)::deflateEnd(&state);
  }
  Deflation(const Deflation&) = delete;
  Deflation& operator=(const Deflation&) = delete;
  Deflation(Deflation&&) = delete;
  Deflation& operator=(Deflation&&) = delete;
};

PdfPictures::PdfPictures() = default;
PdfPictures::~PdfPictures() = default;

bool PdfPictures::begin(std::FILE* stream, std::string& error) {
  stream_ = stream;
  written_ = 0;
  deflation_.reset();
  objectsAt_.assign(kFirstPage, 0);
  // Bytes above 127 tell programs that this is no text.
  return put("%PDF-1.4\n%\xE2\xE3\xCF\xD3\n", error) &&
         putObject(kCatalog, "<< /Type /Catalog /Pages " + reference(kPages) + " >>", error) &&
         putObject(kInformation, "<< /Producer (drav " DRAV_VERSION ") >>", error);
}

bool PdfPictures::beginPage(uint32_t width, uint32_t height, uint32_t dotsPerInchX,
                            uint32_t dotsPerInchY, std::string& error) {
  const size_t page = objectsAt_.size();
  objectsAt_.resize(page + kObjectsOfPage, 0);
  const std::string across = points(width, dotsPerInchX);
  const std::string along = points(height, dotsPerInchY);
  const std::string drawing = "q " + across + " 0 0 " + along + " 0 0 cm /P Do Q\n";
  const bool begun =
      putObject(page,
                "<< /Type /Page /Parent " + reference(kPages) + " /MediaBox [0 0 " + across + " " +
                    along + "] /Contents " + reference(page + 1) +
                    " /Resources << /XObject << /P " + reference(page + 2) + " >> >> >>",
                error) &&
      putObject(
          page + 1,
          "<< /Length " + std::to_string(drawing.size()) + " >>\nstream\n" + drawing + "endstream",
          error);
  objectsAt_[page + 2] = written_;
  deflation_ = std::make_unique<Deflation>();
  // Photos get no smaller from a search for repetitions, and drawings are mostly runs.
  deflation_->isOpen = ::deflateInit2(&deflation_->state, 1, Z_DEFLATED, 15, 8, Z_RLE) == Z_OK;
  if (!deflation_->isOpen) throw std::bad_alloc();
  rowsLeft_ = height;
  const bool opened =
      begun && put(std::to_string(page + 2) + " 0 obj\n<< /Type /XObject /Subtype /Image /Width " +
                       std::to_string(width) + " /Height " + std::to_string(height) +
                       " /ColorSpace /DeviceGray /BitsPerComponent 8 /Filter /FlateDecode "
                       "/Length " +
                       reference(page + 3) + " >>\nstream\n",
                   error);
  pictureAt_ = written_;
  return opened;
}

bool PdfPictures::writeRow(std::span<const uint8_t> row, std::string& error) {
  z_stream& state = deflation_->state;
  state.next_in = const_cast<Bytef*>(row.data());
  state.avail_in = static_cast<uInt>(row.size());
  --rowsLeft_;
  if (!deflateAll(rowsLeft_ == 0 ? Z_FINISH : Z_NO_FLUSH, error)) return false;
  return rowsLeft_ != 0 || endPicture(error);
}

bool PdfPictures::endPicture(std::string& error) {
  const uint64_t length = written_ - pictureAt_;
  deflation_.reset();
  return put("\nendstream\nendobj\n", error) &&
         putObject(objectsAt_.size() - 1, std::to_string(length), error);
}

bool PdfPictures::end(std::string& error) {
  std::string pages;
  size_t count = 0;
  for (size_t page = kFirstPage; page < objectsAt_.size(); page += kObjectsOfPage, ++count)
    pages.append(pages.empty() ? "" : " ").append(reference(page));
  if (!putObject(kPages,
                 "<< /Type /Pages /Kids [" + pages + "] /Count " + std::to_string(count) + " >>",
                 error))
    return false;
  const uint64_t table = written_;
  std::string text = "xref\n0 " + std::to_string(objectsAt_.size()) + "\n0000000000 65535 f \n";
  for (size_t object = 1; object < objectsAt_.size(); ++object)
    text += tenDigits(objectsAt_[object]) + " 00000 n \n";
  text += "trailer\n<< /Size " + std::to_string(objectsAt_.size()) + " /Root " +
          reference(kCatalog) + " /Info " + reference(kInformation) + " >>\nstartxref\n" +
          std::to_string(table) + "\n%%EOF\n";
  return put(text, error);
}

bool PdfPictures::put(const std::string& text, std::string& error) {
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), stream_) != text.size()) {
    error = std::strerror(errno != 0 ? errno : EIO);
    return false;
  }
  written_ += text.size();
  return true;
}

// A whole object.
bool PdfPictures::putObject(size_t number, const std::string& text, std::string& error) {
  objectsAt_[number] = written_;
  return put(std::to_string(number) + " 0 obj\n" + text + "\nendobj\n", error);
}

bool PdfPictures::deflateAll(int flush, std::string& error) {
  z_stream& state = deflation_->state;
  auto& out = deflation_->out;
  do {
    state.next_out = out.data();
    state.avail_out = static_cast<uInt>(out.size());
    (void)::deflate(&state, flush);  // cannot fail with room to write to
    const size_t made = out.size() - state.avail_out;
    errno = 0;
    if (std::fwrite(out.data(), 1, made, stream_) != made) {
      error = std::strerror(errno != 0 ? errno : EIO);
      return false;
    }
    written_ += made;
  } while (state.avail_out == 0);
  return true;
}
