// SPDX-License-Identifier: Apache-2.0
// Pages made without CUPS's converters: close to what those would deliver, but not the same.
#ifndef TOOLS_DRAV_DOCUMENT_APPROXIMATE_SOURCE_H_
#define TOOLS_DRAV_DOCUMENT_APPROXIMATE_SOURCE_H_

#include <functional>
#include <memory>
#include <string>

#include "tools/drav/document/grey_page.h"
#include "tools/drav/document/picture.h"
#include "tools/drav/driver/driver_file.h"

// A picture as the one page of a job: turned when it is wider than tall, as large as
// the paper lets it be, the page ending with it. Null with one line in `error`.
std::unique_ptr<PageSource> pictureSource(const GreyPicture& picture, const DriverFile& driver,
                                          std::string& error);

// A PDF drawn by poppler's pdftoppm, each page in the middle of the job's paper. Null
// with one line in `error` when the program cannot be run. `idle` is called every so
// often until the program has ended.
std::unique_ptr<PageSource> popplerSource(const std::string& program, const std::string& path,
                                          const DriverFile& driver, std::function<void()> idle,
                                          std::string& error);

#endif  // TOOLS_DRAV_DOCUMENT_APPROXIMATE_SOURCE_H_
