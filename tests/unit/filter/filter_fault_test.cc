// SPDX-License-Identifier: Apache-2.0
// Output, record and memory that fail in the middle of a job.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <new>
#include <string>
#include <vector>

#include "tests/support/log_capture.h"
#include "tests/support/process_limits.h"
#include "tests/support/sanitizers.h"
#include "tests/unit/filter/filter_fixture.h"

namespace {

using testing::Contains;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr rlim_t kFileLimit = 64 * 1024;

class FilterFaultTest : public FilterFixture {
 protected:
  // Runs the pages with a stream of the test's own as standard output.
  FilterResult runInto(std::FILE* out, const std::vector<model::RasterPage>& pages) {
    ownOutput_ = out;
    FilterResult result = run(pages);
    ownOutput_ = nullptr;
    return result;
  }

  static void expectFailedOutput(const FilterResult& result, size_t pagesBegun) {
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(countLines(result.log, "ERROR:"), 1U);
    EXPECT_EQ(countLines(result.log, "DEBUG:PAGE: "), pagesBegun);
    EXPECT_THAT(result.log, Not(Contains("DEBUG:Ready to print.")));
  }
};

TEST_F(FilterFaultTest, FullOutputEndsTheJobBehindItsFirstPage) {
  std::FILE* full = std::fopen("/dev/full", "w");
  if (full == nullptr) GTEST_SKIP() << "no /dev/full on this system";
  const int before = openDescriptors();
  expectFailedOutput(runInto(full, {patternPage("text", 80, 300), patternPage("text", 16, 8)}), 1);
  EXPECT_EQ(openDescriptors(), before) << "the stream stays open, everything else is closed";
  std::fclose(full);
}

TEST_F(FilterFaultTest, ShortPageThatFitsTheStreamsBufferFailsAllTheSame) {
  std::FILE* full = std::fopen("/dev/full", "w");
  if (full == nullptr) GTEST_SKIP() << "no /dev/full on this system";
  expectFailedOutput(runInto(full, {patternPage("text", 8, 1), patternPage("text", 8, 1)}), 1);
  std::fclose(full);
}

TEST_F(FilterFaultTest, BrokenPipeIsReportedOnce) {
  const IgnoredSignal noSignal(SIGPIPE);
  int ends[2] = {-1, -1};
  ASSERT_EQ(pipe(ends), 0);
  close(ends[0]);
  std::FILE* broken = fdopen(ends[1], "w");
  ASSERT_NE(broken, nullptr);
  expectFailedOutput(runInto(broken, {patternPage("text", 80, 300), patternPage("text", 16, 8)}),
                     1);
  std::fclose(broken);
}

TEST_F(FilterFaultTest, OutputThatFailsLaterEndsTheJobThere) {
  const std::vector<model::RasterPage> pages = {
      patternPage("text", 160, 200), patternPage("text", 1600, 400), patternPage("text", 16, 8)};
  const IgnoredSignal noSignal(SIGXFSZ);
  model::JobSettings settings;
  settings.savesFail = true;
  describe(settings);
  const Bytes whole = model::runJob(settings, pages).stdoutBytes;
  const std::string path = folder_.file("output");
  std::FILE* out = std::fopen(path.c_str(), "w");
  ASSERT_NE(out, nullptr);
  const Bytes raster = rawRaster(pages);
  writeFile(folder_.file("all.ras"), raster);
  FilterResult result;
  {
    ownOutput_ = out;
    const LoweredLimit limit(RLIMIT_FSIZE, kFileLimit);
    ASSERT_TRUE(limit.isSet());
    result = runWith({"1", "lp", "title", "1", options_, folder_.file("all.ras")}, -1);
    ownOutput_ = nullptr;
  }
  std::fclose(out);
  expectFailedOutput(result, 2);
  const Bytes written = readFile(path);
  ASSERT_EQ(written.size(), size_t{kFileLimit});
  EXPECT_TRUE(sameBytes({whole.begin(), whole.begin() + kFileLimit}, written));
}

TEST_F(FilterFaultTest, JobWithoutPagesOnAFullOutputFails) {
  std::FILE* full = std::fopen("/dev/full", "w");
  if (full == nullptr) GTEST_SKIP() << "no /dev/full on this system";
  const FilterResult result = runInto(full, {});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.log, Contains("ERROR:No pages found!"));
  EXPECT_EQ(countLines(result.log, "ERROR:"), 2U);
  std::fclose(full);
}

TEST_F(FilterFaultTest, FullRecordIsReportedOnceAndThePrintGoesOn) {
  const std::vector<model::RasterPage> pages = {
      patternPage("text", 160, 100), patternPage("text", 1600, 400), patternPage("text", 1600, 400),
      patternPage("text", 16, 8)};
  const IgnoredSignal noSignal(SIGXFSZ);
  model::JobSettings settings;
  settings.savesFail = true;
  describe(settings, true);
  const model::JobResult expected = model::runJob(settings, pages);
  writeFile(folder_.file("all.ras"), rawRaster(pages));
  FilterResult result;
  {
    const LoweredLimit limit(RLIMIT_FSIZE, kFileLimit);
    ASSERT_TRUE(limit.isSet());
    result = runWith({"1", "lp", "title", "1", options_, folder_.file("all.ras")}, -1);
  }
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(sameBytes(expected.stdoutBytes, result.out));
  EXPECT_EQ(countLines(result.log, "ERROR:"), 1U);
  EXPECT_THAT(result.log, Contains(HasSubstr(recordPath())));
  // Without that line the log is the model's.
  std::vector<std::string> log = jobLog(result);
  log.erase(std::remove_if(log.begin(), log.end(),
                           [](const std::string& line) { return line.rfind("ERROR:", 0) == 0; }),
            log.end());
  EXPECT_THAT(log, ElementsAreArray(expected.log));
  ASSERT_LE(result.record.size(), size_t{kFileLimit});
  EXPECT_TRUE(
      sameBytes({expected.recordBytes.begin(),
                 expected.recordBytes.begin() + static_cast<std::ptrdiff_t>(result.record.size())},
                result.record))
      << "the record holds nothing that was not printed";
}

TEST_F(FilterFaultTest, RecordThatCannotBeOpenedIsReportedAndThePrintGoesOn) {
  model::JobSettings settings;
  describe(settings, true);
  ppd_ = PpdBuilder()
             .option("RecordPrinterCommands", "1")
             .attribute("dravFilterOutputFile", folder_.file("missing/cmds"));
  const std::vector<model::RasterPage> pages = {patternPage("text", 40, 100)};
  const FilterResult result = run(pages);
  settings.recordFileName.clear();
  model::JobResult expected = model::runJob(settings, pages);
  EXPECT_TRUE(sameBytes(expected.stdoutBytes, result.out));
  EXPECT_EQ(result.status, 0);
  std::vector<std::string> log = jobLog(result);
  ASSERT_GE(log.size(), 2U);
  const std::string name = folder_.file("missing/cmds-20250131235959.bin");
  EXPECT_EQ(log[0], "DEBUG:Filter data output to: " + name);
  EXPECT_THAT(log[1], StartsWith("ERROR:"));
  EXPECT_THAT(log[1], HasSubstr(name));
  log.erase(log.begin(), log.begin() + 2);
  EXPECT_THAT(log, ElementsAreArray(expected.log));
}

TEST_F(FilterFaultTest, RecordNameThatDoesNotFitIsReportedAndThePrintGoesOn) {
  std::string prefix(1100, 'p');
  for (size_t i = 100; i < prefix.size(); i += 100) prefix[i] = '\n';
  ppd_ =
      PpdBuilder().option("RecordPrinterCommands", "1").attribute("dravFilterOutputFile", prefix);
  const std::vector<model::RasterPage> pages = {patternPage("text", 40, 10)};
  const FilterResult result = run(pages);
  EXPECT_TRUE(sameBytes(model::runJob({}, pages).stdoutBytes, result.out));
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(countLines(result.log, "ERROR:"), 1U);
}

TEST_F(FilterFaultTest, RecordNeverGoesThroughASymbolicLink) {
  writeFile(folder_.file("target"), std::string("kept"));
  const std::string prefix = folder_.file("linked");
  const std::string path = prefix + "-20250131235959.bin";
  ASSERT_EQ(symlink(folder_.file("target").c_str(), path.c_str()), 0);
  ppd_ =
      PpdBuilder().option("RecordPrinterCommands", "1").attribute("dravFilterOutputFile", prefix);
  const std::vector<model::RasterPage> pages = {patternPage("text", 40, 10)};
  const FilterResult result = run(pages);
  EXPECT_TRUE(sameBytes(Bytes{'k', 'e', 'p', 't'}, readFile(folder_.file("target"))));
  EXPECT_TRUE(sameBytes(model::runJob({}, pages).stdoutBytes, result.out));
  EXPECT_EQ(countLines(result.log, "ERROR:"), 1U);
  EXPECT_EQ(result.status, 0);
}

TEST_F(FilterFaultTest, PageThatNoMemoryHoldsIsRefused) {
  // 4294967295 bytes: the largest page that fits 32 bits.
  model::RasterPage page = patternPage("text", 8, 8);
  page.bytesPerLine = 65535;
  page.height = 65537;
  const model::RasterPage good = patternPage("text", 16, 100);
  model::JobSettings settings;
  settings.docCutType = 1;
  settings.pageBuzzerSetting = 1;
  describe(settings);
  FilterResult result;
  {
#if defined(DRAV_TEST_ADDRESS_SANITIZER)
    // Refused by the sanitizer's own limit.
#else
    const LoweredLimit limit(RLIMIT_AS, rlim_t{3} << 30);
    ASSERT_TRUE(limit.isSet());
#endif
    result = run({good, page, good});
  }
  model::JobResult first = model::runJob(settings, {good});
  const Bytes jobEnd = model::endJobBytes(settings);
  first.stdoutBytes.resize(first.stdoutBytes.size() - jobEnd.size());
  EXPECT_TRUE(sameBytes(first.stdoutBytes, result.out));
  EXPECT_EQ(countLines(result.log, "ERROR:"), 1U);
  EXPECT_THAT(result.log.back(), StartsWith("ERROR:"));
  EXPECT_THAT(result.log.back(), HasSubstr("65535"));
  EXPECT_THAT(result.log.back(), HasSubstr("65537"));
  EXPECT_EQ(countLines(result.log, "DEBUG:PAGE: "), 1U);
  EXPECT_EQ(result.status, 1);
}

TEST_F(FilterFaultTest, MemoryThatRunsOutAnywhereIsOneCriticalLine) {
  model::JobSettings settings;
  describe(settings, true);
  const Bytes raster = rawRaster({patternPage("text", 16, 200)});
  for (int look = 1; look <= 6; ++look) {
    int looks = 0;
    cancel_ = [&looks, look](int) -> bool {
      if (++looks == look) throw std::bad_alloc();
      return false;
    };
    const int before = openDescriptors();
    const FilterResult result = run(raster);
    EXPECT_EQ(result.status, 1) << look;
    EXPECT_EQ(countLines(result.log, "CRIT:"), 1U) << look;
    EXPECT_THAT(result.log.back(), StartsWith("CRIT:")) << look;
    EXPECT_EQ(openDescriptors(), before) << look;
  }
}

}  // namespace
