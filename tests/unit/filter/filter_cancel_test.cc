// SPDX-License-Identifier: Apache-2.0
// A job that is cancelled at each of its steps.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/log_capture.h"
#include "tests/unit/filter/filter_fixture.h"

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

// A moment at which the job looks for a cancel.
struct Checkpoint {
  std::string name;
  Bytes sent;
  bool inkSinceFeed = false;
  bool pagePrinted = false;
};

Bytes cutBytes(int32_t type) {
  if (type == 1) return hex("0A 0A 0A 0A 1D 56 01");
  if (type == 2) return hex("0A 0A 0A 0A 1D 56 00");
  return {};
}

// What goes out in all when the job is cancelled at the checkpoint.
Bytes outputOf(const Checkpoint& checkpoint, const model::JobSettings& settings) {
  const Bytes jobCut = cutBytes(settings.docCutType);
  const Bytes pageCut = cutBytes(settings.pageCutType);
  Bytes out = checkpoint.sent;
  if (checkpoint.inkSinceFeed) {
    append(out, hex("1B 4A A0"));
    append(out, jobCut.empty() ? pageCut : jobCut);
  } else if (checkpoint.pagePrinted && pageCut.empty()) {
    append(out, jobCut);
  }
  return out;
}

// The bands of a page, each with its header.
std::vector<Bytes> bandsOf(const model::JobSettings& settings, const model::RasterPage& page) {
  const model::JobResult whole = model::runJob(settings, {page});
  model::JobSettings bare = settings;
  Bytes before(64, 0);
  append(before, model::jobSetupBytes(bare));
  append(before, model::pageSetupBytes(bare));
  std::vector<Bytes> bands;
  auto at = whole.stdoutBytes.begin() + static_cast<std::ptrdiff_t>(before.size());
  const Bytes bandStart = hex("1D 76 30 00");
  while (std::equal(bandStart.begin(), bandStart.end(), at)) {  // the feed follows the last one
    const std::ptrdiff_t bytes = 8 + (at[4] + 256 * at[5]) * (at[6] + 256 * at[7]);
    bands.emplace_back(at, at + bytes);
    at += bytes;
  }
  return bands;
}

// Every checkpoint of a job in order, the last one behind the end of the input.
std::vector<Checkpoint> checkpointsOf(const model::JobSettings& settings,
                                      const std::vector<model::RasterPage>& pages) {
  std::vector<Checkpoint> checkpoints;
  Checkpoint now;
  const auto look = [&](const std::string& name) {
    now.name = name;
    checkpoints.push_back(now);
  };
  now.sent.assign(64, 0);
  append(now.sent, model::jobSetupBytes(settings));
  now.inkSinceFeed = settings.docTopLogoID > 0;
  look("before the first header");
  for (size_t i = 0; i < pages.size(); ++i) {
    const std::string page = "page " + std::to_string(i + 1) + ", ";
    look(page + "header read");
    append(now.sent, model::pageSetupBytes(settings));
    look(page + "pixels read");
    for (const Bytes& band : bandsOf(settings, pages[i])) {
      look(page + "before a band");
      append(now.sent, band);
      now.inkSinceFeed = true;
    }
    look(page + "last band sent");
    append(now.sent, model::endPageBytes(settings));
    now.inkSinceFeed = false;
    now.pagePrinted = true;
    look(page + "finished");
  }
  look("end of the input read");
  return checkpoints;
}

class FilterCancelTest : public FilterFixture {
 protected:
  // Cancels the job at its first look for a cancel, its second, and so on, until
  // it ends by itself. The outputs must be those of the checkpoints in their
  // order, and none may be left out.
  void cancelAtEveryLook(const model::JobSettings& given,
                         const std::vector<model::RasterPage>& pages) {
    model::JobSettings settings = given;
    settings.savesFail = true;  // pictures are not looked at here
    describe(settings);
    const std::vector<Checkpoint> checkpoints = checkpointsOf(settings, pages);
    const std::vector<Step> steps = stepsOf(checkpoints, settings);
    const Bytes raster = rawRaster(pages);
    size_t reached = 0;
    int look = 1;
    for (;; ++look) {
      ASSERT_LT(look, 1000);
      int looks = 0;
      cancel_ = [&looks, look](int) { return ++looks >= look; };
      const FilterResult result = run(raster);
      if (looks < look) {  // the job ended before it looked that often
        expectSame(model::runJob(settings, pages), result);
        break;
      }
      if (steps[reached].output != result.out) ++reached;
      ASSERT_LT(reached, steps.size()) << "look " << look << " is behind the last step";
      ASSERT_TRUE(sameBytes(steps[reached].output, result.out))
          << "look " << look << ", expected \"" << steps[reached].name << "\"";
      EXPECT_EQ(result.status, 1) << steps[reached].name;
      EXPECT_THAT(result.log, Not(Contains("DEBUG:Ready to print.")));
      EXPECT_THAT(result.log, Not(Contains("ERROR:No pages found!")));
    }
    EXPECT_EQ(reached + 1, steps.size())
        << "no look at \"" << steps[std::min(reached + 1, steps.size() - 1)].name << "\"";
    // Checkpoints of equal output cannot be told apart above, but each is a look.
    EXPECT_GE(static_cast<size_t>(look - 1), checkpoints.size());
  }

 private:
  // Checkpoints one after the other at which a cancel sends the same.
  struct Step {
    std::string name;
    Bytes output;
  };
  static std::vector<Step> stepsOf(const std::vector<Checkpoint>& checkpoints,
                                   const model::JobSettings& settings) {
    std::vector<Step> steps;
    for (const Checkpoint& checkpoint : checkpoints) {
      const Bytes output = outputOf(checkpoint, settings);
      if (steps.empty() || steps.back().output != output) {
        steps.push_back({checkpoint.name, output});
      }
    }
    return steps;
  }
};

// Answers once everything in the input file has been read.
bool inputIsUsedUp(int input) {
  struct stat status = {};
  return fstat(input, &status) == 0 && lseek(input, 0, SEEK_CUR) >= status.st_size;
}

TEST_F(FilterCancelTest, EveryStepEndsWithItsTailForEachPairOfCuts) {
  const std::vector<model::RasterPage> pages = {patternPage("text", 16, 200),
                                                patternPage("photo", 9, 97)};
  for (const int32_t docCut : {-1, 0, 1, 2, 3}) {
    for (const int32_t pageCut : {-1, 1, 2, 3}) {
      SCOPED_TRACE("docCutType " + std::to_string(docCut) + ", pageCutType " +
                   std::to_string(pageCut));
      model::JobSettings settings;
      settings.docCutType = docCut;
      settings.pageCutType = pageCut;
      cancelAtEveryLook(settings, pages);
      if (HasFailure()) return;
    }
  }
}

TEST_F(FilterCancelTest, TopLogoIsInkToo) {
  for (const int32_t docCut : {0, 2}) {
    model::JobSettings settings;
    settings.docTopLogoID = 1;
    settings.docTopLogoMode = 3;
    settings.docTopLogoPosition = 1;
    settings.docCutType = docCut;
    settings.pageCutType = 1;
    cancelAtEveryLook(settings, {patternPage("text", 16, 100)});
  }
}

TEST_F(FilterCancelTest, NoLogoBuzzerDrawerOrStatusRequestFollowsACancel) {
  model::JobSettings settings;
  settings.docBottomLogoID = 2;
  settings.pageBuzzerSetting = 2;
  settings.documentBuzzerSetting = 2;
  settings.cashDrawer1Setting = 2;
  settings.cashDrawer2Setting = 2;
  settings.feedCutAfterJobEnd = 5;
  settings.docCutType = 1;
  cancelAtEveryLook(settings, {patternPage("text", 16, 100), patternPage("text", 16, 10)});
}

TEST_F(FilterCancelTest, PageSetupThatWentOutIsNoInk) {
  model::JobSettings settings;
  settings.pageBuzzerSetting = 1;
  settings.docCutType = 2;
  settings.halftoneType = 8;
  cancelAtEveryLook(settings, {patternPage("circles", 24, 97)});
}

// A page of 300 rows with ink in the rows from `first` to `last`; without any for none.
model::RasterPage inkedPage(int first, int last) {
  model::RasterPage page = patternPage("blank", 16, 300);
  for (int y = first; y <= last; ++y) page.pixels[static_cast<size_t>(y) * 16 + 3] = 255;
  return page;
}

// Three bands, none, and the one of a page that keeps its least rows.
TEST_F(FilterCancelTest, TrimmedPagesEndWithAWholeBandAndBlankOnesLeaveNothingToFeed) {
  const std::vector<model::RasterPage> pages = {inkedPage(40, 239), inkedPage(1, 0),
                                                inkedPage(250, 250)};
  for (const model::Trim trim : {model::Trim::end, model::Trim::both}) {
    for (const int32_t docCut : {0, 1}) {
      for (const int32_t pageCut : {0, 2}) {
        SCOPED_TRACE("docCutType " + std::to_string(docCut) + ", pageCutType " +
                     std::to_string(pageCut));
        model::JobSettings settings;
        settings.trimPaper = trim;
        settings.docCutType = docCut;
        settings.pageCutType = pageCut;
        settings.docBottomLogoID = 1;
        ASSERT_EQ(bandsOf(settings, pages[0]).size(), 3U);
        ASSERT_TRUE(bandsOf(settings, pages[1]).empty());
        cancelAtEveryLook(settings, pages);
        if (HasFailure()) return;
      }
    }
  }
}

TEST_F(FilterCancelTest, JobWithoutPagesIsCancelledInsteadOfFoundEmpty) {
  model::JobSettings settings;
  settings.docCutType = 1;
  cancelAtEveryLook(settings, {});
}

TEST_F(FilterCancelTest, CancelWithinABandLetsTheBandGoOut) {
  // The cancel comes with the first byte of the second band.
  const std::vector<model::RasterPage> pages = {patternPage("text", 16, 300)};
  model::JobSettings settings;
  settings.docCutType = 2;
  describe(settings);
  const std::vector<Checkpoint> checkpoints = checkpointsOf(settings, pages);
  ASSERT_EQ(checkpoints[4].name, "page 1, before a band");
  const MemoryStream out;
  ownOutput_ = out.get();
  const size_t secondBand = checkpoints[4].sent.size();
  cancel_ = [&](int) { return out.bytes().size() > secondBand; };
  const FilterResult result = run(pages);
  EXPECT_TRUE(sameBytes(outputOf(checkpoints[5], settings), out.bytes()));
  EXPECT_EQ(result.status, 1);
}

TEST_F(FilterCancelTest, HeaderCutOffByTheCancelIsNoEndOfTheJob) {
  model::JobSettings settings;
  settings.docCutType = 1;
  settings.feedCutAfterJobEnd = 2;
  const std::vector<model::RasterPage> pages = {patternPage("text", 16, 100)};
  Bytes raster = rawRaster({pages[0], pages[0]});
  raster.resize(rawRaster(pages).size() + 700);
  describe(settings);
  const std::vector<Checkpoint> checkpoints = checkpointsOf(settings, pages);

  expectSame(model::runJob(settings, pages), run(raster));  // without the cancel

  cancel_ = inputIsUsedUp;
  const FilterResult cancelled = run(raster);
  EXPECT_TRUE(sameBytes(outputOf(checkpoints.back(), settings), cancelled.out));
  EXPECT_THAT(cancelled.log, Not(Contains("DEBUG:Ready to print.")));
  EXPECT_EQ(cancelled.status, 1);
}

TEST_F(FilterCancelTest, FirstHeaderCutOffByTheCancelIsNoEmptyJob) {
  model::JobSettings settings;
  settings.docCutType = 1;
  describe(settings);
  Bytes raster = rawRaster({patternPage("text", 16, 10)});
  raster.resize(500);
  cancel_ = inputIsUsedUp;
  const FilterResult result = run(raster);
  EXPECT_TRUE(sameBytes(outputOf(checkpointsOf(settings, {})[0], settings), result.out));
  EXPECT_THAT(result.log, Not(Contains("ERROR:No pages found!")));
  EXPECT_EQ(result.status, 1);
}

TEST_F(FilterCancelTest, PixelsCutOffByTheCancelAreNoEndOfTheJob) {
  for (const int32_t topLogo : {-1, 1}) {
    model::JobSettings settings;
    settings.docTopLogoID = topLogo;
    settings.docCutType = 2;
    describe(settings);
    const std::vector<model::RasterPage> pages = {patternPage("text", 16, 100)};
    Bytes raster = rawRaster(pages);
    raster.resize(raster.size() - 300);
    const std::vector<Checkpoint> checkpoints = checkpointsOf(settings, pages);
    cancel_ = inputIsUsedUp;
    const FilterResult result = run(raster);
    ASSERT_EQ(checkpoints[2].name, "page 1, pixels read");
    EXPECT_TRUE(sameBytes(outputOf(checkpoints[2], settings), result.out));
    EXPECT_THAT(result.log, Not(Contains(HasSubstr("printImage"))));
    EXPECT_THAT(result.log, Not(Contains("DEBUG:Ready to print.")));
    EXPECT_EQ(result.status, 1);
  }
}

// The converters in front of the filter are ended first: the cancel comes when
// the input has ended already.
TEST_F(FilterCancelTest, CancelJustBehindTheEndOfTheInputIsWaitedFor) {
  const std::vector<model::RasterPage> pages = {patternPage("text", 16, 100)};
  const size_t whole = rawRaster(pages).size();
  using Change = void (*)(model::JobSettings&);
  for (const Change change : std::initializer_list<Change>{
           [](model::JobSettings& s) { s.cashDrawer1Setting = 2; },
           [](model::JobSettings& s) { s.cashDrawer2Setting = 2; },
           [](model::JobSettings& s) { s.documentBuzzerSetting = 2; },
           [](model::JobSettings& s) { s.feedCutAfterJobEnd = 1; },
           [](model::JobSettings& s) { s.pageCutType = s.docCutType = 1; }}) {
    model::JobSettings settings;
    change(settings);
    describe(settings);
    const std::vector<Checkpoint> checkpoints = checkpointsOf(settings, pages);
    for (const auto& [bytes, checkpoint] : std::initializer_list<std::pair<size_t, size_t>>{
             {whole, checkpoints.size() - 1}, {whole - 300, 2}, {500, 0}}) {
      bool cancelled = false;
      environment_.awaitCancel = [&cancelled] { cancelled = true; };
      cancel_ = [&cancelled](int) { return cancelled; };
      Bytes raster = rawRaster(pages);
      raster.resize(bytes);
      const FilterResult result = run(raster);
      EXPECT_TRUE(sameBytes(outputOf(checkpoints[checkpoint], settings), result.out)) << bytes;
      EXPECT_THAT(result.log, Not(Contains("DEBUG:Ready to print.")));
      EXPECT_THAT(result.log, Not(Contains("ERROR:No pages found!")));
      EXPECT_EQ(result.status, 1);
    }
  }
}

TEST_F(FilterCancelTest, JobWhoseEndDoesNothingIsNotDelayed) {
  model::JobSettings settings;
  settings.cashDrawer1Setting = 1;
  settings.documentBuzzerSetting = 1;
  settings.pageCutType = 2;
  settings.docCutType = 3;
  describe(settings);
  int waits = 0;
  environment_.awaitCancel = [&waits] { ++waits; };
  const std::vector<model::RasterPage> pages = {patternPage("text", 16, 10)};
  EXPECT_EQ(run(pages).status, 0);
  EXPECT_EQ(waits, 0);
}

TEST_F(FilterCancelTest, PageReadInFullWhenTheCancelComesIsNotPrinted) {
  model::JobSettings settings;
  settings.docCutType = 2;
  describe(settings);
  const std::vector<model::RasterPage> pages = {patternPage("text", 16, 100)};
  cancel_ = inputIsUsedUp;
  const FilterResult result = run(pages);
  EXPECT_TRUE(sameBytes(outputOf(checkpointsOf(settings, pages)[2], settings), result.out));
  EXPECT_EQ(result.status, 1);
}

TEST_F(FilterCancelTest, RecordHoldsTheBandsThatWentOut) {
  model::JobSettings settings;
  settings.docCutType = 1;
  describe(settings, true);
  const std::vector<model::RasterPage> pages = {patternPage("text", 16, 300)};
  const std::vector<Bytes> bands = bandsOf(settings, pages[0]);
  int looks = 0;
  cancel_ = [&looks](int) { return ++looks > 5; };  // before the third band
  const FilterResult result = run(pages);
  Bytes expected = bands[0];
  append(expected, bands[1]);
  EXPECT_TRUE(sameBytes(expected, result.record));
  EXPECT_EQ(result.status, 1);
}

// Runs a job behind a signal and answers with status 0 when it sent just the
// job's start.
int jobBehindASignal() {
  std::signal(SIGTERM, SIG_DFL);
  installJobSignals();
  std::raise(SIGTERM);
  const TempFolder folder;
  PpdBuilder().option("docCutType", "1").write(folder.file("printer.ppd"));
  const ScopedEnv ppd("PPD", folder.file("printer.ppd"));
  writeRaster(folder.file("page.ras"), {patternPage("text", 16, 10)});
  const MemoryStream out;
  FilterEnvironment environment;  // with the flag of the signal
  environment.standardOutput = out.get();
  environment.dumpFolder = folder.path();
  std::vector<std::string> texts = {"rastertodrav",         "1", "lp", "title", "1", "",
                                    folder.file("page.ras")};
  std::vector<char*> argv;
  for (std::string& text : texts) argv.push_back(text.data());
  const int status = runFilter(static_cast<int>(argv.size()), argv.data(), environment);
  Bytes expected(64, 0);
  append(expected, hex("1B 40, 1F 1B 1F 13 14 00, 1B 24 01 00"));
  return status == 1 && out.bytes() == expected ? 0 : 1;
}

TEST(FilterCancelDeathTest, SignalOfTheSchedulerCancelsTheJob) {
  EXPECT_EXIT(_exit(jobBehindASignal()), testing::ExitedWithCode(0), "");
}

}  // namespace
