// SPDX-License-Identifier: Apache-2.0
#include "filter/run_filter.h"

#include <cups/raster.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

#include "common/byte_buffer.h"
#include "common/log.h"
#include "filter/input_descriptor.h"
#include "filter/page_geometry.h"
#include "filter/print_job.h"
#include "filter/usage.h"

namespace {

struct RasterCloser {
  void operator()(cups_raster_t* raster) const { cupsRasterClose(raster); }
};
// Where the pages of a job come from. Stream, input and buffer go with it.
class PageReader {
 public:
  PageReader(const FilterEnvironment& environment, InputDescriptor input)
      : environment_(environment), input_(std::move(input)) {}

  void open() { raster_.reset(cupsRasterOpen(input_.get(), CUPS_RASTER_READ)); }

  Outcome printNextPage(PrintJob& job) {
    Outcome outcome = readHeader(job);
    if (outcome == Outcome::proceed) outcome = checkPage(header_);
    if (outcome == Outcome::proceed) outcome = makeRoom();
    if (outcome == Outcome::proceed) outcome = job.startPage(header_);
    if (outcome == Outcome::proceed) outcome = readPixels();
    if (outcome == Outcome::proceed) outcome = job.printPage(page_.data());
    return outcome;
  }

 private:
  Outcome readHeader(const PrintJob& job) {
    if (cancelled()) return Outcome::cancelled;
    const bool read = raster_ && cupsRasterReadHeader2(raster_.get(), &header_) != 0;
    if (!read && job.endActs()) environment_.awaitCancel();
    if (cancelled()) return Outcome::cancelled;
    return read ? Outcome::proceed : Outcome::ended;
  }

  Outcome makeRoom() {
    if (page_.growTo(pageBytes(header_))) return Outcome::proceed;
    dravLogCommon(kLogError, "No memory for a page of cupsHeight(%u) x cupsBytesPerLine(%u) bytes!",
                  header_.cupsHeight, header_.cupsBytesPerLine);
    return Outcome::failed;
  }

  Outcome readPixels() {
    const uint32_t bytes = pageBytes(header_);
    const bool read = bytes != 0 && cupsRasterReadPixels(raster_.get(), page_.data(), bytes) >= 1;
    if (!read) environment_.awaitCancel();
    if (cancelled()) return Outcome::cancelled;
    return read ? Outcome::proceed : Outcome::ended;
  }

  bool cancelled() const { return environment_.cancelRequested(); }

  const FilterEnvironment& environment_;
  InputDescriptor input_;
  ByteBuffer page_;
  std::unique_ptr<cups_raster_t, RasterCloser> raster_;
  cups_page_header2_t header_ = {};
};

int runJob(int argc, char* const argv[], const FilterEnvironment& environment) {
  if (argc < 6 || argc > 7) {
    printUsage(argc > 0 ? argv[0] : nullptr);
    return EXIT_FAILURE;
  }
  InputDescriptor input(environment.standardInput);
  if (argc == 7 && !input.open(argv[6])) {
    dravLogCommon(kLogError, "Unable to open raster file!");
    sleep(1);
    return EXIT_FAILURE;
  }
  Settings settings;
  if (!readSettings(environment.ppdPath(), argv[5], &settings, environment.clock)) {
    return EXIT_FAILURE;
  }
  // Released last to first: raster stream, input, record file and printer.
  PrintJob job(settings, environment);
  PageReader reader(environment, std::move(input));
  job.start();
  reader.open();
  Outcome outcome = Outcome::proceed;
  while (outcome == Outcome::proceed) outcome = reader.printNextPage(job);
  return job.finish(outcome);
}

}  // namespace

int runFilter(int argc, char* const argv[], const FilterEnvironment& environment) {
  const LogScope log(environment.log);
  try {
    return runJob(argc, argv, environment);
  } catch (const std::bad_alloc&) {
    dravLogCommon(kLogCritical, "Out of memory!");
    return EXIT_FAILURE;
  }
}
