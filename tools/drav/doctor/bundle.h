// SPDX-License-Identifier: Apache-2.0
// Packs what a supporter needs into one archive.
#ifndef TOOLS_DRAV_DOCTOR_BUNDLE_H_
#define TOOLS_DRAV_DOCTOR_BUNDLE_H_

#include <string>

#include "tools/drav/doctor/doctor.h"

struct BundleRequest {
  std::string output;         // .tar.gz; readable by its owner alone
  bool withPictures = false;  // the customers' pages, newest first
};

struct BundleOutcome {
  size_t files = 0;
  size_t pictures = 0;
  size_t picturesLeftOut = 0;
};

// Writes report, platform, queues with their PPDs and attributes, log lines, and
// names and sizes of the diagnostic pictures. Names of users, titles of jobs,
// passwords, descriptions and places of printers, and the machine's name are left
// out. On failure: false with one line in `error`, and an older file stays as it was.
[[nodiscard]] bool writeBundle(const BundleRequest& request, const Installation& installation,
                               const Diagnosis& diagnosis, BundleOutcome& outcome,
                               std::string& error);

#endif  // TOOLS_DRAV_DOCTOR_BUNDLE_H_
