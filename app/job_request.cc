// SPDX-License-Identifier: Apache-2.0
#include "app/job_request.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "app/log_stream.h"
#include "common/log.h"
#include "documents/page_options.h"

namespace app {
namespace {

struct IppDeleter {
  void operator()(ipp_t* message) const { ippDelete(message); }
};
using Ipp = std::unique_ptr<ipp_t, IppDeleter>;

const char* scalingName(pappl_scaling_t scaling) {
  switch (scaling) {
    case PAPPL_SCALING_AUTO:
      return "auto";
    case PAPPL_SCALING_FILL:
      return "fill";
    case PAPPL_SCALING_FIT:
      return "fit";
    case PAPPL_SCALING_NONE:
      return "none";
    default:
      return "auto-fit";
  }
}

documents::PageWish wishOf(pappl_job_t* job, const pappl_pr_options_t& options) {
  documents::PageWish wish;
  std::vector<documents::Note> notes;
  (void)takePageOption("print-scaling", scalingName(options.print_scaling), wish, notes);
  // Portrait is the default of each queue, and means upright only where a job says it.
  const bool isAsked = papplJobGetAttribute(job, "orientation-requested") != nullptr ||
                       options.orientation_requested != IPP_ORIENT_PORTRAIT;
  if (isAsked) {
    (void)takePageOption("orientation-requested", std::to_string(options.orientation_requested),
                         wish, notes);
  }
  return wish;
}

}  // namespace

std::vector<ChosenOption> choicesOf(const PrinterModel& model, pappl_printer_t* printer,
                                    const AskedValue& asked) {
  const Ipp queue(papplPrinterGetDriverAttributes(printer));
  return choicesOf(model, queue.get(), asked);
}

JobRequest readRequest(pappl_job_t* job, const pappl_pr_options_t& options) {
  pappl_printer_t* printer = papplJobGetPrinter(job);
  JobRequest request;
  request.model = findPrinterModel(papplPrinterGetDriverName(printer));
  request.medium =
      mediumOfSize(*request.model, options.media.size_width, options.media.size_length);
  const Ipp queue(papplPrinterGetDriverAttributes(printer));
  const StandardValues standard = {
      .isTrimmed = (options.finishings & PAPPL_FINISHINGS_TRIM) != 0,
      .darkness = options.print_darkness,
      .mediaType = options.media.type,
      .paper = request.medium.paper,
  };
  const auto asked = [job](const char* name) { return textOf(papplJobGetAttribute(job, name)); };
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> log(openLogStream(job), std::fclose);
  const LogScope scope(log.get());
  request.settings =
      settingsFromChoices(*request.model, jobChoices(*request.model, queue.get(), asked, standard));
  request.wish = wishOf(job, options);
  request.copies = options.copies;
  request.firstPage = options.first_page;
  request.lastPage = options.last_page;
  return request;
}

}  // namespace app
