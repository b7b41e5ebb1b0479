// SPDX-License-Identifier: Apache-2.0
// Pages made by the converters that a print queue would run, without a scheduler.
#ifndef TOOLS_DRAV_DOCUMENT_CONVERTED_SOURCE_H_
#define TOOLS_DRAV_DOCUMENT_CONVERTED_SOURCE_H_

#include <functional>
#include <memory>
#include <string>

#include "common/child_process.h"
#include "tools/drav/document/raster_reader.h"
#include "tools/drav/driver/driver_file.h"

class ConvertedSource : public PageSource {
 public:
  // Runs `program`, CUPS's cupsfilter, on the file `path` of the media type `type` with
  // the driver file and the options of the job. `idle` is called while it is waited
  // for. False with one line in `error` when it cannot be run.
  [[nodiscard]] bool start(const std::string& program, const std::string& path,
                           const std::string& type, const DriverFile& driver,
                           std::function<void()> idle, std::string& error);

  Step next(GreyPage& page, std::string& error) override;

  // After a failure: CUPS has no converter for this type.
  bool isMissing() const { return missing_; }

 private:
  Step fail(std::string& error);

  std::string path_;
  ChildProcess child_;
  std::unique_ptr<RasterReader> pages_;
  bool missing_ = false;
};

#endif  // TOOLS_DRAV_DOCUMENT_CONVERTED_SOURCE_H_
