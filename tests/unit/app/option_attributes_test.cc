// SPDX-License-Identifier: Apache-2.0
// Each attribute and each of its values against the driver files.
#include "app/option_attributes.h"

#include <gmock/gmock.h>

#include <set>
#include <string>
#include <vector>

#include "filter/settings.h"
#include "tests/support/log_capture.h"

namespace app {
namespace {

using testing::ElementsAre;

const OptionAttribute& attributeOf(const std::string& name) {
  for (const OptionAttribute& one : optionAttributes())
    if (name == one.name) return one;
  ADD_FAILURE() << "no attribute " << name;
  return optionAttributes().front();
}

std::string choiceOf(const std::string& attribute, const std::string& value) {
  const char* choice = choiceOfValue(attributeOf(attribute), value);
  return choice == nullptr ? "nothing" : choice;
}

std::time_t noTime() { return 0; }

// As the driver file gives them with that text of options.
Settings fromFile(const PrinterModel& model, const std::string& text) {
  const std::string file = std::string(DRAV_PPD_FOLDER) + "/" + model.name + ".ppd";
  Settings settings;
  EXPECT_TRUE(readSettings(file.c_str(), text.c_str(), &settings, noTime)) << file;
  return settings;
}

TEST(OptionAttributes, EachValueGivesTheSettingsOfItsChoice) {
  captureLog([] {
    for (const PrinterModel& model : printerModels()) {
      for (const OptionAttribute& one : optionAttributes()) {
        for (const char* choice : optionOf(one).choices) {
          const char* found = choiceOfValue(one, valueOfChoice(one, choice));
          ASSERT_NE(found, nullptr) << one.name << " " << choice;
          const ChosenOption chosen = {one.option, found};
          EXPECT_TRUE(settingsFromChoices(model, {&chosen, 1}, noTime) ==
                      fromFile(model, std::string(one.option) + "=" + choice))
              << model.name << " " << one.name << " " << choice;
        }
      }
    }
  });
}

// Left out: the paper and its type, which are IPP's own, darkness, and what is private.
TEST(OptionAttributes, EveryOptionHasOne) {
  std::set<std::string> left;
  for (const PrinterOption& option : printerOptions()) left.insert(option.keyword);
  for (const OptionAttribute& one : optionAttributes()) {
    EXPECT_EQ(left.erase(one.option), 1U) << one.option;
    const bool isKeyword = one.syntax == AttributeSyntax::kKeyword;
    EXPECT_EQ(one.keywords.size(), isKeyword ? optionOf(one).choices.size() : 0) << one.name;
  }
  EXPECT_THAT(left,
              ElementsAre("KeepPictures", "PageType", "PrintDensity", "RecordPrinterCommands"));
  EXPECT_LE(optionAttributes().size(), 32U);  // more are not sent
}

TEST(OptionAttributes, HalftonesAreNamedByTheMethodThatRuns) {
  const std::vector<std::pair<std::string, std::string>> names = {{"threshold", "None"},
                                                                  {"ordered-4x4", "FloydSteinberg"},
                                                                  {"burkes", "Ordered"},
                                                                  {"stucki", "Burkes"},
                                                                  {"jarvis-judice-ninke", "Stucki"},
                                                                  {"sierra", "JarvisJudiceNinke"},
                                                                  {"stevenson-arce", "Sierra"},
                                                                  {"bayer", "StevensonArce"},
                                                                  {"tattoo", "Tattoo"},
                                                                  {"tattoo-x8", "Tattoo_X8"}};
  for (const auto& [method, choice] : names) EXPECT_EQ(choiceOf("halftone-type", method), choice);
}

TEST(OptionAttributes, KeywordsSayWhatTheChoicesDo) {
  EXPECT_EQ(choiceOf("job-cut", "none"), "0");
  EXPECT_EQ(choiceOf("job-cut", "partial"), "1");
  EXPECT_EQ(choiceOf("page-cut", "full"), "2");
  EXPECT_EQ(choiceOf("cash-drawer-1", "job-start"), "1");
  EXPECT_EQ(choiceOf("cash-drawer-2", "job-end"), "2");
  EXPECT_EQ(choiceOf("page-buzzer", "page-end"), "2");
  EXPECT_EQ(choiceOf("top-logo-size", "wide"), "1");
  EXPECT_EQ(choiceOf("top-logo-size", "tall"), "2");
  EXPECT_EQ(choiceOf("bottom-logo-position", "center"), "1");
  EXPECT_EQ(choiceOf("trim-paper", "both"), "Both");
  EXPECT_EQ(choiceOf("mirror", "true"), "True");
  EXPECT_EQ(choiceOf("half-turn", "false"), "False");
}

TEST(OptionAttributes, ANumberTakesTheNearestChoice) {
  EXPECT_EQ(choiceOf("brightness", "-38"), "-40");
  EXPECT_EQ(choiceOf("brightness", "1"), "2");
  EXPECT_EQ(choiceOf("brightness", "-2147483648"), "-40");
  EXPECT_EQ(choiceOf("brightness", "2147483647"), "15");
  EXPECT_EQ(choiceOf("feed-lines", "7"), "8");
  EXPECT_EQ(choiceOf("contrast", "14"), "10");
}

TEST(OptionAttributes, OtherValuesMeanNothing) {
  EXPECT_EQ(choiceOf("halftone-type", "Tattoo"), "nothing");
  EXPECT_EQ(choiceOf("halftone-type", ""), "nothing");
  EXPECT_EQ(choiceOf("mirror", "1"), "nothing");
  EXPECT_EQ(choiceOf("brightness", ""), "nothing");
  EXPECT_EQ(choiceOf("brightness", "5x"), "nothing");
  EXPECT_EQ(choiceOf("brightness", "99999999999"), "nothing");
}

TEST(OptionAttributes, DarknessReachesEveryDensity) {
  for (int density = 0; density <= 15; ++density) {
    const std::string name = std::to_string(density);
    EXPECT_EQ(densityOfDarkness(darknessOfDensity(name)), name);
  }
  EXPECT_EQ(darknessOfDensity("8"), 53);
  EXPECT_STREQ(densityOfDarkness(-100), "0");
  EXPECT_STREQ(densityOfDarkness(100), "15");
  EXPECT_STREQ(densityOfDarkness(1000), "15");
}

}  // namespace
}  // namespace app
