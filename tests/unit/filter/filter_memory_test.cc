// SPDX-License-Identifier: Apache-2.0
// Memory that is refused at each of a job's requests, for good or just once.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "tests/support/failing_allocations.h"
#include "tests/support/log_capture.h"
#include "tests/unit/filter/filter_fixture.h"

namespace {

#if defined(DRAV_TEST_WRAPS_ALLOCATIONS)

constexpr int kHalftones = 10;

// What a job of two pages may leave behind.
struct Ending {
  std::string name;
  int status = 1;
  int lostPages = 0;
  Bytes out;
  Bytes record;
};

class Endings {
 public:
  Endings(const model::JobSettings& settings, const std::vector<model::RasterPage>& pages)
      : pageSetup_(model::pageSetupBytes(settings)),
        pageEnd_(model::endPageBytes(settings)),
        jobEnd_(model::endJobBytes(settings)) {
    Bytes start(64, 0);
    append(start, model::jobSetupBytes(settings));
    endings_.push_back({"before the job's start", 1, 0, {}, {}});
    for (const model::RasterPage& page : pages) bands_.push_back(bandsOf(settings, start, page));
    stopOrGoOn({"", 0, 0, start, {}}, 0);
  }

  // The one that equals, or null.
  const Ending* find(const FilterResult& result) const {
    const auto found = std::find_if(endings_.begin(), endings_.end(), [&](const Ending& ending) {
      return ending.out == result.out && ending.record == result.record &&
             ending.status == result.status;
    });
    return found == endings_.end() ? nullptr : &*found;
  }
  const Ending& undisturbed() const {
    return *std::find_if(endings_.begin(), endings_.end(), [](const Ending& ending) {
      return ending.status == 0 && ending.lostPages == 0;
    });
  }

 private:
  Bytes bandsOf(const model::JobSettings& settings, const Bytes& start,
                const model::RasterPage& page) const {
    const Bytes whole = model::runJob(settings, {page}).stdoutBytes;
    const size_t before = start.size() + pageSetup_.size();
    const size_t behind = pageEnd_.size() + jobEnd_.size();
    return {whole.begin() + static_cast<std::ptrdiff_t>(before),
            whole.end() - static_cast<std::ptrdiff_t>(behind)};
  }

  // The job stops before page `next`, or goes on with it. Nothing may stop
  // between the first band of a page and the end of its page end.
  void stopOrGoOn(const Ending& sofar, size_t next) {
    const std::string page = "page " + std::to_string(next + 1);
    if (next == bands_.size()) {
      Ending all = sofar;
      append(all.out, jobEnd_);
      all.name = "job end";
      endings_.push_back(all);
      return;
    }
    Ending stopped = sofar;
    stopped.status = 1;
    stopped.name = "before " + page;
    endings_.push_back(stopped);
    append(stopped.out, pageSetup_);
    stopped.name = page + " begun";
    endings_.push_back(stopped);

    Ending printed = sofar;
    append(printed.out, pageSetup_);
    Ending lost = printed;
    append(printed.out, bands_[next]);
    append(printed.record, bands_[next]);
    append(printed.out, pageEnd_);
    stopOrGoOn(printed, next + 1);
    append(lost.out, pageEnd_);
    ++lost.lostPages;
    stopOrGoOn(lost, next + 1);
  }

  Bytes pageSetup_;
  Bytes pageEnd_;
  Bytes jobEnd_;
  std::vector<Bytes> bands_;
  std::vector<Ending> endings_;
};

// Every line that may report a want of memory.
bool isPromised(const std::string& line) {
  static const std::set<std::string> whole = {
      "CRIT:Out of memory!",
      "CRIT:paletteImage.CreateFromArray with grey failed!",
      "ERROR:PageProcess: Failed to dither the image: PaletteImage::Create can't allocate memory",
      "ERROR:PageProcess: Failed to create a new PaletteImage from QZ dithered data",
      "ERROR:printImage: pimage is NULL, unable to print the image",
      "ERROR:printImage: Memory allocation failed, unable to process image, exiting processing",
      "ERROR:printImage: Memory allocation for processing result failed, unable to continue "
      "processing",
  };
  return whole.count(line) != 0 || line.rfind("ERROR:No memory for a page of ", 0) == 0;
}

class FilterMemoryTest : public FilterFixture, public testing::WithParamInterface<int> {
 protected:
  void SetUp() override {
    settings_.halftoneType = GetParam();
    settings_.pageBuzzerSetting = 1;
    settings_.pageCutType = 1;
    settings_.docCutType = 2;
    settings_.brightness = 3;
    describe(settings_, true);
  }

  FilterResult runGranting(const Bytes& raster, int granted, Refusal refusal) {
    surround_ = [&](const std::function<void()>& filter) {
      const FailingAllocations failing(granted, refusal);
      filter();
      refused_ = failing.refused();
    };
    FilterResult result = run(raster);
    surround_ = nullptr;
    return result;
  }

  // Refuses each request in turn until the job makes no further one. Returns
  // how many it makes.
  int refuseEach(const std::vector<model::RasterPage>& pages, Refusal refusal) {
    const Endings endings(settings_, pages);
    const Bytes raster = rawRaster(pages);
    run(raster);  // what is made once for the process stays
    for (int granted = 0; granted < 1000; ++granted) {
      SCOPED_TRACE("granted " + std::to_string(granted) +
                   (refusal == Refusal::onlyOne ? ", one refused" : ", all others refused"));
      const FilterResult result = runGranting(raster, granted, refusal);
      EXPECT_EQ(result.leftBlocks, 0);
      EXPECT_EQ(result.leftDescriptors, 0);
      const Ending* ending = endings.find(result);
      if (ending == nullptr) {
        ADD_FAILURE() << "status " << result.status << ", " << result.out.size()
                      << " bytes that end in the middle of something";
        return granted;
      }
      if (refused_ == 0) {
        EXPECT_EQ(ending, &endings.undisturbed()) << ending->name;
        return granted;
      }
      expectReported(result, *ending);
      if (refusal == Refusal::onlyOne) {
        EXPECT_LE(ending->lostPages, 1);
      }
      if (HasFailure()) return granted;
    }
    ADD_FAILURE() << "the job never ended";
    return 0;
  }

  static void expectReported(const FilterResult& result, const Ending& ending) {
    size_t promised = 0;
    for (const std::string& line : result.log) {
      if (line.rfind("ERROR:", 0) != 0 && line.rfind("CRIT:", 0) != 0) continue;
      EXPECT_TRUE(isPromised(line)) << line;
      ++promised;
    }
    EXPECT_GE(promised, static_cast<size_t>(std::max(ending.lostPages, 1)));
    EXPECT_EQ(countLines(result.log, "DEBUG:Ready to print."), ending.status == 0 ? 1U : 0U);
  }

  model::JobSettings settings_;
  int refused_ = 0;
};

TEST_P(FilterMemoryTest, EachRefusalOfATwoPageJob) {
  const std::vector<model::RasterPage> pages = {patternPage("circles", 40, 110),
                                                patternPage("photo", 33, 97)};
  const int requests = refuseEach(pages, Refusal::everyFurther);
  EXPECT_GE(requests, 15) << "printer, page buffers, work buffers, pictures' names, rows";
  EXPECT_EQ(refuseEach(pages, Refusal::onlyOne), requests);
  RecordProperty("requests", requests);
}

TEST_P(FilterMemoryTest, EachRefusalOfPagesThatAreBuiltAsImages) {
  // Rows that are longer than the picture is wide do not stream.
  const std::vector<model::RasterPage> pages = {patternPage("circles", 40, 110, 1, 48),
                                                patternPage("photo", 33, 97, 2, 35)};
  const int requests = refuseEach(pages, Refusal::everyFurther);
  EXPECT_GE(requests, 15);
  EXPECT_EQ(refuseEach(pages, Refusal::onlyOne), requests);
  RecordProperty("requests", requests);
}

TEST_P(FilterMemoryTest, RefusalsBeforeAnythingWasMadeForTheProcess) {
  // The first job of a process: what is made once can fail too.
  const std::vector<model::RasterPage> pages = {patternPage("circles", 16, 20),
                                                patternPage("photo", 9, 97)};
  const Endings endings(settings_, pages);
  const Bytes raster = rawRaster(pages);
  for (int granted = 0; granted < 1000; ++granted) {
    SCOPED_TRACE(granted);
    const FilterResult result = runGranting(raster, granted, Refusal::everyFurther);
    const Ending* ending = endings.find(result);
    ASSERT_NE(ending, nullptr);
    if (refused_ == 0) {
      EXPECT_EQ(ending, &endings.undisturbed());
      RecordProperty("requests", granted);
      return;
    }
    expectReported(result, *ending);
  }
  ADD_FAILURE() << "the job never ended";
}

INSTANTIATE_TEST_SUITE_P(AllHalftones, FilterMemoryTest, testing::Range(0, kHalftones));

class FilterPageMemoryTest : public FilterMemoryTest {};

TEST_P(FilterPageMemoryTest, EachRefusalOfPagesInLargeMemoryPages) {
  settings_.savesFail = true;  // megabytes that are not looked at here
  describe(settings_, true);
  const std::vector<model::RasterPage> pages = {patternPage("text", 1024, 4099),
                                                patternPage("text", 1024, 4500)};
  const int requests = refuseEach(pages, Refusal::everyFurther);
  EXPECT_GE(requests, 15);
  RecordProperty("requests", requests);
}

INSTANTIATE_TEST_SUITE_P(Threshold, FilterPageMemoryTest, testing::Values(0));

#else
TEST(FilterMemoryTest, EachRefusalOfATwoPageJob) {
  GTEST_SKIP() << "this linker redirects no allocations";
}
#endif

}  // namespace
