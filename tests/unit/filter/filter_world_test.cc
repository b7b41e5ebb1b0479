// SPDX-License-Identifier: Apache-2.0
// A world that misbehaves around the job: a clock that jumps, no descriptors to
// be had, streams that fail for a while, many jobs one after the other.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <string>
#include <vector>

#include "tests/model/page_patterns.h"
#include "tests/support/log_capture.h"
#include "tests/support/process_limits.h"
#include "tests/support/sanitizers.h"
#include "tests/unit/filter/filter_fixture.h"

namespace {

using testing::ElementsAre;
using testing::StartsWith;

class FilterWorldTest : public FilterFixture {};

// ---- Clock -------------------------------------------------------------------

// The stamp of a picture's name for a moment of the years that people live in.
std::string stampOf(std::time_t moment) {
  std::tm fields = {};
  gmtime_r(&moment, &fields);
  char text[64];
  std::snprintf(text, sizeof text, "%d-%d-%d_%d_%d_%d", fields.tm_year + 1900, fields.tm_mon + 1,
                fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec);
  return text;
}

TEST_F(FilterWorldTest, ClockThatJumpsChangesNothingButNames) {
  const std::vector<model::RasterPage> pages = {
      patternPage("text", 16, 100), patternPage("text", 24, 97), patternPage("text", 8, 5)};
  model::JobSettings settings;
  settings.docCutType = 1;
  describe(settings);
  const std::vector<std::time_t> moments = {kNow, kNow - 86400, 0, -1, kNow, kNow + 31536000, kNow};
  size_t asked = 0;
  environment_.clock = [&] { return moments.at(asked++); };
  const FilterResult result = run(pages);
  expectSame(model::runJob(settings, pages), result);
  ASSERT_EQ(result.pictures.size(), 6U);
  for (size_t i = 0; i < 6; ++i) EXPECT_EQ(result.pictures[i].stamp, stampOf(moments[i]));
}

TEST_F(FilterWorldTest, ClockAtRandomMomentsChangesNothingButNames) {
  const std::vector<model::RasterPage> pages = {patternPage("text", 16, 100),
                                                patternPage("text", 24, 97)};
  model::JobSettings settings;
  describe(settings, true);
  ppd_ = PpdBuilder()
             .option("RecordPrinterCommands", "1")
             .attribute("dravFilterOutputFile", folder_.file("jumping"));
  const Bytes expected = model::runJob(settings, pages).stdoutBytes;
  model::Random random(8);
  for (int round = 0; round < 100; ++round) {
    // Every bit length, both signs: most of these are years that no calendar has.
    environment_.clock = [&] {
      const uint64_t bits = random.next() >> random.below(64);
      return static_cast<std::time_t>(random.below(2) == 0 ? bits : ~bits);
    };
    const FilterResult result = run(pages);
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(sameBytes(expected, result.out));
    EXPECT_EQ(result.pictures.size(), 4U);
    EXPECT_EQ(countLines(result.log, "ERROR:"), 0U);
    EXPECT_EQ(result.leftDescriptors, 0);
  }
}

TEST_F(FilterWorldTest, ClockAtTheEndsOfTimeChangesNothingButNames) {
  const std::vector<model::RasterPage> pages = {patternPage("text", 16, 100)};
  model::JobSettings settings;
  describe(settings);
  const Bytes expected = model::runJob(settings, pages).stdoutBytes;
  // The last second of the year 2147483647, the last years that a calendar of
  // 32 bits counts from 1900, and the ends of the clock itself.
  constexpr std::time_t kLastYear = 67767976233532799;
  constexpr std::time_t kLastOfCalendar = 67768036191676799;
  for (const std::time_t moment :
       {kLastYear, kLastYear + 1, kLastOfCalendar, kLastOfCalendar + 1,
        std::numeric_limits<std::time_t>::max(), std::numeric_limits<std::time_t>::min()}) {
    environment_.clock = [moment] { return moment; };
    const FilterResult result = run(pages);
    EXPECT_EQ(result.status, 0) << moment;
    EXPECT_TRUE(sameBytes(expected, result.out)) << moment;
    EXPECT_EQ(result.pictures.size(), 2U) << moment;
  }
}

// ---- Descriptors -----------------------------------------------------------------

// A limit under which `granted` further descriptors can be had.
rlim_t limitGranting(int granted) {
  int number = 0;
  for (int free = 0;; ++number) {
    if (fcntl(number, F_GETFD) != -1) continue;
    if (free++ == granted) return static_cast<rlim_t>(number);
  }
}

class FilterDescriptorTest : public FilterFixture {
 protected:
  FilterResult runGranting(int granted, const std::vector<std::string>& arguments, int input) {
    surround_ = [granted](const std::function<void()>& filter) {
      const LoweredLimit limit(RLIMIT_NOFILE, limitGranting(granted));
      filter();
    };
    const FilterResult result = runWith(arguments, input);
    EXPECT_EQ(result.leftDescriptors, 0);
    return result;
  }

  // The job with its raster on standard input.
  FilterResult fromInput(int granted) {
    const int input = open(rasterPath().c_str(), O_RDONLY);
    const FilterResult result = runGranting(granted, {"1", "lp", "title", "1", options_}, input);
    close(input);
    return result;
  }
  FilterResult fromFile(int granted) {
    return runGranting(granted, {"1", "lp", "title", "1", options_, rasterPath()}, -1);
  }

  void SetUp() override {
#ifdef DRAV_TEST_ADDRESS_SANITIZER
    GTEST_SKIP() << "the sanitizer's own checks need descriptors";
#endif
    settings_.docCutType = 1;
    describe(settings_, true);
    writeFile(rasterPath(), rawRaster(pages_));
    expected_ = model::runJob(settings_, pages_);
  }

  void expectPrinted(const FilterResult& result, bool records, size_t pictures) {
    EXPECT_TRUE(sameBytes(expected_.stdoutBytes, result.out));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.hasRecord, records);
    EXPECT_TRUE(sameBytes(records ? expected_.recordBytes : Bytes(), result.record));
    EXPECT_EQ(countLines(result.log, "ERROR:"), records ? 0U : 1U);
    EXPECT_EQ(result.pictures.size(), pictures);
    EXPECT_EQ(countLines(result.log, "DravPrinter::saveImage: unable to open the file "),
              2 * pages_.size() - pictures);
  }
  static void expectNothing(const FilterResult& result, const std::string& error) {
    EXPECT_TRUE(result.out.empty());
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.log, ElementsAre(StartsWith(error)));
    EXPECT_FALSE(result.hasRecord);
    EXPECT_TRUE(result.pictures.empty());
  }

  std::string rasterPath() const { return folder_.file("job.ras"); }

  const std::vector<model::RasterPage> pages_ = {patternPage("text", 16, 100),
                                                 patternPage("text", 24, 97)};
  model::JobSettings settings_;
  model::JobResult expected_;
};

TEST_F(FilterDescriptorTest, OneAfterTheOtherIsGranted) {
  expectNothing(fromInput(0), "ERROR:Unable to open PPD file ");
  expectPrinted(fromInput(1), true, 0);
  expectPrinted(fromInput(2), true, 4);
}

TEST_F(FilterDescriptorTest, OneAfterTheOtherIsGrantedForANamedFile) {
  expectNothing(fromFile(0), "ERROR:Unable to open raster file!");
  expectNothing(fromFile(1), "ERROR:Unable to open PPD file ");
  expectPrinted(fromFile(2), true, 0);
  expectPrinted(fromFile(3), true, 4);
}

TEST_F(FilterDescriptorTest, NoneForTheRecordOnceThePpdHasBeenRead) {
  // The clock is asked between the PPD file and the record.
  struct rlimit old = {};
  getrlimit(RLIMIT_NOFILE, &old);
  environment_.clock = [&old] {
    struct rlimit none = old;
    none.rlim_cur = limitGranting(0);
    setrlimit(RLIMIT_NOFILE, &none);
    return kNow;
  };
  expectPrinted(fromFile(3), false, 0);
  setrlimit(RLIMIT_NOFILE, &old);
}

// ---- Streams that fail for a while ---------------------------------------------------

class FilterGapTest : public FilterFixture {
 protected:
  static constexpr rlim_t kLimit = 20000;  // within the second band of the page

  // Raises the limit of a file's size when the third band is about to go out.
  void failUntilTheThirdBand() {
    cancel_ = [this](int) {
      if (++looks_ == 6) setrlimit(RLIMIT_FSIZE, &old_);
      return false;
    };
  }

  void SetUp() override {
    getrlimit(RLIMIT_FSIZE, &old_);
    std::signal(SIGXFSZ, SIG_IGN);
    writeFile(folder_.file("all.ras"), rawRaster(pages_));
  }
  void TearDown() override {
    setrlimit(RLIMIT_FSIZE, &old_);
    std::signal(SIGXFSZ, SIG_DFL);
  }

  FilterResult runLimited() {
    surround_ = [](const std::function<void()>& filter) {
      const LoweredLimit limit(RLIMIT_FSIZE, kLimit);
      filter();
    };
    return runWith({"1", "lp", "title", "1", options_, folder_.file("all.ras")}, -1);
  }

  const std::vector<model::RasterPage> pages_ = {patternPage("noise", 1200, 500),
                                                 patternPage("text", 16, 10)};
  struct rlimit old_ = {};
  int looks_ = 0;
};

TEST_F(FilterGapTest, OutputGetsNothingBehindBytesThatWereLost) {
  model::JobSettings settings;
  settings.savesFail = true;
  settings.docCutType = 1;
  describe(settings);
  failUntilTheThirdBand();
  const Bytes whole = model::runJob(settings, pages_).stdoutBytes;
  ASSERT_GT(whole.size(), 2 * size_t{kLimit});
  std::FILE* out = std::fopen(folder_.file("output").c_str(), "w");
  ASSERT_NE(out, nullptr);
  ownOutput_ = out;
  const FilterResult result = runLimited();
  std::fclose(out);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(countLines(result.log, "ERROR:"), 1U);
  EXPECT_EQ(countLines(result.log, "DEBUG:PAGE: "), 1U);
  const Bytes written = readFile(folder_.file("output"));
  EXPECT_TRUE(sameBytes({whole.begin(), whole.begin() + kLimit}, written));
}

TEST_F(FilterGapTest, RecordGetsNothingBehindBytesThatWereLost) {
  model::JobSettings settings;
  settings.savesFail = true;
  describe(settings, true);
  failUntilTheThirdBand();
  const model::JobResult expected = model::runJob(settings, pages_);
  ASSERT_GT(expected.recordBytes.size(), 2 * size_t{kLimit});
  const FilterResult result = runLimited();
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(sameBytes(expected.stdoutBytes, result.out));
  EXPECT_EQ(countLines(result.log, "ERROR:"), 1U);
  EXPECT_TRUE(sameBytes({expected.recordBytes.begin(), expected.recordBytes.begin() + kLimit},
                        result.record));
}

// ---- Many jobs -----------------------------------------------------------------------

// Jobs that one process runs: DRAV_SOAK_JOBS, or enough to notice a leak a job.
int soakJobs() {
  const char* text = std::getenv("DRAV_SOAK_JOBS");
  return text != nullptr ? std::atoi(text) : 60;
}

long residentKiB() {
  std::FILE* file = std::fopen("/proc/self/statm", "r");
  if (file == nullptr) return 0;
  long size = 0;
  long resident = 0;
  const int fields = std::fscanf(file, "%ld %ld", &size, &resident);
  std::fclose(file);
  return fields == 2 ? resident * (sysconf(_SC_PAGESIZE) / 1024) : 0;
}

TEST_F(FilterWorldTest, ManyJobsOfOneProcessLeaveNothingBehind) {
  model::Random random(2000);
  const int jobs = soakJobs();
  const int warmUp = std::min(jobs / 2, 100);
  long after = 0;
  for (int number = 0; number < jobs; ++number) {
    model::JobSettings settings;
    settings.halftoneType = static_cast<int32_t>(random.below(10));
    settings.brightness = static_cast<int32_t>(random.below(3)) * 5 - 5;
    settings.docCutType = static_cast<int32_t>(random.below(3));
    const bool records = random.below(2) == 0;
    describe(settings, records);
    std::vector<model::RasterPage> pages;
    for (uint32_t page = 0; page <= random.below(3); ++page) {
      const int width = static_cast<int>(1 + random.below(200));
      const int height = static_cast<int>(1 + random.below(200));
      const auto padded = static_cast<uint32_t>(width) + (random.below(4) == 0 ? 5 : 0);
      pages.push_back(patternPage("photo", width, height, random.next(), padded));
    }
    const FilterResult result = run(pages);
    ASSERT_TRUE(sameBytes(model::runJob(settings, pages).stdoutBytes, result.out)) << number;
    ASSERT_EQ(result.status, 0) << number;
    ASSERT_EQ(result.leftDescriptors, 0) << number;
    if (number >= warmUp) {
      ASSERT_EQ(result.leftBlocks, 0) << number;
    }
    if (number == warmUp) after = residentKiB();
  }
  const long grown = residentKiB() - after;
  RecordProperty("grown_kib", static_cast<int>(grown));
  std::printf("jobs %d, resident %ld KiB after %d of them, %ld KiB more at the end\n", jobs, after,
              warmUp, grown);
}

}  // namespace
