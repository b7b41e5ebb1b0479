// SPDX-License-Identifier: Apache-2.0
// Checks of the folders that the filter writes to.
#ifndef TOOLS_DRAV_DOCTOR_FOLDER_CHECK_H_
#define TOOLS_DRAV_DOCTOR_FOLDER_CHECK_H_

#include <string>

#include "tools/drav/doctor/finding.h"
#include "tools/drav/doctor/installation.h"
#include "tools/drav/doctor/ppd_check.h"

// The folder of the diagnostic pictures: whether the filter can write there, and
// what its pictures take of the disk.
void checkPictureFolder(const Installation& installation, Findings& findings);

// The folder of a queue's command records, by its PPD.
void checkRecordFolder(const std::string& queue, const PpdSummary& ppd,
                       const Installation& installation, Findings& findings);

#endif  // TOOLS_DRAV_DOCTOR_FOLDER_CHECK_H_
