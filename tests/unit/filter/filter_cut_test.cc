// SPDX-License-Identifier: Apache-2.0
// A raster stream that ends at any byte.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/model/page_patterns.h"
#include "tests/support/raster_writer.h"
#include "tests/unit/filter/filter_fixture.h"

namespace {

constexpr size_t kSyncBytes = 4;

struct StreamForm {
  std::string name;
  size_t headerBytes;
  Bytes (*write)(const std::vector<model::RasterPage>&);
};

const std::vector<StreamForm>& streamForms() {
  static const std::vector<StreamForm> forms = {
      {"version 3", 1796, rawRaster},
      {"other byte order", 1796, swappedRaster},
      {"version 1", 420, version1Raster},
  };
  return forms;
}

class FilterCutTest : public FilterFixture {
 protected:
  void SetUp() override {
    settings_.pageBuzzerSetting = 1;
    settings_.pageCutType = 1;
    settings_.docCutType = 2;
    settings_.savesFail = true;  // pictures are not looked at here
    describe(settings_, true);
  }

  // Cuts the stream of both pages in front of byte `end` and compares with the
  // job that the model makes of what is left.
  void expectCutAt(const StreamForm& form, const Bytes& whole, size_t end) {
    std::vector<model::RasterPage> left;
    size_t at = kSyncBytes;
    for (const model::RasterPage& page : pages_) {
      at += form.headerBytes;
      if (end < at) break;
      left.push_back(page);
      const size_t pixels = std::min(page.pixels.size(), end - at);
      left.back().pixels.resize(pixels);
      at += page.pixels.size();
    }
    const FilterResult result = run(Bytes(whole.data(), whole.data() + end));
    SCOPED_TRACE(form.name + ", cut at " + std::to_string(end));
    expectSame(expectedOf(left), result);
    EXPECT_EQ(result.leftDescriptors, 0);
  }

  // Many cuts in a row leave the same pages.
  const model::JobResult& expectedOf(const std::vector<model::RasterPage>& left) {
    std::vector<size_t> sizes;
    for (const model::RasterPage& page : left) sizes.push_back(page.pixels.size());
    if (!expected_ || sizes != sizes_) {
      sizes_ = sizes;
      expected_ = model::runJob(settings_, left);
    }
    return *expected_;
  }

  size_t secondHeader(const StreamForm& form) const {
    return kSyncBytes + form.headerBytes + pages_[0].pixels.size();
  }

  const std::vector<model::RasterPage> pages_ = {patternPage("circles", 24, 110),
                                                 patternPage("text", 16, 100)};
  model::JobSettings settings_;

 private:
  std::vector<size_t> sizes_;
  std::optional<model::JobResult> expected_;
};

TEST_F(FilterCutTest, EveryByteOfTheSyncWordAndTheFirstHeader) {
  for (const StreamForm& form : streamForms()) {
    const Bytes whole = form.write(pages_);
    for (size_t end = 0; end < kSyncBytes + form.headerBytes; ++end) {
      expectCutAt(form, whole, end);
      if (HasFailure()) return;
    }
  }
}

TEST_F(FilterCutTest, EveryByteOfALaterHeader) {
  for (const StreamForm& form : streamForms()) {
    const Bytes whole = form.write(pages_);
    for (size_t at = 0; at < form.headerBytes; ++at) {
      expectCutAt(form, whole, secondHeader(form) + at);
      if (HasFailure()) return;
    }
  }
}

TEST_F(FilterCutTest, RandomBytesOfThePixels) {
  model::Random random(6);
  for (const StreamForm& form : streamForms()) {
    const Bytes whole = form.write(pages_);
    const size_t first = kSyncBytes + form.headerBytes;
    const size_t second = secondHeader(form) + form.headerBytes;
    std::vector<size_t> ends = {first, first + 1, secondHeader(form) - 1, secondHeader(form),
                                second};
    for (int i = 0; i < 100; ++i) {
      const size_t page = random.below(2);
      const auto pixels = static_cast<uint32_t>(pages_[page].pixels.size());
      ends.push_back((page == 0 ? first : second) + random.below(pixels + 1));
    }
    for (const size_t end : ends) {
      expectCutAt(form, whole, end);
      if (HasFailure()) return;
    }
  }
}

}  // namespace
