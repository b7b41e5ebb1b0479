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
#include "common/private_file.h"
#include "filter/cancel_tail.h"
#include "filter/commands.h"
#include "filter/input_descriptor.h"
#include "filter/page_geometry.h"
#include "filter/usage.h"
#include "printer/receipt_ep_printer.h"

namespace {

constexpr uint8_t kLeadingZeros[64] = {};
constexpr unsigned char kMeasureBothEdges = 10;

// Closes the stream with its handle.
struct CFileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
struct RasterCloser {
  void operator()(cups_raster_t* raster) const { cupsRasterClose(raster); }
};
// How a step of the job, or the job, has gone.
enum class Outcome {
  proceed,    // on to the next step
  ended,      // the input is used up
  failed,     // reported; stop without a job end
  cancelled,  // stop with the cancel tail
};

// One job from its settings on. Everything it holds is released with it: raster
// stream, input, record file and printer, in this order.
class Job {
 public:
  Job(const Settings& settings, const FilterEnvironment& environment, InputDescriptor input)
      : settings_(settings),
        environment_(environment),
        out_(environment.standardOutput),
        printer_(std::make_unique<ReceiptEpPrinter>()),
        input_(std::move(input)) {
    printer_->getOutputStreams() = {out_};
    printer_->setClock(environment.clock);
    printer_->setDumpFolder(environment.dumpFolder);
    printer_->setStopRequested(environment.cancelRequested);
  }

  int run() {
    openRecord();
    start();
    raster_.reset(cupsRasterOpen(input_.get(), CUPS_RASTER_READ));
    Outcome outcome = Outcome::proceed;
    while (outcome == Outcome::proceed) outcome = printNextPage();
    return finish(outcome);
  }

 private:
  void openRecord() {
    const char* name = settings_.recordFileName.data();
    if (*name == '\0' || !environment_.keepRecord) return;
    record_.reset(openPrivateFile(name, "w"));
    dravLogCommon(kLogDebug, "Filter data output to: %s", name);
    if (!record_) {
      dravLogCommon(kLogError, "Unable to open command record file %s!", name);
      return;
    }
    printer_->getOutputStreams().push_back(record_.get());
  }

  void start() {
    outputCommand({sizeof kLeadingZeros, kLeadingZeros}, out_);
    jobSetup(settings_, out_);
    progress_.inkSinceFeed = settings_.docTopLogoID > 0;
  }

  Outcome printNextPage() {
    Outcome outcome = readHeader();
    if (outcome == Outcome::proceed) outcome = checkHeader();
    if (outcome == Outcome::proceed) outcome = readPixels();
    if (outcome == Outcome::proceed) outcome = printPage();
    return outcome;
  }

  Outcome readHeader() {
    if (cancelled()) return Outcome::cancelled;
    const bool read = raster_ && cupsRasterReadHeader2(raster_.get(), &header_) != 0;
    if (!read && (pagesStarted_ == 0 || jobEndActs(settings_))) environment_.awaitCancel();
    if (cancelled()) return Outcome::cancelled;
    return read ? Outcome::proceed : Outcome::ended;
  }

  Outcome checkHeader() {
    if (header_.cupsBitsPerPixel != 8) {
      dravLogCommon(kLogError, "Unsupported bits per pixel : %d ! Requires 8 bits per pixel!",
                    static_cast<int>(header_.cupsBitsPerPixel));
      return Outcome::failed;
    }
    if (header_.cupsHeight == 0 || header_.cupsBytesPerLine == 0) return Outcome::ended;
    if (isUnprintable(header_)) {
      dravLogCommon(kLogError,
                    "Unprintable page: cupsWidth(%u), cupsHeight(%u), cupsBytesPerLine(%u)!",
                    header_.cupsWidth, header_.cupsHeight, header_.cupsBytesPerLine);
      return Outcome::failed;
    }
    if (!page_.growTo(pageBytes(header_))) {
      dravLogCommon(kLogError,
                    "No memory for a page of cupsHeight(%u) x cupsBytesPerLine(%u) bytes!",
                    header_.cupsHeight, header_.cupsBytesPerLine);
      return Outcome::failed;
    }
    warnOfColorSpace();
    return Outcome::proceed;
  }

  // 0 is no ink in the K colour space alone; other pages print as they are.
  void warnOfColorSpace() {
    if (header_.cupsColorSpace == CUPS_CSPACE_K || warnedOfColorSpace_) return;
    warnedOfColorSpace_ = true;
    dravLogCommon(kLogWarning,
                  "The page's cupsColorSpace is %d instead of K (%d), it may print inverted!",
                  static_cast<int>(header_.cupsColorSpace), static_cast<int>(CUPS_CSPACE_K));
  }

  Outcome readPixels() {
    pageSetup(settings_, header_, out_);
    ++pagesStarted_;
    dravLogCommon(kLogInfo, "PAGE: %d %d", pagesStarted_, static_cast<int>(header_.NumCopies));
    const uint32_t bytes = pageBytes(header_);
    const bool read = bytes != 0 && cupsRasterReadPixels(raster_.get(), page_.data(), bytes) >= 1;
    if (!read) environment_.awaitCancel();
    if (cancelled()) return Outcome::cancelled;
    return read ? Outcome::proceed : Outcome::ended;
  }

  Outcome printPage() {
    const uint64_t maxLinePixels = maxMediaLinePixels(settings_.maxMediaWidth, header_);
    dravLogCommon(kLogDebug, "Calc skip pixels : maxMediaLinePixels(%u), cupsBytesPerLine(%u)",
                  static_cast<unsigned>(maxLinePixels), header_.cupsBytesPerLine);
    printer_->setPageHeader(&header_);
    printer_->setRemoveBlankEdges(kMeasureBothEdges);
    printer_->setHalftoneType(settings_.halftoneType);
    printer_->setSkipRightPixels(
        static_cast<unsigned long>(skippedRightPixels(maxLinePixels, header_)));
    printer_->setBrightness(settings_.brightness);

    const uint64_t bandsBefore = printer_->bandsSent();
    printer_->printImage(page_.data(), header_.cupsBytesPerLine, header_.cupsHeight,
                         header_.cupsWidth);
    if (printer_->bandsSent() != bandsBefore) progress_.inkSinceFeed = true;
    if (printer_->rasterInterrupted() || cancelled()) return Outcome::cancelled;

    endPage(settings_, out_);
    progress_.inkSinceFeed = false;
    ++progress_.pagesFinished;
    checkRecord();
    return checkOutput() ? Outcome::proceed : Outcome::failed;
  }

  int finish(Outcome outcome) {
    bool normal = false;
    if (outcome == Outcome::cancelled) {
      sendCancelTail(settings_, progress_, out_);
    } else if (outcome == Outcome::ended && pagesStarted_ == 0) {
      dravLogCommon(kLogError, "No pages found!");
    } else if (outcome == Outcome::ended) {
      endJob(settings_, out_);
      normal = true;
    }
    checkRecord();
    if (!checkOutput()) normal = false;
    if (normal) dravLogCommon(kLogInfo, "Ready to print.");
    return normal ? EXIT_SUCCESS : EXIT_FAILURE;
  }

  bool cancelled() const { return environment_.cancelRequested(); }

  // Sends what is buffered; false, reported once, when standard output has
  // failed.
  bool checkOutput() {
    if (outputFailed_) return false;
    if (std::fflush(out_) == 0 && std::ferror(out_) == 0) return true;
    outputFailed_ = true;
    dravLogCommon(kLogError, "Unable to write to standard output!");
    return false;
  }

  // A record that fails is given up; the print goes on.
  void checkRecord() {
    if (!record_ || (std::fflush(record_.get()) == 0 && std::ferror(record_.get()) == 0)) return;
    dravLogCommon(kLogError, "Unable to write to command record file %s!",
                  settings_.recordFileName.data());
    printer_->getOutputStreams() = {out_};
    record_.reset();
  }

  const Settings settings_;
  const FilterEnvironment& environment_;
  std::FILE* const out_;
  std::unique_ptr<DravPrinter> printer_;
  std::unique_ptr<std::FILE, CFileCloser> record_;
  InputDescriptor input_;
  ByteBuffer page_;
  std::unique_ptr<cups_raster_t, RasterCloser> raster_;
  cups_page_header2_t header_ = {};
  JobProgress progress_;
  int32_t pagesStarted_ = 0;
  bool warnedOfColorSpace_ = false;
  bool outputFailed_ = false;
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
  if (!initializeSettings(argv[5], &settings, environment.clock)) return EXIT_FAILURE;
  return Job(settings, environment, std::move(input)).run();
}

}  // namespace

int runFilter(int argc, char* const argv[], const FilterEnvironment& environment) {
  try {
    return runJob(argc, argv, environment);
  } catch (const std::bad_alloc&) {
    dravLogCommon(kLogCritical, "Out of memory!");
    return EXIT_FAILURE;
  }
}
