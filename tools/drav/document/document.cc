// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/document/document.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "common/child_process.h"
#include "common/scope_guard.h"
#include "tools/drav/document/approximate_source.h"
#include "tools/drav/document/converted_source.h"
#include "tools/drav/document/exif.h"
#include "tools/drav/document/picture.h"
#include "tools/drav/document/raster_reader.h"
#include "tools/drav/io/input_file.h"
#include "tools/drav/io/text.h"

namespace {

constexpr uint64_t kMaxPictureFileBytes = uint64_t{1} << 30U;

// Its first bytes, as many as tell what kind of document it is.
std::vector<uint8_t> readStart(int descriptor) {
  std::vector<uint8_t> bytes(kKindBytes);
  size_t size = 0;
  while (size < bytes.size()) {
    const ssize_t got =
        ::pread(descriptor, bytes.data() + size, bytes.size() - size, static_cast<off_t>(size));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    size += static_cast<size_t>(got);
  }
  bytes.resize(size);
  return bytes;
}

// Whether the job has CUPS's own converters mirror the page.
bool isMirroredByCups(const DriverFile& driver) {
  const std::string value = driver.given("mirror").value_or("");
  return ::strcasecmp(value.c_str(), "true") == 0 || ::strcasecmp(value.c_str(), "yes") == 0 ||
         ::strcasecmp(value.c_str(), "on") == 0;
}

// A path that no program takes for an option.
std::string safePath(const std::string& path) { return path.starts_with('/') ? path : "./" + path; }

}  // namespace

bool Document::isPicture() const {
  return kind_ == DocumentKind::kPng || kind_ == DocumentKind::kJpeg ||
         kind_ == DocumentKind::kPortable;
}

bool Document::open(const std::string& input, std::string& error) {
  name_ = input == "-" ? "standard input" : printablePath(input);
  title_ = input == "-" ? name_ : printablePath(input.substr(input.rfind('/') + 1));
  if (!openFile(input, error)) return false;
  if (size_ == 0) {
    error = failure("is empty");
    return false;
  }
  if (kind_ == DocumentKind::kUnknown) {
    error = failure(
        "cannot be printed: it is neither PDF, PNG, JPEG, PBM, PGM, PPM, text, CUPS raster nor PWG "
        "raster");
    return false;
  }
  if ((isPicture() && !checkPicture(error)) || !chooseSource(error)) {
    error = failure(error);
    return false;
  }
  return true;
}

bool Document::openFile(const std::string& input, std::string& error) {
  path_ = safePath(input);
  struct stat status = {};
  const bool isStream =
      input == "-" || (::stat(input.c_str(), &status) == 0 && !S_ISREG(status.st_mode));
  if (S_ISDIR(status.st_mode)) {
    error = failure("is a folder");
    return false;
  }
  if (isStream && !copyToScratch(input, error)) return false;
  const int descriptor = ::open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0 || ::fstat(descriptor, &status) != 0) {
    error = failure(std::strerror(errno));
    return false;
  }
  size_ = static_cast<uint64_t>(status.st_size);
  start_ = readStart(descriptor);
  kind_ = documentKind(start_);
  if (kind_ == DocumentKind::kRaster)
    source_ = openRasterFile(descriptor, size_);
  else
    ::close(descriptor);
  return true;
}

// Converters want a file, and its kind is told by a look ahead.
bool Document::copyToScratch(const std::string& input, std::string& error) {
  std::vector<uint8_t> content;
  path_ = driver_.scratch().file("document");
  return readInput(input, content, error) &&
         writeScratchFile(path_, content.data(), content.size(), error);
}

// Refuses pictures that are too large or damaged before a converter gets them:
// converters print damaged ones in part and say nothing. Marks those of which CUPS's
// converter prints noise.
bool Document::checkPicture(std::string& error) {
  std::vector<uint8_t> file;
  PictureSize size;
  GreyPicture picture;
  std::string unreadable;
  if (!readInput(path_, file, unreadable, kMaxPictureFileBytes)) {
    error = unreadable.substr(std::min(unreadable.size(), printablePath(path_).size() + 2));
    return false;
  }
  isGarbled_ = isGreyWithTransparency(kind_, file);
  isTurned_ = kind_ == DocumentKind::kJpeg && exifOrientation(file) != 1;
  return measurePicture(kind_, file, size, error) && decodePicture(kind_, file, picture, error);
}

bool Document::chooseSource(std::string& error) {
  if (kind_ == DocumentKind::kRaster) return true;
  if (avoidConverters_) return useSubstitute("CUPS's converters were not used", error);
  const std::string program = findProgram("cupsfilter", "DRAV_CUPSFILTER");
  if (program.empty()) return useSubstitute("CUPS's cupsfilter is not installed", error);
  return useConverters(program, error);
}

bool Document::useConverters(const std::string& program, std::string& error) {
  if (isGarbled_) {  // as of cups-filters 1.28.17: it reads pixels that were never written
    error =
        "is a grey PNG with transparency, which CUPS's picture converter turns into noise, on "
        "paper "
        "too; save it without transparency, or in colour";
    return false;
  }
  auto source = std::make_unique<ConvertedSource>();
  converted_ = source.get();
  if (!source->start(program, path_, mediaType(kind_, start_), driver_, idle_, error)) return false;
  source_ = std::move(source);
  if (isMirroredByCups(driver_) && driver_.isMarked("StencilMirror", "True"))
    notes_.emplace_back(
        "CUPS's mirror and StencilMirror cancel each other: nothing is mirrored; for a mirrored "
        "print leave one of them out");
  if (isTurned_)
    notes_.emplace_back(
        "the camera was held sideways or upside down, as its EXIF data says; CUPS's picture "
        "converter prints the picture as it is stored");
  if (isPicture() && driver_.isGiven("Brightness"))
    notes_.emplace_back(
        "CUPS's picture converter takes the job's Brightness for its own option and turns the page "
        "nearly black, on paper as in this picture; set Brightness as the queue's default instead "
        "(lpadmin -o), or print the picture as a PDF");
  return true;
}

bool Document::useSubstitute(const std::string& given, std::string& error) {
  converted_ = nullptr;
  const std::string missing =
      isMirroredByCups(driver_) ? given + ", so CUPS's mirror has no effect here" : given;
  if (isPicture()) {
    std::vector<uint8_t> file;
    GreyPicture picture;
    if (!readInput(path_, file, error, kMaxPictureFileBytes) ||
        !decodePicture(kind_, file, picture, error))
      return false;
    source_ = pictureSource(picture, driver_, error);
    approximation_ = missing + "; the picture itself was scaled to the page";
    if (isTurned_)
      approximation_ +=
          " and turned upright as its EXIF data says, which CUPS's converter does not do";
    return source_ != nullptr;
  }
  if (kind_ == DocumentKind::kPdf) {
    const std::string program = findProgram("pdftoppm", "DRAV_PDFTOPPM");
    if (program.empty()) {
      error = "cannot be drawn: " + missing + ", and poppler's pdftoppm is not found";
      return false;
    }
    source_ = popplerSource(program, path_, driver_, idle_, error);
    approximation_ = missing + "; poppler drew the page";
    return source_ != nullptr;
  }
  error = "cannot be drawn: " + missing + ", and nothing else here makes pages of text";
  return false;
}

PageSource::Step Document::next(GreyPage& page, std::string& error) {
  PageSource::Step step = source_->next(page, error);
  if (step == PageSource::Step::failed && converted_ != nullptr && pages_ == 0 &&
      converted_->isMissing()) {
    error.clear();
    step = useSubstitute("CUPS has no converter for it", error) ? source_->next(page, error)
                                                                : PageSource::Step::failed;
  }
  if (step == PageSource::Step::page) takeNote(page);
  if (step == PageSource::Step::failed) error = failure(error);
  return step;
}

void Document::takeNote(const GreyPage& page) {
  if (++pages_ == 1 && page.header.cupsColorSpace != CUPS_CSPACE_K)
    notes_.push_back("the page's colour space is " + std::to_string(page.header.cupsColorSpace) +
                     " instead of K (3); the filter prints it as it is, which may be inverted");
}
