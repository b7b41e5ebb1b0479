// SPDX-License-Identifier: Apache-2.0
// Makes pages for the printer of pictures and documents: drav prepare without its command
// line.
#ifndef TOOLS_DRAV_PREPARE_PREPARE_H_
#define TOOLS_DRAV_PREPARE_PREPARE_H_

#include <string>
#include <vector>

#include "proof/art_wish.h"
#include "tools/drav/driver/driver_file.h"

struct PrepareRequest {
  std::string input;  // a path, or "-"
  ArtWish art;
  JobChoice job;      // the driver file
  std::string paper;  // choice of PageSize; empty for the driver's own
  std::string out;    // .pdf or .png, or "-" for a PDF on standard output; empty for a name
                      // made of the input's
};

struct PreparedFile {
  std::string path;
  std::string text;  // what it shows, for people
};

struct PrepareReport {
  std::vector<PreparedFile> files;    // none for standard output
  std::vector<std::string> findings;  // ink that is lost
  std::vector<std::string> notes;     // what else the user should know
};

// False with one line in `error`, which names what is to blame; nothing is written then. A
// signal ends the program from here, with nothing left behind.
[[nodiscard]] bool preparePages(const PrepareRequest& request, PrepareReport& report,
                                std::string& error);

#endif  // TOOLS_DRAV_PREPARE_PREPARE_H_
