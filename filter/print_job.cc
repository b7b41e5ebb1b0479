// SPDX-License-Identifier: Apache-2.0
#include "filter/print_job.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "common/log.h"
#include "common/private_file.h"
#include "filter/commands.h"
#include "filter/lost_side.h"
#include "filter/page_geometry.h"

namespace {

constexpr uint8_t kLeadingZeros[64] = {};
constexpr unsigned char kMeasureBothEdges = 10;

// As a number: a raster may state one that the type cannot hold.
uint32_t colorSpaceOf(const cups_page_header2_t& header) {
  uint32_t space = 0;
  static_assert(sizeof header.cupsColorSpace == sizeof space);
  std::memcpy(&space, &header.cupsColorSpace, sizeof space);
  return space;
}

}  // namespace

Outcome checkPage(const cups_page_header2_t& header) {
  if (header.cupsBitsPerPixel != 8) {
    dravLogCommon(kLogError, "Unsupported bits per pixel : %d ! Requires 8 bits per pixel!",
                  static_cast<int>(header.cupsBitsPerPixel));
    return Outcome::failed;
  }
  if (header.cupsHeight == 0 || header.cupsBytesPerLine == 0) return Outcome::ended;
  if (isUnprintable(header)) {
    dravLogCommon(kLogError,
                  "Unprintable page: cupsWidth(%u), cupsHeight(%u), cupsBytesPerLine(%u)!",
                  header.cupsWidth, header.cupsHeight, header.cupsBytesPerLine);
    return Outcome::failed;
  }
  return Outcome::proceed;
}

PrintJob::PrintJob(const Settings& settings, const FilterEnvironment& environment)
    : settings_(settings),
      environment_(environment),
      out_(environment.standardOutput),
      printer_(std::make_unique<ReceiptEpPrinter>()) {
  printer_->getOutputStreams() = {out_};
  printer_->setClock(environment.clock);
  printer_->setDumpFolder(environment.dumpFolder);
  printer_->setStopRequested(environment.cancelRequested);
}

void PrintJob::start() {
  const LogScope log(environment_.log);
  openRecord();
  outputCommand({sizeof kLeadingZeros, kLeadingZeros}, out_);
  jobSetup(settings_, out_);
  progress_.inkSinceFeed = settings_.docTopLogoID > 0;
}

void PrintJob::openRecord() {
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

Outcome PrintJob::startPage(const cups_page_header2_t& header) {
  const LogScope log(environment_.log);
  const Outcome checked = checkPage(header);
  if (checked != Outcome::proceed) return checked;
  header_ = header;
  warnOfColorSpace();
  pageSetup(settings_, header_, out_);
  ++pagesStarted_;
  dravLogCommon(kLogInfo, "PAGE: %d %d", pagesStarted_, static_cast<int>(header_.NumCopies));
  return Outcome::proceed;
}

// 0 is no ink in the K colour space alone; other pages print as they are.
void PrintJob::warnOfColorSpace() {
  const uint32_t space = colorSpaceOf(header_);
  if (space == CUPS_CSPACE_K || warnedOfColorSpace_) return;
  warnedOfColorSpace_ = true;
  dravLogCommon(kLogWarning,
                "The page's cupsColorSpace is %d instead of K (%d), it may print inverted!",
                static_cast<int>(space), static_cast<int>(CUPS_CSPACE_K));
}

Outcome PrintJob::printPage(const uint8_t* pixels) {
  const LogScope log(environment_.log);
  configurePrinter(pixels);
  const uint64_t bandsBefore = printer_->bandsSent();
  printer_->printImage(pixels, header_.cupsBytesPerLine, header_.cupsHeight, header_.cupsWidth);
  if (printer_->bandsSent() != bandsBefore) progress_.inkSinceFeed = true;
  if (printer_->rasterInterrupted() || cancelled()) return Outcome::cancelled;

  endPage(settings_, out_);
  progress_.inkSinceFeed = false;
  ++progress_.pagesFinished;
  checkRecord();
  return checkOutput() ? Outcome::proceed : Outcome::failed;
}

// The columns that do not print are those at the right end of the printed row, wherever
// the options put the drawing's.
void PrintJob::reportLostSide(uint64_t skippedPixels, const uint8_t* pixels) const {
  const uint32_t printed = printedColumns(skippedPixels, header_);
  if (printed == header_.cupsWidth) return;
  const bool isReversed = settings_.stencilMirror != settings_.halfTurn;
  if (settings_.stencilMirror || settings_.halfTurn)
    dravLogCommon(kLogDebug, "The %s %u columns of the drawing lie beyond the head",
                  isReversed ? "left" : "right", header_.cupsWidth - printed);
  const auto lost = inkBeyondHead(header_, printed, isReversed, pixels);
  if (lost.empty()) return;
  const std::string text = lostInkText(lost, header_.HWResolution[0], header_.HWResolution[1]);
  dravLogCommon(kLogWarning, "drav: page %d: %s", pagesStarted_, text.c_str());
}

void PrintJob::configurePrinter(const uint8_t* pixels) {
  const uint64_t maxLinePixels = maxMediaLinePixels(settings_.maxMediaWidth, header_);
  dravLogCommon(kLogDebug, "Calc skip pixels : maxMediaLinePixels(%u), cupsBytesPerLine(%u)",
                static_cast<unsigned>(maxLinePixels), header_.cupsBytesPerLine);
  const uint64_t skippedPixels = skippedRightPixels(maxLinePixels, header_);
  reportLostSide(skippedPixels, pixels);
  printer_->setPageHeader(&header_);
  printer_->setRemoveBlankEdges(kMeasureBothEdges);
  printer_->setHalftoneType(settings_.halftoneType);
  printer_->setSkipRightPixels(static_cast<unsigned long>(skippedPixels));
  printer_->setBrightness(settings_.brightness);

  printer_->setMirrorPrint(settings_.stencilMirror);
  printer_->setRotate180Print(settings_.halfTurn);
  printer_->setContrast(settings_.contrast);
  printer_->setAntiWrinkle(settings_.paperFrame);
  printer_->setInvertPage(settings_.invertPage);
  printer_->setTrimPaper(settings_.trimPaper);
  printer_->setKeepPictures(settings_.keepPictures);
}

int PrintJob::finish(Outcome outcome) {
  const LogScope log(environment_.log);
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

bool PrintJob::endActs() const { return pagesStarted_ == 0 || jobEndActs(settings_); }

// Sends what is buffered; false, reported once, when standard output has failed.
bool PrintJob::checkOutput() {
  if (outputFailed_) return false;
  if (std::fflush(out_) == 0 && std::ferror(out_) == 0) return true;
  outputFailed_ = true;
  dravLogCommon(kLogError, "Unable to write to standard output!");
  return false;
}

// A record that fails is given up; the print goes on.
void PrintJob::checkRecord() {
  if (!record_ || (std::fflush(record_.get()) == 0 && std::ferror(record_.get()) == 0)) return;
  dravLogCommon(kLogError, "Unable to write to command record file %s!",
                settings_.recordFileName.data());
  printer_->getOutputStreams() = {out_};
  record_.reset();
}
