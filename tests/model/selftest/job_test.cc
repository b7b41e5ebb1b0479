// SPDX-License-Identifier: Apache-2.0
// Known answers for the models of commands and jobs, and for the test pages.

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "tests/model/grey.h"
#include "tests/model/page_patterns.h"
#include "tests/model/pages.h"
#include "tests/model/palette_image.h"
#include "tests/model/selftest/known_answers.h"
#include "tests/model/stream.h"
#include "tests/model/tone.h"

namespace {

using namespace model;

RasterPage rasterPage(const Grey& picture) {
  RasterPage page;
  page.cupsWidth = static_cast<uint32_t>(picture.width);
  page.bytesPerLine = page.cupsWidth;
  page.height = static_cast<uint32_t>(picture.height);
  page.pixels = picture.pixels;
  return page;
}

TEST(ModelJob, Commands) {
  const JobSettings bare;
  EXPECT_EQ(hexOf(jobSetupBytes(bare)), "1B 40 1F 1B 1F 13 14 00 1B 24 01 00") << "bare job setup";
  EXPECT_EQ(hexOf(pageSetupBytes(bare)), "") << "bare page setup";
  EXPECT_EQ(hexOf(endPageBytes(bare)), "1B 4A A0") << "bare page end";
  EXPECT_EQ(hexOf(endJobBytes(bare)), "1B 76") << "bare job end";

  JobSettings s;
  s.printDensity = 3;
  s.cashDrawer1Setting = 1;
  s.cashDrawer2Setting = 0;
  s.documentBuzzerSetting = 2;
  s.pageBuzzerSetting = 0;
  s.buzzerRepeat = 2;
  s.buzzerOnTime = 3;
  s.docTopLogoID = 1;
  s.docTopLogoMode = 0;
  s.docTopLogoPosition = 1;
  s.docBottomLogoID = 0;
  s.pageCutType = 0;
  s.docCutType = 1;
  s.feedCutAfterJobEnd = 3;
  EXPECT_EQ(hexOf(jobSetupBytes(s)),
            "1B 40 1F 1B 1F 13 14 03 1B 70 00 40 40 1B 61 01 1C 70 01 00 1B 61 00 1B 24 01 00")
      << "job setup";
  EXPECT_EQ(hexOf(pageSetupBytes(s)), "") << "page setup";
  EXPECT_EQ(hexOf(endPageBytes(s)), "1B 4A A0") << "page end";
  EXPECT_EQ(hexOf(endJobBytes(s)), "1B 4A 78 1B 64 03 0A 0A 0A 0A 1D 56 01 1B 42 02 03 1B 76")
      << "job end";

  JobSettings loud;
  loud.documentBuzzerSetting = 1;
  loud.pageBuzzerSetting = 1;
  loud.cashDrawer1Setting = 2;
  loud.cashDrawer2Setting = 1;
  EXPECT_EQ(hexOf(jobSetupBytes(loud)),
            "1B 40 1F 1B 1F 13 14 00 1B 70 01 40 40 1B 42 FF FF 1B 24 01 00")
      << "missing times";
  EXPECT_EQ(hexOf(pageSetupBytes(loud)), "1B 42 FF FF") << "page buzzer at the start";
  EXPECT_EQ(hexOf(endJobBytes(loud)), "1B 70 00 40 40 1B 76") << "drawer at the end";
  loud.pageBuzzerSetting = 2;
  loud.pageCutType = 2;
  loud.docBottomLogoID = 5;
  loud.docBottomLogoPosition = 2;
  loud.docBottomLogoMode = 3;
  EXPECT_EQ(hexOf(endPageBytes(loud)),
            "1B 4A A0 1B 61 02 1C 70 05 03 1B 61 00 0A 0A 0A 0A 1D 56 00 1B 42 FF FF")
      << "page end in order";
  loud.pageCutType = 3;
  loud.pageBuzzerSetting = 0;
  loud.docBottomLogoID = 0;
  EXPECT_EQ(hexOf(endPageBytes(loud)), "1B 4A A0") << "a cut that does not exist";

  EXPECT_EQ(maxMediaLinePixels(576, 203), 1624U) << "width limit";
  EXPECT_EQ(skipPixels(576, 203, 1700), 76U) << "skip of 1700";
  EXPECT_EQ(skipPixels(576, 203, 1624), 0U) << "skip of 1624";
  EXPECT_EQ(skipPixels(576, 203, 1000), 0U) << "skip of 1000";
  EXPECT_EQ(skipPixels(0, 203, 1700), 0U) << "no limit";
  EXPECT_EQ(skipPixels(-5, 203, 1700), 0U) << "negative limit";
  EXPECT_EQ(skipPixels(static_cast<double>(INFINITY), 203, 1700), 0U) << "infinite limit";
  EXPECT_EQ(skipPixels(static_cast<double>(NAN), 203, 1700), 0U) << "limit that is no number";
  EXPECT_EQ(skipPixels(576, 300, 2479), 79U) << "skip of A4";
}

size_t countLines(const JobResult& job, const std::string& line) {
  size_t count = 0;
  for (const std::string& entry : job.log) {
    if (entry == line) ++count;
  }
  return count;
}

TEST(ModelJob, Jobs) {
  JobSettings settings;
  const Bytes zeros(64, 0);
  Bytes start = zeros;
  for (uint8_t byte : jobSetupBytes(settings)) start.push_back(byte);

  const JobResult none = runJob(settings, {});
  EXPECT_EQ(none.stdoutBytes, start) << "no pages: job setup only";
  EXPECT_EQ(none.exitStatus, 1) << "no pages: status";
  EXPECT_EQ(none.log.back(), "ERROR:No pages found!") << "no pages: line";

  RasterPage page = rasterPage(photoPage(945, 100, 1));
  settings.recordFileName = "r.bin";
  settings.halftoneType = 1;
  const JobResult one = runJob(settings, {page});
  const size_t bands = 2 * 8 + 119 * 100;
  EXPECT_EQ(one.stdoutBytes.size(), start.size() + bands + 3 + 2) << "one page";
  EXPECT_EQ(one.recordBytes.size(), bands) << "record has the bands alone";
  EXPECT_EQ(std::memcmp(one.recordBytes.data(), one.stdoutBytes.data() + start.size(), bands), 0)
      << "record equals the bands";
  EXPECT_EQ(one.exitStatus, 0) << "one page: status";
  EXPECT_EQ(one.saved.size(), 2U) << "two picture files";
  EXPECT_EQ(static_cast<int64_t>(one.saved[0].bytes.size()), 1078 + 945 * 100) << "input picture";
  EXPECT_EQ(static_cast<int64_t>(one.saved[1].bytes.size()), 1078 + 945 * 100) << "result picture";
  EXPECT_EQ(one.log.front(), "DEBUG:Filter data output to: r.bin") << "record line";
  EXPECT_EQ(one.log[1], "DEBUG:PAGE: 1 1") << "page line";
  EXPECT_EQ(one.log[2], "DEBUG:Calc skip pixels : maxMediaLinePixels(0), cupsBytesPerLine(945)")
      << "skip line";
  EXPECT_EQ(one.log.back(), "DEBUG:Ready to print.") << "last line";
  EXPECT_EQ(countLines(one, "WARN:<may print inverted>"), 0U) << "K is fine";

  RasterPage black = page;
  black.bitsPerPixel = 1;
  const JobResult stopped = runJob(settings, {page, black, page});
  EXPECT_EQ(stopped.exitStatus, 1) << "1-bit page: status";
  EXPECT_EQ(stopped.stdoutBytes.size(), start.size() + bands + 3) << "1-bit page: no job end";
  EXPECT_EQ(stopped.log.back(), "ERROR:Unsupported bits per pixel : 1 ! Requires 8 bits per pixel!")
      << "1-bit line";

  RasterPage cut = page;
  cut.pixels.pop_back();
  const JobResult shortened = runJob(settings, {page, cut, page});
  EXPECT_EQ(shortened.exitStatus, 0) << "cut-off page: status";
  EXPECT_EQ(shortened.stdoutBytes.size(), start.size() + bands + 3 + 2)
      << "cut-off page: job end follows";
  EXPECT_EQ(countLines(shortened, "DEBUG:PAGE: 2 1"), 1U) << "it was counted";

  RasterPage flat = page;
  flat.height = 0;
  EXPECT_EQ(runJob(settings, {flat}).exitStatus, 1) << "no height, no page";
  EXPECT_EQ(runJob(settings, {page, flat}).exitStatus, 0) << "no height after a page";

  RasterPage overrun = page;
  overrun.cupsWidth = 946;
  const JobResult refused = runJob(settings, {page, overrun});
  EXPECT_EQ(refused.exitStatus, 1) << "overrun: status";
  EXPECT_EQ(refused.stdoutBytes.size(), start.size() + bands + 3) << "overrun: nothing more";
  RasterPage huge;
  huge.cupsWidth = 65537;
  huge.bytesPerLine = 65537;
  huge.height = 65536;
  EXPECT_EQ(runJob(settings, {huge}).exitStatus, 1) << "huge page: status";
  EXPECT_EQ(runJob(settings, {huge}).stdoutBytes, start) << "huge page: nothing more";
  huge.cupsWidth = 65536;
  huge.bytesPerLine = 65536;
  const JobResult wrapped = runJob(settings, {huge});
  EXPECT_EQ(wrapped.exitStatus, 0) << "a size that wraps to 0 ends the loop";
  EXPECT_EQ(wrapped.stdoutBytes.size(), start.size() + 2)
      << "a size that wraps to 0: job end follows";

  RasterPage narrow = page;
  narrow.cupsWidth = 0;
  const JobResult empty = runJob(settings, {page, narrow});
  EXPECT_EQ(empty.exitStatus, 0) << "no width: status";
  EXPECT_EQ(empty.stdoutBytes.size(), start.size() + bands + 3 + 3 + 2) << "no width: no bands";
  EXPECT_EQ(empty.saved.size(), 3U) << "no width: no result picture";
  EXPECT_EQ(countLines(empty, "ERROR:printImage: pimage is NULL, unable to print the image"), 1U)
      << "no width: line";
  EXPECT_EQ(countLines(empty, "CRIT:paletteImage.CreateFromArray with grey failed!"), 1U)
      << "no width: creation line";

  RasterPage white = page;
  white.colorSpace = 0;
  EXPECT_EQ(countLines(runJob(settings, {page, white, white}), "WARN:<may print inverted>"), 1U)
      << "one warning a job";

  settings.pageCutType = 2;
  settings.docCutType = 2;
  const JobResult cuts = runJob(settings, {page, page});
  EXPECT_EQ(cuts.stdoutBytes.size(), start.size() + 2 * (bands + 3 + 7) + 7 + 2) << "three cuts";

  settings = JobSettings{};
  settings.maxMediaWidth = 576;
  const JobResult a4 = runJob(settings, {rasterPage(makeGrey(2479, 3, 0))});
  EXPECT_EQ(hexOf(Bytes(a4.stdoutBytes.begin() + static_cast<std::ptrdiff_t>(start.size()),
                        a4.stdoutBytes.begin() + static_cast<std::ptrdiff_t>(start.size()) + 8)),
            "1D 76 30 00 2D 01 03 00")
      << "A4 row of 301 bytes";
  settings.savesFail = true;
  const JobResult unsaved = runJob(settings, {rasterPage(makeGrey(20, 3, 0))});
  EXPECT_EQ(countLines(unsaved, "DravPrinter::saveImage: unable to open the file <path>"), 2U)
      << "saves that fail";
}

TEST(ModelJob, Patterns) {
  Random random(0);
  // First outputs of splitmix64 from state 0.
  EXPECT_EQ(random.next(), 0xE220A8397B1DCDAFU) << "first random number";
  EXPECT_EQ(random.next(), 0x6E789E6AA1B965F4U) << "second random number";
  EXPECT_EQ(sineOf(0), 0) << "sine of 0";
  EXPECT_EQ(sineOf(256), 1024) << "crest";
  EXPECT_EQ(sineOf(-256), -1024) << "trough";
  for (const std::string& name : patternNames()) {
    for (int width : {1, 2, 50}) {
      const Grey page = patternPage(name, width, 31, 7);
      EXPECT_EQ(static_cast<int64_t>(page.pixels.size()), width * 31) << "size of " + name;
      EXPECT_EQ(page.pixels, patternPage(name, width, 31, 7).pixels) << name + " repeats";
    }
  }
}

}  // namespace
