// SPDX-License-Identifier: Apache-2.0
// Pictures and PDF: PAPPL's callbacks for files.
#ifndef APP_DOCUMENT_JOB_H_
#define APP_DOCUMENT_JOB_H_

#include <pappl/pappl.h>

#include <span>

#include "documents/file_kind.h"

namespace app {

// What PAPPL calls the format that goes to the printer. A filter to the driver's own
// format comes before PAPPL's own picture filters, which never end on a picture that is
// cut; and this name is one that each queue lists anyway, so nothing untrue is advertised.
inline constexpr const char* kDeviceFormat = "application/octet-stream";

// PDF only if `withPdf`. Before the system runs.
void addDocumentFilters(pappl_system_t* system, bool withPdf);

// Whether documents of that kind print here.
bool isPrintableKind(documents::FileKind kind);

// For jobs whose format nobody has named.
bool printDocument(pappl_job_t* job, pappl_pr_options_t* options, pappl_device_t* device);

}  // namespace app

#endif  // APP_DOCUMENT_JOB_H_
