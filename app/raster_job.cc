// SPDX-License-Identifier: Apache-2.0
#include "app/raster_job.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "app/device_job.h"
#include "app/job_request.h"
#include "common/byte_buffer.h"
#include "filter/page_geometry.h"

namespace app {
namespace {

// PAPPL makes its options anew for every page, so nothing here keeps a pointer to them.
class RasterJob {
 public:
  RasterJob(pappl_job_t* job, const pappl_pr_options_t& options)
      : job_(job), request_(readRequest(job, options)), device_(job, request_) {}

  bool startPage(const pappl_pr_options_t& options, bool isClients) {
    rows_ = 0;
    header_ = options.header;
    if (const char* fault = isClients ? faultOf(header_) : "it has 1 bit a pixel") {
      papplLogJob(job_, PAPPL_LOGLEVEL_ERROR, "The page cannot be printed: %s.", fault);
      papplJobSetMessage(job_, "The page cannot be printed: %s.", fault);
      papplJobSetReasons(job_, PAPPL_JREASON_DOCUMENT_UNPRINTABLE_ERROR, PAPPL_JREASON_NONE);
      header_.cupsHeight = 0;
      return false;
    }
    isWhite_ = header_.cupsColorSpace != CUPS_CSPACE_K;
    header_.cupsColorSpace = CUPS_CSPACE_K;
    std::memset(header_.cupsPageSizeName, 0, sizeof header_.cupsPageSizeName);
    request_.medium.paper.copy(header_.cupsPageSizeName, sizeof header_.cupsPageSizeName - 1);
    return page_.growTo(pageBytes(header_));
  }

  void takeRow(const unsigned char* row) {
    if (rows_ >= header_.cupsHeight) return;
    const uint32_t width = header_.cupsBytesPerLine;
    const uint8_t turn = isWhite_ ? 0xFF : 0;  // 255 - level, bit by bit
    std::transform(row, row + width, page_.data() + size_t{rows_} * width,
                   [turn](uint8_t level) { return static_cast<uint8_t>(level ^ turn); });
    ++rows_;
  }

  // PAPPL calls this for a page that was cut as well, and knows nothing of rows that could
  // not be taken.
  bool endPage() {
    if (rows_ < header_.cupsHeight || header_.cupsHeight == 0) {
      if (!device_.isCancelled()) {
        papplLogJob(job_, PAPPL_LOGLEVEL_ERROR, "The page ends after %u of %u rows.", rows_,
                    header_.cupsHeight);
        papplJobSetReasons(job_, PAPPL_JREASON_DOCUMENT_FORMAT_ERROR, PAPPL_JREASON_NONE);
      }
      return false;
    }
    const bool printed = device_.printPage(header_, page_.data(), request_.copies);
    if (printed) papplJobSetImpressionsCompleted(job_, request_.copies - 1);  // PAPPL counts one
    return printed;
  }

  bool finish() { return device_.finish(); }

 private:
  // Why a page cannot be printed; null when it can.
  const char* faultOf(const cups_page_header2_t& header) const {
    const PrinterModel& model = *request_.model;
    if (header.cupsBitsPerPixel != 8 || header.cupsNumColors > 1) return "it is not 8-bit grey";
    if (header.cupsColorSpace != CUPS_CSPACE_K && header.cupsColorSpace != CUPS_CSPACE_W &&
        header.cupsColorSpace != CUPS_CSPACE_SW)
      return "its colour space is not grey";
    const auto dpi = static_cast<unsigned>(model.resolution);
    if (header.HWResolution[0] != dpi || header.HWResolution[1] != dpi)
      return "its resolution is not the printer's";
    if (header.cupsHeight > mostRows(model)) return "it is longer than 3 m";
    if (header.cupsWidth > 2 * uint64_t(widestPaper(model)) * dpi / 2540)
      return "it is wider than any paper";
    return nullptr;
  }

  pappl_job_t* const job_;
  const JobRequest request_;
  DeviceJob device_;
  cups_page_header2_t header_ = {};
  bool isWhite_ = false;  // 255 is no ink
  ByteBuffer page_;
  uint32_t rows_ = 0;
};

RasterJob* jobOf(pappl_job_t* job) { return static_cast<RasterJob*>(papplJobGetData(job)); }

bool startJob(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* /*device*/) {
  try {
    papplJobSetData(job, std::make_unique<RasterJob>(job, *options).release());
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

std::string_view bytesOf(const cups_page_header2_t& header) {
  return {reinterpret_cast<const char*>(&header), sizeof header};
}

// A page of 1 bit comes with a header that PAPPL has made itself, of 8 bits, and would
// print as garbage. Made once more it is the same; a client's own never is.
bool isClientsHeader(pappl_job_t* job, const pappl_pr_options_t& options) {
  pappl_pr_options_t* made =
      papplJobCreatePrintOptions(job, static_cast<unsigned>(papplJobGetImpressions(job)), false);
  if (made == nullptr) return false;
  const bool isSame = bytesOf(made->header) == bytesOf(options.header);
  papplJobDeletePrintOptions(made);
  return !isSame;
}

bool startPage(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* /*device*/,
               unsigned /*page*/) {
  return jobOf(job)->startPage(*options, isClientsHeader(job, *options));
}

bool writeRow(pappl_job_t* job, pappl_pr_options_t* /*options*/, pappl_device_t* /*device*/,
              unsigned /*y*/, const unsigned char* row) {
  jobOf(job)->takeRow(row);
  return true;
}

bool endPage(pappl_job_t* job, pappl_pr_options_t* /*options*/, pappl_device_t* /*device*/,
             unsigned /*page*/) {
  try {
    return jobOf(job)->endPage();
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool endJob(pappl_job_t* job, pappl_pr_options_t* /*options*/, pappl_device_t* /*device*/) {
  const std::unique_ptr<RasterJob> raster(jobOf(job));
  papplJobSetData(job, nullptr);
  return raster->finish();
}

}  // namespace

void setRasterCallbacks(pappl_pr_driver_data_t* data) {
  data->rstartjob_cb = startJob;
  data->rstartpage_cb = startPage;
  data->rwriteline_cb = writeRow;
  data->rendpage_cb = endPage;
  data->rendjob_cb = endJob;
}

}  // namespace app
