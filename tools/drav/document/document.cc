// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/document/document.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "common/child_process.h"
#include "documents/grey_pages.h"
#include "tools/drav/document/converted_source.h"
#include "tools/drav/document/placed_source.h"
#include "tools/drav/document/raster_reader.h"
#include "tools/drav/io/input_file.h"
#include "tools/drav/io/text.h"

namespace {

using documents::FileKind;

// As the scheduler calls what it gives to CUPS's converters; null for anything else.
const char* convertedType(FileKind kind) {
  switch (kind) {
    case FileKind::kPdf:
      return "application/pdf";
    case FileKind::kPostScript:
      return "application/postscript";
    case FileKind::kText:
      return "text/plain";
    default:
      return nullptr;
  }
}

// A path that no program takes for an option.
std::string safePath(const std::string& path) { return path.starts_with('/') ? path : "./" + path; }

}  // namespace

bool Document::open(const std::string& input, std::string& error) {
  name_ = input == "-" ? "standard input" : printablePath(input);
  title_ = input == "-" ? name_ : printablePath(input.substr(input.rfind('/') + 1));
  if (!openFile(input, error)) return false;
  if (source_ || chooseSource(error)) return true;
  error = failure(error);
  return false;
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
  kind_ = documents::kindOfFile(descriptor);
  if (kind_ == FileKind::kRaster && !(art_ == ArtWish())) {
    ::close(descriptor);
    error = failure("is a page already, of CUPS raster; pictures and documents can be prepared");
    return false;
  }
  if (kind_ == FileKind::kRaster)
    source_ = openRasterFile(descriptor, static_cast<uint64_t>(status.st_size));
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

bool Document::chooseSource(std::string& error) {
  const char* type = convertedType(kind_);
  // A queue of a roll gives these to picturetodrav, too.
  const bool isRolls = kind_ == FileKind::kPdf || kind_ == FileKind::kText;
  const bool isPrepared = !(art_ == ArtWish());
  if (type == nullptr || isPrepared || (isRolls && driver_.takes("application/vnd.drav-roll")))
    return makeHere("", error);
  if (avoidConverters_) return makeHere("CUPS's converters were not used", error);
  const std::string program = findProgram("cupsfilter", "DRAV_CUPSFILTER");
  if (program.empty()) return makeHere("CUPS's cupsfilter is not installed", error);
  return useConverters(program, type, error);
}

bool Document::useConverters(const std::string& program, const char* type, std::string& error) {
  auto source = std::make_unique<ConvertedSource>();
  converted_ = source.get();
  if (!source->start(program, path_, type, driver_, idle_, error)) return false;
  source_ = std::move(source);
  maker_ = "CUPS's converters";
  return true;
}

// By documents/. `instead` says why not by CUPS's converters; empty where a queue does the
// same.
bool Document::makeHere(const std::string& instead, std::string& error) {
  converted_ = nullptr;
  auto source = std::make_unique<PlacedSource>();
  if (!source->open(path_, driver_, art_, idle_, error)) {
    if (!instead.empty()) error += " (" + instead + ")";
    return false;
  }
  source_ = std::move(source);
  if (convertedType(kind_) != nullptr)
    maker_ = kind_ == FileKind::kText ? "drav-text-reader" : "Ghostscript";
  if (!instead.empty()) {
    approximation_ = instead + "; " + maker_ + " drew the page";
  }
  return true;
}

PageSource::Step Document::next(GreyPage& page, std::string& error) {
  PageSource::Step step = source_->next(page, error);
  if (step == PageSource::Step::failed && converted_ != nullptr && pages_ == 0 &&
      converted_->isMissing()) {
    error.clear();
    step = makeHere("CUPS has no converter for it", error) ? source_->next(page, error)
                                                           : PageSource::Step::failed;
  }
  if (step == PageSource::Step::page) takeNote(page);
  if (step == PageSource::Step::failed) error = failure(error);
  return step;
}

bool Document::readOtherwise(const ArtWish& art, unsigned number, GreyPage& page,
                             std::string& error) const {
  PlacedSource source;
  if (!source.open(path_, driver_, art, idle_, error)) return false;
  PageSource::Step step = PageSource::Step::page;
  for (unsigned i = 0; i < number && step == PageSource::Step::page; ++i)
    step = source.next(page, error);
  return step == PageSource::Step::page;
}

void Document::takeNote(const GreyPage& page) {
  if (++pages_ != 1) return;
  if (kind_ != FileKind::kRaster && driver_.pageWish().mirror &&
      driver_.isMarked("StencilMirror", "True"))
    notes_.emplace_back(
        "CUPS's mirror and StencilMirror cancel each other: nothing is mirrored; for a mirrored "
        "print leave one of them out");
  if (page.header.cupsColorSpace != CUPS_CSPACE_K)
    notes_.push_back("the page's colour space is " + std::to_string(page.header.cupsColorSpace) +
                     " instead of K (3); the filter prints it as it is, which may be inverted");
}
