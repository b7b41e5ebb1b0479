// SPDX-License-Identifier: Apache-2.0
// What a client sends to the printer application to print: the first byte chooses the model,
// the second when the job is cancelled (0 for never), and then comes the body of the request,
// IPP attributes and a raster, as PAPPL would read it. What must hold: no attribute is left on
// which PAPPL ends; each choice is one of the model's; a page is ink where the raster has it,
// and printable exactly when all its rows have come; and the output is whole commands and
// bands.
#include <cups/ipp.h>
#include <cups/pwg.h>
#include <cups/raster.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/job_settings.h"
#include "app/media.h"
#include "app/raster_page.h"
#include "app/request_guard.h"
#include "filter/print_job.h"
#include "proof/job_stream.h"
#include "tests/fuzz/byte_feed.h"
#include "tests/support/files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

// Larger pages take the time of hundreds of small ones.
constexpr uint64_t kLargestPage = uint64_t{96} << 10U;
constexpr int kMostPages = 4;

struct Ipp {
  ipp_t* message = ippNew();
  Ipp() = default;
  Ipp(const Ipp&) = delete;
  Ipp& operator=(const Ipp&) = delete;
  ~Ipp() { ippDelete(message); }
};

// The bytes that have not been read yet.
using Body = std::span<const uint8_t>;

ssize_t readBody(void* context, unsigned char* buffer, size_t length) {
  auto& rest = *static_cast<Body*>(context);
  const size_t count = std::min(length, rest.size());
  std::copy_n(rest.begin(), count, buffer);
  rest = rest.subspan(count);
  return static_cast<ssize_t>(count);
}

bool readAttributes(Body& body, ipp_t* request) {
  ipp_state_t state = IPP_STATE_IDLE;
  while (state != IPP_STATE_DATA) {
    state = ippReadIO(&body, readBody, 1, nullptr, request);
    if (state == IPP_STATE_ERROR) return false;
  }
  return true;
}

const char* firstText(ipp_attribute_t* attribute) { return ippGetString(attribute, 0, nullptr); }

// What PAPPL 1.3.1 does with a media-col: its _papplMediaColImport, with what it follows
// without looking required to be there. Width and length, 0 where there are none.
std::pair<int, int> importMedia(ipp_t* col) {
  for (const char* name : {"media-source", "media-tracking", "media-type"}) {
    ipp_attribute_t* one = ippFindAttribute(col, name, IPP_TAG_ZERO);
    require(one == nullptr || firstText(one) != nullptr, "a text in a media-col");
  }
  const pwg_media_t* media = nullptr;
  ipp_attribute_t* width = ippFindAttribute(col, "media-size/x-dimension", IPP_TAG_INTEGER);
  ipp_attribute_t* length = ippFindAttribute(col, "media-size/y-dimension", IPP_TAG_INTEGER);
  if (ipp_attribute_t* name = ippFindAttribute(col, "media-size-name", IPP_TAG_ZERO)) {
    media = pwgMediaForPWG(firstText(name));
    require(firstText(name) != nullptr && media != nullptr, "a paper of that name");
  } else if (width != nullptr && length != nullptr) {
    media = pwgMediaForSize(ippGetInteger(width, 0), ippGetInteger(length, 0));
    require(media != nullptr, "a paper of that size");
  }
  return media == nullptr ? std::pair(0, 0) : std::pair(media->width, media->length);
}

// What PAPPL does with the attributes of a job before it makes its options.
std::pair<int, int> importJob(ipp_t* request) {
  for (const char* name :
       {"compression", "document-format", "job-name", "job-sheets", "media",
        "multiple-document-handling", "output-bin", "print-color-mode", "print-content-optimize",
        "print-scaling", "requesting-user-name", "sides"}) {
    ipp_attribute_t* one = ippFindAttribute(request, name, IPP_TAG_ZERO);
    require(one == nullptr || firstText(one) != nullptr, name);
  }
  ipp_attribute_t* finishings = ippFindAttribute(request, "finishings-col", IPP_TAG_ZERO);
  for (int i = 0; i < ippGetCount(finishings); ++i)
    require(ippGetCollection(finishings, i) != nullptr, "a finishings-col");
  ipp_attribute_t* col = ippFindAttribute(request, "media-col", IPP_TAG_ZERO);
  if (col == nullptr) return {0, 0};
  require(ippGetCollection(col, 0) != nullptr, "a media-col");
  return importMedia(ippGetCollection(col, 0));
}

// A paper that queues offer, or the model's own.
app::Medium mediumOf(const PrinterModel& model, std::pair<int, int> size) {
  const auto [width, length] = size;
  if (width < app::kShortest || width > app::widestPaper(model) || length < app::kShortest ||
      length > app::kLongest)
    return app::standardMedium(model);
  return app::mediumOfSize(model, width, length);
}

void checkChoices(std::span<const ChosenOption> chosen) {
  for (const ChosenOption& one : chosen) {
    if (one.keyword == "PageSize") continue;  // any size is a paper
    const auto options = printerOptions();
    const auto option =
        std::find_if(options.begin(), options.end(),
                     [&one](const PrinterOption& other) { return other.keyword == one.keyword; });
    require(option != options.end(), "an option that exists");
    require(std::find(option->choices.begin(), option->choices.end(), one.choice) !=
                option->choices.end(),
            "a choice that exists");
  }
}

// The attributes stand for those of the queue as well, whose names end in "-default".
Settings settingsOf(const PrinterModel& model, ipp_t* request, const app::Medium& medium) {
  const auto asked = [request](const char* name) {
    return app::textOf(ippFindAttribute(request, name, IPP_TAG_ZERO));
  };
  const char* type = firstText(ippFindAttribute(request, "media-type", IPP_TAG_ZERO));
  const app::StandardValues standard = {
      .isTrimmed = ippFindAttribute(request, "finishings", IPP_TAG_ENUM) != nullptr,
      .darkness = ippGetInteger(ippFindAttribute(request, "print-darkness", IPP_TAG_INTEGER), 0),
      .mediaType = type == nullptr ? "" : type,
      .paper = medium.paper,
  };
  const auto chosen = app::jobChoices(model, request, asked, standard);
  checkChoices(chosen);
  return settingsFromChoices(model, chosen, [] { return std::time_t{0}; });
}

class Job {
 public:
  Job(const Settings& settings, uint8_t cancelledAtCall) : isCancelled_(cancelledAtCall != 0) {
    environment_.standardInput = -1;
    environment_.standardOutput = out_.get();
    environment_.log = log_.get();
    environment_.ppdPath = [] { return static_cast<const char*>(nullptr); };
    environment_.dumpFolder.clear();
    environment_.keepRecord = false;
    environment_.awaitCancel = [] {};
    environment_.cancelRequested = [this, cancelledAtCall] {
      return isCancelled_ && ++calls_ >= cancelledAtCall;
    };
    print_ = std::make_unique<PrintJob>(settings, environment_);
    print_->start();
  }

  Outcome print(const app::RasterPage& page) {
    outcome_ = print_->startPage(page.header());
    if (outcome_ == Outcome::proceed) outcome_ = print_->printPage(page.pixels());
    require(outcome_ == Outcome::proceed || isCancelled_, "a page that prints once it is whole");
    ++pages_;
    return outcome_;
  }

  void finish() {
    const int status = print_->finish(outcome_ == Outcome::proceed ? Outcome::ended : outcome_);
    require(isCancelled_ || (status == EXIT_SUCCESS) == (pages_ > 0), "a job of some pages");
    const Bytes bytes = out_.bytes();
    JobStreamReader reader(bytes);
    while (reader.next()) {
    }
    require(!reader.error(), "an output of whole commands and bands");
  }

 private:
  const bool isCancelled_;
  MemoryStream out_;
  MemoryStream log_;
  FilterEnvironment environment_;
  uint32_t calls_ = 0;
  uint32_t pages_ = 0;
  std::unique_ptr<PrintJob> print_;
  Outcome outcome_ = Outcome::ended;
};

// Whether all rows came.
bool gather(cups_raster_t* raster, const cups_page_header2_t& header, app::RasterPage& page) {
  std::vector<uint8_t> row(header.cupsBytesPerLine);
  std::vector<uint8_t> ink;
  for (uint32_t y = 0; y < header.cupsHeight; ++y) {
    require(!page.isWhole(), "a page that lacks rows");
    if (cupsRasterReadPixels(raster, row.data(), header.cupsBytesPerLine) == 0) return false;
    page.takeRow(row.data());
    for (const uint8_t level : row)
      ink.push_back(header.cupsColorSpace == CUPS_CSPACE_K ? level : 255 - level);
  }
  page.takeRow(row.data());  // one more than there are
  require(page.isWhole() && page.rows() == header.cupsHeight, "a whole page");
  require(std::equal(ink.begin(), ink.end(), page.pixels()), "ink where the raster has it");
  return true;
}

void printRaster(Body& body, const PrinterModel& model, const app::Medium& medium,
                 const Settings& settings, uint8_t cancelledAtCall) {
  const std::unique_ptr<cups_raster_t, void (*)(cups_raster_t*)> raster(
      cupsRasterOpenIO(readBody, &body, CUPS_RASTER_READ), cupsRasterClose);
  if (!raster) return;
  Job job(settings, cancelledAtCall);
  app::RasterPage page;
  cups_page_header2_t header = {};
  for (int i = 0; i < kMostPages && cupsRasterReadHeader2(raster.get(), &header) != 0; ++i) {
    const char* fault = page.begin(header, model, medium.paper);
    require(!page.isWhole(), "a page without rows");
    if (fault != nullptr) break;
    require(header.cupsBitsPerPixel == 8 && header.cupsWidth == header.cupsBytesPerLine,
            "a page of a byte a dot");
    require(page.header().cupsPageSizeName == medium.paper.substr(0, 63), "the paper's name");
    if (uint64_t{header.cupsWidth} * header.cupsHeight > kLargestPage) break;
    if (!gather(raster.get(), header, page) || job.print(page) != Outcome::proceed) break;
  }
  job.finish();
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const auto models = printerModels();
  const PrinterModel& model = models[data[0] % models.size()];
  Body body(data + 2, size - 2);
  const Ipp request;
  if (!readAttributes(body, request.message)) return 0;
  ippSetOperation(request.message, IPP_OP_PRINT_JOB);
  app::makeSafe(request.message);
  const app::Medium medium = mediumOf(model, importJob(request.message));
  const PicturePaper paper = app::picturePaper(model, medium);
  require(paper.paper.width > 0 && paper.paper.right < paper.paper.width, "a paper");
  const Settings settings = settingsOf(model, request.message, medium);
  printRaster(body, model, medium, settings, data[1]);
  return 0;
}
