// SPDX-License-Identifier: Apache-2.0
#include "app/job_settings.h"

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <string>

namespace app {
namespace {

using Texts = std::map<std::string, std::string>;

// Names of options with their choices, of a job that asks for `job` in a queue whose
// defaults are `queue`.
Texts chosen(const char* model, const Texts& job, const Texts& queue,
             const StandardValues& standard = {.paper = "A4"}) {
  const std::unique_ptr<ipp_t, void (*)(ipp_t*)> attributes(ippNew(), ippDelete);
  for (const auto& [name, value] : queue) {
    ippAddString(attributes.get(), IPP_TAG_PRINTER, IPP_TAG_KEYWORD, name.c_str(), nullptr,
                 value.c_str());
  }
  const auto asked = [&job](const char* name) {
    const auto found = job.find(name);
    return found == job.end() ? std::string() : found->second;
  };
  Texts out;
  for (const ChosenOption& one :
       jobChoices(*findPrinterModel(model), attributes.get(), asked, standard))
    EXPECT_TRUE(out.emplace(one.keyword, one.choice).second) << one.keyword;
  return out;
}

TEST(JobSettings, TheJobComesBeforeItsQueue) {
  const Texts queue = {{"halftone-type-default", "sierra"}, {"brightness-default", "-10"}};
  EXPECT_EQ(chosen("dravsa43", {}, queue)["HalftoneType"], "JarvisJudiceNinke");
  EXPECT_EQ(chosen("dravsa43", {{"halftone-type", "tattoo"}}, queue)["HalftoneType"], "Tattoo");
  EXPECT_EQ(chosen("dravsa43", {{"halftone-type", "tattoo"}}, queue)["Brightness"], "-10");
}

TEST(JobSettings, AValueThatMeansNothingLeavesTheDefaultOfTheQueue) {
  const Texts queue = {{"halftone-type-default", "tattoo"}, {"mirror-default", "true"}};
  const Texts got = chosen("dravsa43", {{"halftone-type", "nonsense"}, {"mirror", "maybe"}}, queue);
  EXPECT_EQ(got.at("HalftoneType"), "Tattoo");
  EXPECT_EQ(got.at("StencilMirror"), "True");
  EXPECT_EQ(chosen("dravsa43", {{"mirror", "1"}}, {}).count("StencilMirror"), 0U);
}

TEST(JobSettings, FinishingsTrimUnlessTheJobHasACutOfItsOwn) {
  const StandardValues trimmed = {.isTrimmed = true, .paper = "X72MMY200MM"};
  EXPECT_EQ(chosen("dravr802", {}, {}, trimmed)["docCutType"], "1");
  EXPECT_EQ(chosen("dravr802", {{"job-cut", "full"}}, {}, trimmed)["docCutType"], "2");
  EXPECT_EQ(chosen("dravr802", {}, {}, {.paper = "X72MMY200MM"}).count("docCutType"), 0U);
  EXPECT_EQ(chosen("dravsa43", {}, {}, trimmed).count("docCutType"), 0U);  // has no cutter
}

TEST(JobSettings, DarknessPaperAndItsType) {
  const Texts roll =
      chosen("dravsa43", {}, {}, {.darkness = 100, .mediaType = "continuous", .paper = "A4"});
  EXPECT_EQ(roll, (Texts{{"PrintDensity", "15"}, {"PageType", "1"}, {"PageSize", "A4"}}));
  const Texts sheet =
      chosen("dravsa43", {}, {}, {.darkness = -5, .mediaType = "stationery", .paper = "A4"});
  EXPECT_EQ(sheet, (Texts{{"PrintDensity", "0"}, {"PageType", "0"}, {"PageSize", "A4"}}));
  EXPECT_EQ(chosen("dravsa43", {}, {}, {.mediaType = "labels", .paper = "A4"}).count("PageType"),
            0U);
}

}  // namespace
}  // namespace app
