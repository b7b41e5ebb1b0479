// SPDX-License-Identifier: Apache-2.0
// Runs the whole filter in the test's process, with its world in scratch
// folders and memory.
#ifndef TESTS_UNIT_FILTER_FILTER_FIXTURE_H_
#define TESTS_UNIT_FILTER_FILTER_FIXTURE_H_

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "filter/run_filter.h"
#include "tests/model/stream.h"
#include "tests/support/files.h"
#include "tests/support/ppd_builder.h"
#include "tests/support/raster_writer.h"
#include "tests/support/saved_pictures.h"
#include "tests/support/scoped_env.h"

struct FilterResult {
  int status = -1;
  Bytes out;                     // empty when the test brings its own stream
  std::vector<std::string> log;  // everything on standard error
  std::vector<SavedPicture> pictures;
  bool hasRecord = false;
  Bytes record;
  int leftDescriptors = 0;  // opened by the filter and not closed again
  long leftBlocks = 0;      // taken by it and not given back; 0 where none is counted
};

class FilterFixture : public testing::Test {
 protected:
  // 2025-01-31 23:59:59 in UTC, and a record file of that time.
  static constexpr std::time_t kNow = 1738367999;
  std::string recordPath() const { return folder_.file("cmds-20250131235959.bin"); }

  FilterFixture();

  // Sets up a driver file and job options that give these settings; with
  // `asJobOptions` the driver file's defaults say something else. Writes the
  // record file's name into `settings` when `records` is set.
  void describe(model::JobSettings& settings, bool records = false, bool asJobOptions = false);

  // Runs the job on a raster stream that lies in a file and comes as standard
  // input. Pictures go to a folder of their own.
  FilterResult run(const Bytes& raster);
  FilterResult run(const std::vector<model::RasterPage>& pages) { return run(rawRaster(pages)); }
  // The same with arguments of the test's own behind the program's name.
  FilterResult runWith(const std::vector<std::string>& arguments, int standardInput);

  // Runs the pages and compares everything with the model.
  void expectAsModel(model::JobSettings settings, const std::vector<model::RasterPage>& pages,
                     bool records = false, bool asJobOptions = false);
  static void expectSame(const model::JobResult& expected, const FilterResult& actual);

  TempFolder folder_;
  PpdBuilder ppd_;
  std::string options_;
  bool picturesFail_ = false;       // the folder of the pictures is missing
  FilterEnvironment environment_;   // standard input and folder are set by run
  std::FILE* ownOutput_ = nullptr;  // instead of one in memory
  // Called instead of the filter, to call it within a fault of the test's own.
  std::function<void(const std::function<void()>& filter)> surround_;
  // Answers for environment_.cancelRequested, with the input descriptor.
  std::function<bool(int)> cancel_;
  const ScopedEnv utc_{"TZ", "UTC"};
};

// The log without the option lines that it begins with, masked as in the model.
std::vector<std::string> jobLog(const FilterResult& result);

// A page of a pattern, and one whose pixels are all there but whose rows are
// longer than the picture is wide.
model::RasterPage patternPage(const std::string& pattern, int width, int height, uint64_t seed = 1,
                              uint32_t bytesPerLine = 0);

// Descriptors that the process has open.
int openDescriptors();

#endif  // TESTS_UNIT_FILTER_FILTER_FIXTURE_H_
