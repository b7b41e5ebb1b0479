// SPDX-License-Identifier: Apache-2.0
#include "app/document_job.h"

#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <new>
#include <string>
#include <vector>

#include "app/device_job.h"
#include "app/job_request.h"
#include "common/scope_guard.h"
#include "documents/grey_pages.h"

namespace app {
namespace {

using documents::FileKind;
using documents::GreyPage;
using documents::Step;

bool pdfIsOn = false;  // set before the system runs

struct Format {
  const char* name;
  FileKind kind;
};
constexpr Format kPictures[] = {
    {"image/png", FileKind::kPng},
    {"image/jpeg", FileKind::kJpeg},
    {"image/webp", FileKind::kWebp},
    {"image/tiff", FileKind::kTiff},
    {"image/gif", FileKind::kGif},
    {"image/heic", FileKind::kHeif},
    {"image/heif", FileKind::kHeif},
    {"image/avif", FileKind::kHeif},
    {"image/bmp", FileKind::kBmp},
    {"image/svg+xml", FileKind::kSvg},
    {"image/x-portable-anymap", FileKind::kPortable},
};

class DocumentJob {
 public:
  DocumentJob(pappl_job_t* job, const pappl_pr_options_t& options)
      : job_(job),
        request_(readRequest(job, options)),
        paper_(picturePaper(*request_.model, request_.medium)),
        device_(job, request_) {}

  bool print() {
    const char* name = papplJobGetFilename(job_);
    const int file = name == nullptr ? -1 : ::open(name, O_RDONLY | O_CLOEXEC);
    if (file < 0) return fail("cannot be opened");
    const ScopeGuard closer([file] { ::close(file); });
    const FileKind kind = documents::kindOfFile(file);
    if (!isPrintableKind(kind))
      return fail(std::string("is ") + documents::kindName(kind) + ", which is not printed here");
    static documents::World installed = documents::installedWorld();
    documents::World world = installed;
    world.refusesRepaired = true;
    world.stopRequested = [this] { return device_.isCancelled(); };
    std::string error;
    const auto pages = documents::openGreyPages(file, paper_.paper, request_.wish, world, error);
    if (!pages) return fail(error);
    const bool printed = printPages(*pages);
    return device_.finish() && printed;
  }

 private:
  // Each page is there with its last row before its first one goes out, and what comes
  // behind it is known: damage can show at the end of a picture, and what Ghostscript had to
  // repair it tells behind the last page.
  bool printPages(documents::GreyPages& pages) {
    GreyPage page;
    std::string error;
    Step step = pages.nextPage(page, error);
    for (unsigned number = 1; number <= request_.lastPage; ++number) {
      if (step == Step::failed) return fail(error);
      if (step == Step::end) return number > request_.firstPage || fail("has no such page");
      const bool isWanted = number >= request_.firstPage;
      if (isWanted && !takePage(pages, page, error)) return fail(error);
      const cups_page_header2_t header = picturePageHeader(paper_, page.height);
      step = pages.nextPage(page, error);
      if (step == Step::failed) return fail(error);
      if (!isWanted) continue;
      if (!device_.printPage(header, pixels_.data(), request_.copies)) return false;
      papplJobSetImpressionsCompleted(job_, request_.copies);
    }
    return true;
  }

  bool takePage(documents::GreyPages& pages, const GreyPage& page, std::string& error) {
    for (const documents::Note& note : page.notes)
      papplLogJob(job_, PAPPL_LOGLEVEL_INFO, "The page: %s.", note.text.c_str());
    pixels_.resize(size_t{page.width} * page.height);
    for (uint32_t y = 0; y < page.height; ++y) {
      if (!pages.nextRow({pixels_.data() + size_t{y} * page.width, page.width}, error))
        return false;
    }
    return true;
  }

  bool fail(const std::string& why) {
    if (device_.isCancelled()) return false;
    papplLogJob(job_, PAPPL_LOGLEVEL_ERROR, "The document %s.", why.c_str());
    papplJobSetMessage(job_, "The document %s.", why.c_str());
    papplJobSetReasons(job_, PAPPL_JREASON_DOCUMENT_FORMAT_ERROR, PAPPL_JREASON_NONE);
    return false;
  }

  pappl_job_t* const job_;
  const JobRequest request_;
  const PicturePaper paper_;
  DeviceJob device_;
  std::vector<uint8_t> pixels_;
};

bool filterDocument(pappl_job_t* job, pappl_device_t* device, void* /*data*/) {
  pappl_pr_options_t* options = papplJobCreatePrintOptions(job, 0, false);
  if (options == nullptr) return false;
  const ScopeGuard release([options] { papplJobDeletePrintOptions(options); });
  return printDocument(job, options, device);
}

const char* guessFormat(const unsigned char* start, size_t size, void* /*data*/) {
  const FileKind kind = documents::fileKind({start, std::min(size, documents::kKindBytes)});
  if (kind == FileKind::kPdf) return "application/pdf";
  for (const Format& one : kPictures)
    if (one.kind == kind) return one.name;
  return nullptr;
}

}  // namespace

bool isPrintableKind(FileKind kind) {
  return documents::isPicture(kind) || (kind == FileKind::kPdf && pdfIsOn);
}

bool printDocument(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* /*device*/) {
  try {
    return DocumentJob(job, *options).print();
  } catch (const std::bad_alloc&) {
    papplLogJob(job, PAPPL_LOGLEVEL_ERROR, "Out of memory!");
    return false;
  }
}

void addDocumentFilters(pappl_system_t* system, bool withPdf) {
  pdfIsOn = withPdf;
  for (const Format& one : kPictures)
    papplSystemAddMIMEFilter(system, one.name, kDeviceFormat, filterDocument, nullptr);
  if (withPdf)
    papplSystemAddMIMEFilter(system, "application/pdf", kDeviceFormat, filterDocument, nullptr);
  papplSystemSetMIMECallback(system, guessFormat, nullptr);
}

}  // namespace app
