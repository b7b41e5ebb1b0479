// SPDX-License-Identifier: Apache-2.0
#include "app/job_request.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "app/option_attributes.h"
#include "documents/page_options.h"

namespace app {
namespace {

struct IppDeleter {
  void operator()(ipp_t* message) const { ippDelete(message); }
};
using Ipp = std::unique_ptr<ipp_t, IppDeleter>;

std::string textOf(ipp_attribute_t* attribute) {
  std::array<char, 256> text{};
  if (attribute != nullptr) (void)ippAttributeString(attribute, text.data(), text.size());
  return text.data();
}

bool hasTrim(const PrinterModel& model, pappl_job_t* job, const pappl_pr_options_t& options) {
  return mayHaveCutter(model) && papplJobGetAttribute(job, "job-cut") == nullptr &&
         (options.finishings & PAPPL_FINISHINGS_TRIM) != 0;
}

std::vector<ChosenOption> chosenOptions(const PrinterModel& model, pappl_job_t* job,
                                        const pappl_pr_options_t& options, const Medium& medium) {
  std::vector<ChosenOption> chosen =
      choicesOf(model, papplJobGetPrinter(job),
                [job](const char* name) { return textOf(papplJobGetAttribute(job, name)); });
  if (hasTrim(model, job, options)) chosen.push_back({"docCutType", "1"});
  chosen.push_back({"PrintDensity", densityOfDarkness(options.print_darkness)});
  const std::string_view type = options.media.type;
  if (type == "stationery" || type == "continuous")
    chosen.push_back({"PageType", type == "continuous" ? "1" : "0"});
  chosen.push_back({"PageSize", medium.paper});
  return chosen;
}

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
                                    const std::function<std::string(const char* name)>& asked) {
  const Ipp queue(papplPrinterGetDriverAttributes(printer));
  std::vector<ChosenOption> chosen;
  for (const OptionAttribute& one : optionAttributes()) {
    if (!hasAttribute(model, one)) continue;
    const char* choice = choiceOfValue(one, asked(one.name));
    if (choice == nullptr) {
      const std::string name = std::string(one.name) + "-default";
      choice =
          choiceOfValue(one, textOf(ippFindAttribute(queue.get(), name.c_str(), IPP_TAG_ZERO)));
    }
    if (choice != nullptr) chosen.push_back({one.option, choice});
  }
  return chosen;
}

JobRequest readRequest(pappl_job_t* job, const pappl_pr_options_t& options) {
  JobRequest request;
  request.model = findPrinterModel(papplPrinterGetDriverName(papplJobGetPrinter(job)));
  request.medium =
      mediumOfSize(*request.model, options.media.size_width, options.media.size_length);
  request.settings = settingsFromChoices(
      *request.model, chosenOptions(*request.model, job, options, request.medium));
  request.wish = wishOf(job, options);
  request.copies = options.copies;
  request.firstPage = options.first_page;
  request.lastPage = options.last_page;
  return request;
}

}  // namespace app
