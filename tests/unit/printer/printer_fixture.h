// SPDX-License-Identifier: Apache-2.0
// A printer whose bytes and pictures stay in the test.
#ifndef TESTS_UNIT_PRINTER_PRINTER_FIXTURE_H_
#define TESTS_UNIT_PRINTER_PRINTER_FIXTURE_H_

#include <cups/raster.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "printer/receipt_ep_printer.h"
#include "tests/model/pages.h"
#include "tests/support/files.h"

class PrinterFixture : public testing::Test {
 protected:
  // 2025-01-31 23:59:59 in UTC.
  static constexpr std::time_t kNow = 1738367999;

  PrinterFixture() {
    printer_.getOutputStreams() = {out_.get()};
    printer_.setDumpFolder(folder_.path()).setClock([] { return kNow; });
  }

  // Everything that the model's record of a page says.
  void configure(const model::PrinterSettings& settings) {
    header_ = {};
    std::memcpy(header_.cupsPageSizeName, settings.pageSizeName.data(),
                std::min(settings.pageSizeName.size(), sizeof header_.cupsPageSizeName));
    header_.HWResolution[1] = settings.verticalResolution;
    printer_.setPageHeader(settings.hasPageHeader ? &header_ : nullptr)
        .setHalftoneType(static_cast<DitherType>(settings.halftoneType))
        .setBrightness(settings.brightness)
        .setContrast(settings.contrast)
        .setRotate180Print(settings.rotate180)
        .setMirrorPrint(settings.mirror)
        .setNegativePrint(settings.negative)
        .setAntiWrinkle(settings.antiWrinkle)
        .setRemoveBlankEdges(settings.removeBlankEdges)
        .setSkipRightPixels(static_cast<unsigned long>(settings.skipRightPixels))
        .setInvertPage(settings.invert)
        .setTrimPaper(static_cast<TrimPaper>(settings.trim))
        .setKeepPictures(settings.keepPictures);
  }

  TempFolder folder_;
  MemoryStream out_;
  cups_page_header2_t header_ = {};
  ReceiptEpPrinter printer_;
};

#endif  // TESTS_UNIT_PRINTER_PRINTER_FIXTURE_H_
