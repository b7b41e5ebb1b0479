// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/inspect/inspect.h"

#include "tools/drav/command.h"
#include "tools/drav/inspect/job_survey.h"
#include "tools/drav/inspect/json_report.h"
#include "tools/drav/inspect/text_report.h"
#include "tools/drav/job/printer_options.h"

int inspectStream(std::span<const uint8_t> stream, const InspectOptions& given, std::ostream& out,
                  std::string& error) {
  const Survey survey = surveyStream(stream, given.printer);
  InspectOptions options = given;
  assumeResolution(survey.totals.mostBytesPerRow, options.printer);
  if (!survey.unreadable.empty()) {
    error = survey.unreadable;
    return kExitFailed;
  }
  if (options.json) {
    writeJsonReport(stream, options, survey, out);
  } else {
    writeTextReport(stream, options, survey, out);
  }
  return survey.isClean() ? kExitDone : kExitFindings;
}
