// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/filter/filter_fixture.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <iterator>
#include <memory>
#include <system_error>

#include "image/halftones.h"
#include "tests/model/page_patterns.h"
#include "tests/support/failing_allocations.h"
#include "tests/support/job_options.h"
#include "tests/support/log_capture.h"

namespace {

using testing::ElementsAreArray;

std::string numberText(double value) {
  char text[64];
  std::snprintf(text, sizeof text, "%.17g", value);
  return text;
}

long heldBlocks() {
#if defined(DRAV_TEST_WRAPS_ALLOCATIONS)
  return heldAllocations();
#else
  return 0;
#endif
}

}  // namespace

FilterFixture::FilterFixture() {
  environment_.clock = [] { return kNow; };
  environment_.cancelRequested = [] { return false; };
  environment_.awaitCancel = [] {};
}

void FilterFixture::describe(model::JobSettings& settings, bool records, bool asJobOptions) {
  ppd_ = PpdBuilder();
  options_.clear();
  const auto add = [&](const std::string& keyword, const std::string& choice) {
    if (asJobOptions) {
      ppd_.option(keyword, {"Other", choice}, "Other");
      options_ += keyword + "=" + choice + " ";
    } else {
      ppd_.option(keyword, choice);
    }
  };
  const model::JobSettings missing;
  for (const NumberOption& option : kNumberOptions) {
    const int32_t value = settings.*option.field;
    if (value != missing.*option.field) add(option.keyword, std::to_string(value));
  }
  const auto neutral = pageChoices(missing);
  const auto chosen = pageChoices(settings);
  for (size_t i = 0; i < chosen.size(); ++i) {
    if (chosen[i] != neutral[i]) add(chosen[i].first, chosen[i].second);
  }
  if (settings.halftoneType != 0) {
    add("HalftoneType", dravHalftoneTypeToStr(static_cast<DitherType>(settings.halftoneType)));
  }
  if (settings.maxMediaWidth != 0.0) {
    ppd_.attribute("MaxMediaWidth", numberText(settings.maxMediaWidth));
  }
  if (records) {
    add("RecordPrinterCommands", "1");
    ppd_.attribute("dravFilterOutputFile", folder_.file("cmds"));
    settings.recordFileName = recordPath();
  }
  picturesFail_ = settings.savesFail;
}

FilterResult FilterFixture::run(const Bytes& raster) {
  const std::string path = folder_.file("page.ras");
  writeFile(path, raster);
  const int input = open(path.c_str(), O_RDONLY);
  EXPECT_NE(input, -1);
  FilterResult result = runWith({"17", "lp", "stencil", "1", options_}, input);
  EXPECT_EQ(fcntl(input, F_GETFD) != -1, true) << "standard input was closed";
  close(input);
  return result;
}

FilterResult FilterFixture::runWith(const std::vector<std::string>& arguments, int standardInput) {
  const std::string ppdPath = folder_.file("printer.ppd");
  ppd_.write(ppdPath);
  const ScopedEnv ppdVariable("PPD", ppdPath);
  unlink(recordPath().c_str());

  std::vector<std::string> texts = {"/usr/lib/cups/filter/rastertodrav"};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& text : texts) argv.push_back(text.data());
  const int argc = static_cast<int>(argv.size());
  argv.push_back(nullptr);

  const TempFolder pictures;
  const MemoryStream out;
  environment_.standardInput = standardInput;
  environment_.standardOutput = ownOutput_ != nullptr ? ownOutput_ : out.get();
  environment_.dumpFolder = picturesFail_ ? pictures.file("missing") : pictures.path();
  if (cancel_) {
    environment_.cancelRequested = [this, standardInput] { return cancel_(standardInput); };
  }
  FilterResult result;
  result.log = captureLog([&] {
    const int descriptors = openDescriptors();
    const long blocks = heldBlocks();
    const auto filter = [&] { result.status = runFilter(argc, argv.data(), environment_); };
    if (surround_) {
      surround_(filter);
    } else {
      filter();
    }
    result.leftBlocks = heldBlocks() - blocks;
    result.leftDescriptors = openDescriptors() - descriptors;
  });
  result.out = out.bytes();
  result.pictures = savedPictures(pictures);
  result.hasRecord = access(recordPath().c_str(), F_OK) == 0;
  if (result.hasRecord) result.record = readFile(recordPath());
  return result;
}

void FilterFixture::expectAsModel(model::JobSettings settings,
                                  const std::vector<model::RasterPage>& pages, bool records,
                                  bool asJobOptions) {
  describe(settings, records, asJobOptions);
  const FilterResult actual = run(pages);
  expectSame(model::runJob(settings, pages), actual);
  EXPECT_EQ(actual.hasRecord, records);
}

void FilterFixture::expectSame(const model::JobResult& expected, const FilterResult& actual) {
  EXPECT_TRUE(sameBytes(expected.stdoutBytes, actual.out));
  EXPECT_TRUE(sameBytes(expected.recordBytes, actual.record));
  EXPECT_TRUE(samePictures(expected.saved, actual.pictures));
  EXPECT_THAT(jobLog(actual), ElementsAreArray(expected.log));
  EXPECT_EQ(actual.status, expected.exitStatus);
}

std::vector<std::string> jobLog(const FilterResult& result) {
  auto begin = result.log.begin();
  while (begin != result.log.end() && begin->rfind("DEBUG:getOptionChoiceIndex: ", 0) == 0) {
    ++begin;
  }
  return maskLog({begin, result.log.end()});
}

model::RasterPage patternPage(const std::string& pattern, int width, int height, uint64_t seed,
                              uint32_t bytesPerLine) {
  return rasterPage(model::patternPage(pattern, width, height, seed), bytesPerLine);
}

int openDescriptors() {
  // One of them is the listing's own.
  std::error_code failure;
  const auto listing = std::filesystem::directory_iterator("/dev/fd", failure);
  if (!failure) return static_cast<int>(std::distance(begin(listing), end(listing))) - 1;
  int count = 0;
  for (int descriptor = 0; descriptor < 1024; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) != -1) ++count;
  }
  return count;
}
