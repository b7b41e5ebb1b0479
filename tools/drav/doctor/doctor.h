// SPDX-License-Identifier: Apache-2.0
// Examines an installation: every check, in the order of a report.
#ifndef TOOLS_DRAV_DOCTOR_DOCTOR_H_
#define TOOLS_DRAV_DOCTOR_DOCTOR_H_

#include <string>
#include <vector>

#include "tools/drav/doctor/error_log.h"
#include "tools/drav/doctor/finding.h"
#include "tools/drav/doctor/installation.h"
#include "tools/drav/doctor/queues.h"
#include "tools/drav/doctor/redaction.h"

// A queue that was examined, with what a supporter needs to see of it.
struct ExaminedQueue {
  QueueState state;
  std::string ppd;  // its text; empty when there is none or it cannot be read
};

struct Diagnosis {
  Findings findings;
  std::vector<ExaminedQueue> queues;
  LogExtract log;
  std::string cupsVersion;  // of the scheduler, if it told
  Redactor redactor;        // knows the users and titles of the queues' jobs
};

// Examines the queue named `queue`, or, when that is empty, each queue whose PPD
// names the filter. `queues` tells of them; what was found in getting there (no
// scheduler, say) stands in `diagnosis.findings` already and stays first.
// False with one line in `error` when the named queue does not exist or the queues
// cannot be had.
[[nodiscard]] bool examine(const Installation& installation, Queues& queues,
                           const std::string& queue, Diagnosis& diagnosis, std::string& error);

#endif  // TOOLS_DRAV_DOCTOR_DOCTOR_H_
