// SPDX-License-Identifier: Apache-2.0
// One job from its settings to its last byte, without where its pages come from.
#ifndef FILTER_PRINT_JOB_H_
#define FILTER_PRINT_JOB_H_

#include <cups/raster.h>

#include <cstdint>
#include <cstdio>
#include <memory>

#include "filter/cancel_tail.h"
#include "filter/environment.h"
#include "filter/settings.h"
#include "printer/receipt_ep_printer.h"

// How a step of the job, or the job, has gone.
enum class Outcome {
  proceed,    // on to the next step
  ended,      // the input is used up
  failed,     // reported; stop without a job end
  cancelled,  // stop with the cancel tail
};

// Whether the page can be printed: `proceed`, `ended` for a page without rows or
// columns, `failed` after an error line.
Outcome checkPage(const cups_page_header2_t& header);

// Calls in this order: start, then startPage and printPage for each page as long as
// all say `proceed`, then finish with what the last one has said. Jobs share nothing
// but the counter in the names of pictures: they may run on several threads, each
// job on one at a time. Its lines go to the environment's log.
class PrintJob {
 public:
  // The environment must outlive the job.
  PrintJob(const Settings& settings, const FilterEnvironment& environment);

  // Opens the record and sends the job start.
  void start();
  // Checks the page, sends the page start and counts the page.
  Outcome startPage(const cups_page_header2_t& header);
  // Prints the page's cupsHeight rows of cupsBytesPerLine bytes, then the page end.
  Outcome printPage(const uint8_t* pixels);
  // Sends the job end or the cancel tail; EXIT_SUCCESS when the job has ended normally.
  // No page at all is a failure.
  int finish(Outcome outcome);

  // Whether a job that ended now would do more than ask for the paper status.
  bool endActs() const;

 private:
  void openRecord();
  void warnOfColorSpace();
  void configurePrinter(const uint8_t* pixels);
  void reportLostSide(uint64_t skippedPixels, const uint8_t* pixels) const;
  bool cancelled() const { return environment_.cancelRequested(); }
  bool checkOutput();
  void checkRecord();

  // Closes the stream with its handle.
  struct CFileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  const Settings settings_;
  const FilterEnvironment& environment_;
  std::FILE* const out_;
  std::unique_ptr<DravPrinter> printer_;
  std::unique_ptr<std::FILE, CFileCloser> record_;  // closed before the printer goes
  cups_page_header2_t header_ = {};
  JobProgress progress_;
  int32_t pagesStarted_ = 0;
  bool warnedOfColorSpace_ = false;
  bool outputFailed_ = false;
};

#endif  // FILTER_PRINT_JOB_H_
