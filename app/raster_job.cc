// SPDX-License-Identifier: Apache-2.0
#include "app/raster_job.h"

#include <memory>
#include <new>
#include <string_view>

#include "app/device_job.h"
#include "app/job_request.h"
#include "app/raster_page.h"

namespace app {
namespace {

// PAPPL makes its options anew for every page, so nothing here keeps a pointer to them.
class RasterJob {
 public:
  RasterJob(pappl_job_t* job, const pappl_pr_options_t& options)
      : job_(job), request_(readRequest(job, options)), device_(job, request_) {}

  bool startPage(const pappl_pr_options_t& options, bool isClients) {
    const char* fault = isClients
                            ? page_.begin(options.header, *request_.model, request_.medium.paper)
                            : "it has 1 bit a pixel";
    if (fault == nullptr) return true;
    papplLogJob(job_, PAPPL_LOGLEVEL_ERROR, "The page cannot be printed: %s.", fault);
    papplJobSetMessage(job_, "The page cannot be printed: %s.", fault);
    papplJobSetReasons(job_, PAPPL_JREASON_DOCUMENT_UNPRINTABLE_ERROR, PAPPL_JREASON_NONE);
    return false;
  }

  void takeRow(const unsigned char* row) { page_.takeRow(row); }

  // PAPPL calls this for a page that was cut as well, and knows nothing of rows that could
  // not be taken.
  bool endPage() {
    if (!page_.isWhole()) {
      if (!device_.isCancelled()) {
        papplLogJob(job_, PAPPL_LOGLEVEL_ERROR, "The page ends after %u of %u rows.", page_.rows(),
                    page_.header().cupsHeight);
        papplJobSetReasons(job_, PAPPL_JREASON_DOCUMENT_FORMAT_ERROR, PAPPL_JREASON_NONE);
      }
      return false;
    }
    ++pages_;
    if (pages_ < request_.firstPage || pages_ > request_.lastPage) {
      papplJobSetImpressionsCompleted(job_, -1);
      return true;
    }
    const bool printed = device_.printPage(page_.header(), page_.pixels(), request_.copies);
    if (printed) papplJobSetImpressionsCompleted(job_, request_.copies - 1);  // PAPPL counts one
    return printed;
  }

  bool finish() {
    const bool isEnded = device_.finish();
    if (pages_ == 0 || pages_ >= request_.firstPage) return isEnded;
    papplJobSetMessage(job_, "The document has no such page.");
    return false;
  }

 private:
  pappl_job_t* const job_;
  const JobRequest request_;
  DeviceJob device_;
  RasterPage page_;
  unsigned pages_ = 0;  // that have come whole
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
