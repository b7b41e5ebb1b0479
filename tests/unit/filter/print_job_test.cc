// SPDX-License-Identifier: Apache-2.0
// Jobs from plain settings: one with the options of our own, and several side by side.
#include "filter/print_job.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "tests/model/page_patterns.h"
#include "tests/model/pages.h"
#include "tests/model/stream.h"
#include "tests/support/files.h"

namespace {

model::RasterPage rasterPage(uint32_t width, uint32_t height, uint64_t seed) {
  model::RasterPage page;
  page.cupsWidth = width;
  page.bytesPerLine = width;
  page.height = height;
  page.pixels = model::photoPage(static_cast<int>(width), static_cast<int>(height), seed).pixels;
  return page;
}

cups_page_header2_t headerOf(const model::RasterPage& page) {
  cups_page_header2_t header = {};
  header.cupsWidth = page.cupsWidth;
  header.cupsHeight = page.height;
  header.cupsBytesPerLine = page.bytesPerLine;
  header.cupsBitsPerPixel = page.bitsPerPixel;
  header.cupsColorSpace = CUPS_CSPACE_K;
  header.HWResolution[0] = page.hwResolution;
  header.HWResolution[1] = page.hwResolution;
  header.NumCopies = page.numCopies;
  return header;
}

// A job's world, which is its own.
struct World {
  MemoryStream out;
  MemoryStream log;
  TempFolder pictures;

  FilterEnvironment environment() const {
    FilterEnvironment environment;
    environment.standardOutput = out.get();
    environment.log = log.get();
    environment.dumpFolder = pictures.path();
    environment.cancelRequested = [] { return false; };
    environment.awaitCancel = [] {};
    return environment;
  }
};

int printPages(const Settings& settings, const std::vector<model::RasterPage>& pages,
               const FilterEnvironment& environment) {
  PrintJob job(settings, environment);
  job.start();
  Outcome outcome = Outcome::proceed;
  for (size_t i = 0; outcome == Outcome::proceed && i < pages.size(); ++i) {
    outcome = job.startPage(headerOf(pages[i]));
    if (outcome == Outcome::proceed) outcome = job.printPage(pages[i].pixels.data());
  }
  return job.finish(outcome == Outcome::proceed ? Outcome::ended : outcome);
}

TEST(PrintJobTest, JobsOnTwoThreadsGiveTheBytesOfEach) {
  constexpr int kPages = 4;
  std::vector<model::RasterPage> pages;
  for (uint64_t seed = 0; seed < kPages; ++seed) {
    pages.push_back(rasterPage(200 + 3 * static_cast<uint32_t>(seed), 150, seed));
  }
  struct Job {
    int halftone;
    World world;
    int status = EXIT_FAILURE;
  };
  Job jobs[2] = {{2, {}}, {9, {}}};
  std::vector<std::thread> threads;
  for (Job& job : jobs) {
    threads.emplace_back([&job, &pages] {
      Settings settings;
      settings.halftoneType = static_cast<DitherType>(job.halftone);
      settings.brightness = job.halftone;
      job.status = printPages(settings, pages, job.world.environment());
    });
  }
  for (std::thread& thread : threads) thread.join();

  for (const Job& job : jobs) {
    SCOPED_TRACE(job.halftone);
    model::JobSettings settings;
    settings.halftoneType = job.halftone;
    settings.brightness = job.halftone;
    settings.pageCutType = 0;
    const model::JobResult expected = model::runJob(settings, pages);
    EXPECT_EQ(job.status, EXIT_SUCCESS);
    EXPECT_TRUE(sameBytes(expected.stdoutBytes, job.world.out.bytes()));
    EXPECT_EQ(job.world.pictures.names().size(), 2U * kPages);
    const std::string log = job.world.log.text();
    EXPECT_EQ(static_cast<size_t>(std::count(log.begin(), log.end(), '\n')), expected.log.size());
    const std::string choice = job.halftone == 9 ? "enabled" : "disabled";
    EXPECT_NE(log.find("PageProcess: QZ dithering is " + choice), std::string::npos);
  }
}

TEST(PrintJobTest, OwnOptionsReachThePage) {
  const model::RasterPage page = rasterPage(61, 40, 5);
  const World world;
  Settings settings;
  settings.halftoneType = DitherType::Burkes;
  settings.stencilMirror = true;
  settings.halfTurn = true;
  settings.contrast = 30;
  settings.keepPictures = false;
  ASSERT_EQ(printPages(settings, {page}, world.environment()), EXIT_SUCCESS);
  EXPECT_TRUE(world.pictures.names().empty());

  model::PrinterSettings printer;
  printer.halftoneType = static_cast<int>(DitherType::Burkes);
  printer.mirror = true;
  printer.rotate180 = true;
  printer.contrast = 30;
  const Bytes bands = model::printImage(printer, page.pixels, 61, 40, 61).bands;
  const Bytes sent = world.out.bytes();
  EXPECT_NE(std::search(sent.begin(), sent.end(), bands.begin(), bands.end()), sent.end());
}

TEST(PrintJobTest, TrimmedBlankPageSendsItsCommandsAlone) {
  model::RasterPage page = rasterPage(64, 400, 1);
  std::fill(page.pixels.begin(), page.pixels.end(), uint8_t{0});
  const World world;
  Settings settings;
  settings.trimPaper = TrimPaper::End;
  settings.pageCutType = 1;
  ASSERT_EQ(printPages(settings, {page, page}, world.environment()), EXIT_SUCCESS);

  model::JobSettings commands;
  commands.pageCutType = 1;
  Bytes expected(64, 0);
  append(expected, model::jobSetupBytes(commands));
  for (int i = 0; i < 2; ++i) append(expected, model::endPageBytes(commands));
  append(expected, model::endJobBytes(commands));
  EXPECT_TRUE(sameBytes(expected, world.out.bytes()));
}

TEST(PrintJobTest, FrameAndInvertingReachThePage) {
  model::RasterPage page = rasterPage(1208, 1418, 1);
  std::fill(page.pixels.begin(), page.pixels.end(), uint8_t{0});
  page.pixels[size_t{700} * 1208 + 600] = 255;
  cups_page_header2_t header = headerOf(page);
  std::strcpy(header.cupsPageSizeName, "Tattoo_A6");
  const World world;
  const FilterEnvironment environment = world.environment();
  Settings settings;
  settings.paperFrame = 1;
  settings.invertPage = true;
  PrintJob job(settings, environment);
  ASSERT_EQ(job.startPage(header), Outcome::proceed);
  ASSERT_EQ(job.printPage(page.pixels.data()), Outcome::proceed);
  const std::string log = world.log.text();
  EXPECT_NE(log.find("EnableAntiWrink: Drawing bottom line. point(1, 1406, 1206, 1418)"),
            std::string::npos);
  EXPECT_NE(log.find("WARN:The page is printed white on black"), std::string::npos);
}

TEST(PrintJobTest, ColourSpaceThatNobodyKnowsIsTold) {
  const model::RasterPage page = rasterPage(8, 8, 1);
  for (const uint32_t space : {64U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
    cups_page_header2_t header = headerOf(page);
    std::memcpy(&header.cupsColorSpace, &space, sizeof space);
    const World world;
    const FilterEnvironment environment = world.environment();
    PrintJob job({}, environment);
    ASSERT_EQ(job.startPage(header), Outcome::proceed);
    EXPECT_EQ(world.log.text().rfind("WARN:The page's cupsColorSpace is " +
                                         std::to_string(static_cast<int>(space)) +
                                         " instead of K (3), it may print inverted!\n",
                                     0),
              0U)
        << world.log.text();
  }
}

TEST(PrintJobTest, PageThatCannotBePrintedEndsTheJobInItsOwnLog) {
  model::RasterPage page = rasterPage(8, 8, 1);
  page.bitsPerPixel = 1;
  const World world;
  EXPECT_EQ(printPages({}, {page}, world.environment()), EXIT_FAILURE);
  EXPECT_EQ(world.log.text(),
            "ERROR:Unsupported bits per pixel : 1 ! Requires 8 bits per pixel!\n");
}

}  // namespace
