// SPDX-License-Identifier: Apache-2.0
// The table of models, options and choices against the driver files that ship, and the
// settings that both give.
#include "filter/driver_table.h"

#include <cups/ppd.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <map>
#include <memory>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "filter/settings.h"
#include "image/halftones.h"
#include "tests/support/log_capture.h"
#include "tests/support/scoped_env.h"

static void PrintTo(const PrinterModel& model, std::ostream* out) { *out << model.name; }

namespace {

using testing::ElementsAreArray;
using testing::UnorderedElementsAreArray;
using Names = std::vector<std::string>;

std::string driverFile(const PrinterModel& model) {
  return std::string(DRAV_PPD_FOLDER) + "/" + model.name + ".ppd";
}

struct PpdClose {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};
using Ppd = std::unique_ptr<ppd_file_t, PpdClose>;

Ppd openDriverFile(const PrinterModel& model) {
  Ppd ppd(ppdOpenFile(driverFile(model).c_str()));
  EXPECT_NE(ppd, nullptr) << driverFile(model);
  return ppd;
}

Names asNames(ChoiceNames names) { return Names(names.begin(), names.end()); }

// The choices of an option of a driver file, the one that stands for custom sizes aside.
Names choicesOf(const ppd_option_t& option) {
  Names names;
  for (int i = 0; i < option.num_choices; ++i) {
    const std::string name = option.choices[i].choice;
    if (name != "Custom") names.push_back(name);
  }
  return names;
}

// What the filter does not read: CUPS's own options and what the printer has.
bool isForOthers(const std::string& keyword) {
  static const std::set<std::string> own = {"PageRegion", "Resolution", "ColorModel"};
  return own.count(keyword) != 0 || keyword.rfind("Option", 0) == 0;
}

class DriverTableTest : public testing::TestWithParam<PrinterModel> {};

TEST_P(DriverTableTest, TheModelIsThatOfItsFile) {
  const PrinterModel& model = GetParam();
  const Ppd ppd = openDriverFile(model);
  EXPECT_EQ(ppd->model_number, model.number);
  EXPECT_EQ(ppd->modelname, std::string("Drav ") + model.title);
  const ppd_attr_t* width = ppdFindAttr(ppd.get(), "MaxMediaWidth", nullptr);
  ASSERT_NE(width, nullptr);
  EXPECT_EQ(std::stod(width->value), model.maxMediaWidth);
  const ppd_attr_t* prefix = ppdFindAttr(ppd.get(), "dravFilterOutputFile", nullptr);
  ASSERT_NE(prefix, nullptr);
  EXPECT_STREQ(prefix->value, kRecordFilePrefix);
  const ppd_attr_t* resolution = ppdFindAttr(ppd.get(), "DefaultResolution", nullptr);
  ASSERT_NE(resolution, nullptr);
  EXPECT_EQ(resolution->value, std::to_string(model.resolution) + "dpi");
}

TEST_P(DriverTableTest, OptionsChoicesAndDefaultsAreThoseOfTheFile) {
  const PrinterModel& model = GetParam();
  const Ppd ppd = openDriverFile(model);
  std::set<std::string> left;
  for (ppd_option_t* one = ppdFirstOption(ppd.get()); one != nullptr;
       one = ppdNextOption(ppd.get())) {
    if (!isForOthers(one->keyword)) left.insert(one->keyword);
  }
  ppd_option_t* papers = ppdFindOption(ppd.get(), "PageSize");
  ASSERT_NE(papers, nullptr);
  EXPECT_THAT(choicesOf(*papers), UnorderedElementsAreArray(asNames(model.papers)));
  EXPECT_STREQ(papers->defchoice, model.paper);
  left.erase("PageSize");
  for (const PrinterOption& option : printerOptions()) {
    SCOPED_TRACE(option.keyword);
    const ppd_option_t* found = ppdFindOption(ppd.get(), option.keyword);
    const char* standard = standardChoice(model, option);
    ASSERT_EQ(found != nullptr, standard != nullptr);
    if (found == nullptr) continue;
    EXPECT_STREQ(found->keyword, option.keyword);
    EXPECT_STREQ(found->defchoice, standard);
    // A dialog shows the halftones in an order of its own.
    if (std::string(option.keyword) == "HalftoneType") {
      EXPECT_THAT(choicesOf(*found), UnorderedElementsAreArray(asNames(option.choices)));
    } else {
      EXPECT_THAT(choicesOf(*found), ElementsAreArray(asNames(option.choices)));
    }
    left.erase(option.keyword);
  }
  EXPECT_THAT(left, testing::IsEmpty());
}

TEST_P(DriverTableTest, TheHalftonesAreThoseOfTheFile) {
  const Ppd ppd = openDriverFile(GetParam());
  const ppd_option_t* option = ppdFindOption(ppd.get(), "HalftoneType");
  ASSERT_NE(option, nullptr);
  std::map<std::string, std::string> labels;
  for (int i = 0; i < option->num_choices; ++i) {
    labels[option->choices[i].choice] = option->choices[i].text;
  }
  std::map<std::string, std::string> table;
  for (const Halftone& halftone : halftones()) table[halftone.name] = halftone.label;
  EXPECT_EQ(labels, table);
}

// ---- The same settings both ways ------------------------------------------

class PlainSettingsTest : public testing::TestWithParam<PrinterModel> {
 protected:
  static std::time_t now() { return 1738367999; }

  void expectSame(const std::vector<ChosenOption>& choices) const {
    std::string text;
    for (const ChosenOption& one : choices) {
      text += std::string(one.keyword) + "=" + std::string(one.choice) + " ";
    }
    SCOPED_TRACE(text);
    Settings fromFile;
    Settings plain;
    const std::vector<std::string> fileLog = captureLog([&] {
      EXPECT_TRUE(readSettings(driverFile(GetParam()).c_str(), text.c_str(), &fromFile, now));
    });
    const std::vector<std::string> plainLog =
        captureLog([&] { plain = settingsFromChoices(GetParam(), choices, now); });
    EXPECT_TRUE(fromFile == plain);
    EXPECT_EQ(fileLog, plainLog);
  }

  const ScopedEnv utc_{"TZ", "UTC"};
};

TEST_P(PlainSettingsTest, Defaults) { expectSame({}); }

TEST_P(PlainSettingsTest, EveryChoiceOfEveryOption) {
  for (const PrinterOption& option : printerOptions()) {
    for (const char* choice : option.choices) expectSame({{option.keyword, choice}});
  }
}

TEST_P(PlainSettingsTest, EveryPaper) {
  for (const PrinterModel& model : printerModels()) {  // those of the others as well
    for (const char* paper : model.papers) expectSame({{"PageSize", paper}});
  }
  expectSame({{"PageSize", "Custom.60x60mm"}});
}

TEST_P(PlainSettingsTest, WhatTheModelLacks) {
  for (const PrinterOption& option : printerOptions()) {
    for (const char* choice : {"", "16", "-1", "Yes", "Nobody", "Custom.1x1mm"}) {
      expectSame({{option.keyword, choice}});
    }
  }
  expectSame({{"NoSuchOption", "1"}});
  expectSame({{"PageSize", "X1MMY1MM"}});
}

TEST_P(PlainSettingsTest, CaseAndRepetition) {
  expectSame({{"halftonetype", "TATTOO_x8"}, {"stencilMIRROR", "true"}});
  expectSame({{"pagesize", "x80mmy200mm"}});
  expectSame({{"docCutType", "2"}, {"DOCCUTTYPE", "0"}});
  expectSame({{"Contrast", "20"}, {"Contrast", "21"}});
  expectSame({{"Brightness", "15"}, {"Contrast", "50"}, {"Brightness", "-40"}, {"PageSize", "A4"}});
}

std::string modelName(const testing::TestParamInfo<PrinterModel>& model) {
  return model.param.name;
}

INSTANTIATE_TEST_SUITE_P(Models, DriverTableTest,
                         testing::ValuesIn(printerModels().begin(), printerModels().end()),
                         modelName);
INSTANTIATE_TEST_SUITE_P(Models, PlainSettingsTest,
                         testing::ValuesIn(printerModels().begin(), printerModels().end()),
                         modelName);

TEST(DriverTable, HasAModelForEachDriverFile) {
  Names files;
  for (const auto& entry : std::filesystem::directory_iterator(DRAV_PPD_FOLDER)) {
    if (entry.path().extension() == ".ppd") files.push_back(entry.path().stem());
  }
  Names models;
  for (const PrinterModel& model : printerModels()) models.emplace_back(model.name);
  EXPECT_THAT(models, UnorderedElementsAreArray(files));
}

TEST(DriverTable, ModelsAreFoundInAnyCase) {
  ASSERT_NE(findPrinterModel("DravSA43"), nullptr);
  EXPECT_STREQ(findPrinterModel("DravSA43")->name, "dravsa43");
  for (const char* name : {"", "dravsa4", "dravsa433", "dravsa43.ppd"}) {
    EXPECT_EQ(findPrinterModel(name), nullptr) << name;
  }
}

// A walk that could not tell settings apart would show nothing.
TEST(DriverTable, ChoicesOfAnOptionGiveSettingsOfTheirOwn) {
  const PrinterModel& stencil = *findPrinterModel("dravsa43");
  for (const PrinterOption& option : printerOptions()) {
    std::vector<Settings> seen;
    captureLog([&] {
      for (const char* choice : option.choices) {
        const ChosenOption one = {option.keyword, choice};
        seen.push_back(settingsFromChoices(stencil, {&one, 1}, [] { return std::time_t{0}; }));
      }
    });
    for (size_t i = 0; i < seen.size(); ++i) {
      for (size_t j = 0; j < i; ++j) {
        EXPECT_FALSE(seen[i] == seen[j]) << option.keyword << " " << i << " " << j;
      }
    }
  }
}

}  // namespace
