// SPDX-License-Identifier: Apache-2.0
// What a job asks for, in the words of filter/ and documents/.
#ifndef APP_JOB_REQUEST_H_
#define APP_JOB_REQUEST_H_

#include <pappl/pappl.h>

#include <vector>

#include "app/job_settings.h"
#include "app/media.h"
#include "documents/page_request.h"
#include "filter/settings.h"

namespace app {

struct JobRequest {
  const PrinterModel* model = nullptr;
  Medium medium;
  Settings settings;
  documents::PageWish wish;
  int copies = 1;
  unsigned firstPage = 1;  // of a document
  unsigned lastPage = 0;
};

// The job's attributes, and the queue's defaults where it has none. `options` are PAPPL's;
// vendor defaults are not among them, so they are read from the queue.
JobRequest readRequest(pappl_job_t* job, const pappl_pr_options_t& options);

// As in app/job_settings.h, with the defaults of that queue.
std::vector<ChosenOption> choicesOf(const PrinterModel& model, pappl_printer_t* printer,
                                    const AskedValue& asked);

}  // namespace app

#endif  // APP_JOB_REQUEST_H_
