// SPDX-License-Identifier: Apache-2.0
#include "filter/settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/files.h"
#include "tests/support/log_capture.h"
#include "tests/support/ppd_builder.h"
#include "tests/support/scoped_env.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr std::time_t kNow = 1738367999;  // 2025-01-31 23:59:59 in UTC

class SettingsTest : public testing::Test {
 protected:
  // Reads the settings of a driver file and the job's options.
  bool read(const PpdBuilder& ppd, const std::string& options = "") {
    ppd.write(folder_.file("printer.ppd"));
    return readFrom(folder_.file("printer.ppd"), options);
  }
  bool readFrom(const std::optional<std::string>& path, const std::string& options = "") {
    const ScopedEnv variable("PPD", path);
    bool good = false;
    log_ = captureLog(
        [&] { good = initializeSettings(options.c_str(), &settings_, [] { return kNow; }); });
    return good;
  }

  TempFolder folder_;
  Settings settings_;
  std::vector<std::string> log_;
  const ScopedEnv utc_{"TZ", "UTC"};
};

TEST_F(SettingsTest, EveryOptionReachesItsField) {
  PpdBuilder ppd;
  ppd.option("PageType", "10")
      .option("pageCutType", "11")
      .option("docCutType", "12")
      .option("FeedCutAfterJobEnd", "13")
      .option("CashDrawer1Setting", "14")
      .option("CashDrawer2Setting", "15")
      .option("DocumentBuzzerSetting", "16")
      .option("PageBuzzerSetting", "17")
      .option("BuzzerOnTime", "18")
      .option("BuzzerRepeat", "19")
      .option("DocTopLogoID", "20")
      .option("DocTopLogoMode", "21")
      .option("DocBottomLogoID", "22")
      .option("DocBottomLogoMode", "23")
      .option("DocTopLogoPosition", "24")
      .option("DocBottomLogoPosition", "25")
      .option("HalftoneType", "Tattoo")
      .option("Brightness", "-26")
      .option("PrintDensity", "27")
      .attribute("MaxMediaWidth", "575.4")
      .modelNumber(42);
  // Whatever the record held before is gone.
  std::memset(static_cast<void*>(settings_.recordFileName.data()), 'x',
              settings_.recordFileName.size());
  settings_.reserved1 = 7;
  settings_.reserved2 = 7;
  ASSERT_TRUE(read(ppd));
  EXPECT_EQ(settings_.modelNumber, 42);
  EXPECT_EQ(settings_.pageWidth, 80.0F);
  EXPECT_EQ(settings_.pageHeight, 200.0F);
  EXPECT_EQ(settings_.maxMediaWidth, 575.4);
  EXPECT_EQ(settings_.pageType, 10);
  EXPECT_EQ(settings_.reserved1, 0);
  EXPECT_EQ(settings_.pageCutType, 11);
  EXPECT_EQ(settings_.docCutType, 12);
  EXPECT_EQ(settings_.feedCutAfterJobEnd, 13);
  EXPECT_EQ(settings_.cashDrawer1Setting, 14);
  EXPECT_EQ(settings_.cashDrawer2Setting, 15);
  EXPECT_EQ(settings_.documentBuzzerSetting, 16);
  EXPECT_EQ(settings_.pageBuzzerSetting, 17);
  EXPECT_EQ(settings_.buzzerOnTime, 18);
  EXPECT_EQ(settings_.buzzerRepeat, 19);
  EXPECT_EQ(settings_.docTopLogoID, 20);
  EXPECT_EQ(settings_.docTopLogoMode, 21);
  EXPECT_EQ(settings_.docBottomLogoID, 22);
  EXPECT_EQ(settings_.docBottomLogoMode, 23);
  EXPECT_EQ(settings_.docTopLogoPosition, 24);
  EXPECT_EQ(settings_.docBottomLogoPosition, 25);
  EXPECT_EQ(settings_.reserved2, 0);
  EXPECT_EQ(settings_.halftoneType, DitherType::Tattoo);
  EXPECT_EQ(settings_.brightness, -26);
  EXPECT_EQ(settings_.printDensity, 27);
  for (const char c : settings_.recordFileName) ASSERT_EQ(c, '\0');
  EXPECT_THAT(log_, ElementsAre("DEBUG:getOptionChoiceIndex: PageType = 10",
                                "DEBUG:getOptionChoiceIndex: pageCutType = 11",
                                "DEBUG:getOptionChoiceIndex: docCutType = 12",
                                "DEBUG:getOptionChoiceIndex: FeedCutAfterJobEnd = 13",
                                "DEBUG:getOptionChoiceIndex: CashDrawer1Setting = 14",
                                "DEBUG:getOptionChoiceIndex: CashDrawer2Setting = 15",
                                "DEBUG:getOptionChoiceIndex: DocumentBuzzerSetting = 16",
                                "DEBUG:getOptionChoiceIndex: PageBuzzerSetting = 17",
                                "DEBUG:getOptionChoiceIndex: BuzzerOnTime = 18",
                                "DEBUG:getOptionChoiceIndex: BuzzerRepeat = 19",
                                "DEBUG:getOptionChoiceIndex: DocTopLogoID = 20",
                                "DEBUG:getOptionChoiceIndex: DocTopLogoMode = 21",
                                "DEBUG:getOptionChoiceIndex: DocBottomLogoID = 22",
                                "DEBUG:getOptionChoiceIndex: DocBottomLogoMode = 23",
                                "DEBUG:getOptionChoiceIndex: DocTopLogoPosition = 24",
                                "DEBUG:getOptionChoiceIndex: DocBottomLogoPosition = 25"));
}

TEST_F(SettingsTest, MissingOptionsReadAsOffAndAreNotLogged) {
  ASSERT_TRUE(read(PpdBuilder()));
  EXPECT_EQ(settings_.modelNumber, 0);
  EXPECT_EQ(settings_.maxMediaWidth, 0.0);
  for (const int32_t value :
       {settings_.pageType, settings_.pageCutType, settings_.docCutType,
        settings_.feedCutAfterJobEnd, settings_.cashDrawer1Setting, settings_.cashDrawer2Setting,
        settings_.documentBuzzerSetting, settings_.pageBuzzerSetting, settings_.buzzerOnTime,
        settings_.buzzerRepeat, settings_.docTopLogoID, settings_.docTopLogoMode,
        settings_.docTopLogoPosition, settings_.docBottomLogoID, settings_.docBottomLogoMode,
        settings_.docBottomLogoPosition}) {
    EXPECT_EQ(value, -1);
  }
  EXPECT_EQ(settings_.brightness, 0);
  EXPECT_EQ(settings_.printDensity, 0);
  EXPECT_EQ(settings_.halftoneType, DitherType::None);
  EXPECT_STREQ(settings_.recordFileName.data(), "");
  EXPECT_THAT(log_, IsEmpty());
}

TEST_F(SettingsTest, JobOptionWinsOverTheDefault) {
  const PpdBuilder ppd = PpdBuilder()
                             .option("pageCutType", {"0", "1", "2"}, "0")
                             .option("Brightness", {"0", "20"}, "0")
                             .option("HalftoneType", {"None", "Tattoo_X8"}, "None");
  ASSERT_TRUE(read(ppd));
  EXPECT_EQ(settings_.pageCutType, 0);
  ASSERT_TRUE(read(ppd, "pageCutType=2 Brightness=20 HalftoneType=Tattoo_X8"));
  EXPECT_EQ(settings_.pageCutType, 2);
  EXPECT_EQ(settings_.brightness, 20);
  EXPECT_EQ(settings_.halftoneType, DitherType::Tattoo_X8);
  EXPECT_THAT(log_, ElementsAre("DEBUG:getOptionChoiceIndex: pageCutType = 2"));
}

TEST_F(SettingsTest, OptionsOfOthersChangeNothing) {
  ASSERT_TRUE(read(PpdBuilder().option("pageCutType", {"0", "1"}, "1"),
                   "finishings=3 job-uuid=urn:uuid:1 noCollate pageCutType=9 media=A4"));
  EXPECT_EQ(settings_.pageCutType, 1);
}

TEST_F(SettingsTest, JobOptionFindsItsChoiceInAnyCase) {
  ASSERT_TRUE(
      read(PpdBuilder().option("HalftoneType", {"None", "Tattoo"}, "None"), "halftonetype=tattoo"));
  EXPECT_EQ(settings_.halftoneType, DitherType::Tattoo);
}

TEST_F(SettingsTest, ChoiceThatIsNoNumberReadsAsZero) {
  ASSERT_TRUE(read(PpdBuilder().option("docCutType", "Full").option("PrintDensity", "Dark")));
  EXPECT_EQ(settings_.docCutType, 0);
  EXPECT_EQ(settings_.printDensity, 0);
  EXPECT_THAT(log_, ElementsAre("DEBUG:getOptionChoiceIndex: docCutType = 0"));
}

TEST_F(SettingsTest, HalftoneNameIsComparedExactly) {
  ASSERT_TRUE(read(PpdBuilder().option("HalftoneType", "tattoo")));
  EXPECT_EQ(settings_.halftoneType, DitherType::None);
  ASSERT_TRUE(read(PpdBuilder().option("HalftoneType", "Halftone")));
  EXPECT_EQ(settings_.halftoneType, DitherType::None);
  for (int32_t i = 0; i < kHalftoneTypeCount; ++i) {
    const auto type = static_cast<DitherType>(i);
    ASSERT_TRUE(read(PpdBuilder().option("HalftoneType", dravHalftoneTypeToStr(type))));
    EXPECT_EQ(settings_.halftoneType, type);
  }
}

TEST_F(SettingsTest, PageSizeComesFromTheNameOfItsChoice) {
  struct Row {
    const char* name;
    float width;
    float height;
  };
  for (const Row& row :
       {Row{"X80MMY200MM", 80.0F, 200.0F}, Row{"X80Y200M", 80.0F, 200.0F},
        Row{"X57D5MMY100MM", 57.5F, 100.0F}, Row{"X57D5MMY100M", 57.5F, 100.0F},
        Row{"X72D1MMY297MM", 72.1F, 297.0F}, Row{"X210MMY297D25MM", 210.0F, 297.25F},
        Row{"X80MMY200MMextra", 80.0F, 200.0F}, Row{"XMYM", 0.0F, 0.0F}, Row{"XYM", 0.0F, 0.0F},
        Row{"X1M2Y3M", 12.0F, 3.0F}, Row{"XD5YD25M", 0.5F, 0.25F}}) {
    ASSERT_TRUE(read(PpdBuilder().pageSizes({row.name}))) << row.name;
    EXPECT_EQ(settings_.pageWidth, row.width) << row.name;
    EXPECT_EQ(settings_.pageHeight, row.height) << row.name;
    EXPECT_THAT(log_, IsEmpty()) << row.name;
  }
}

TEST_F(SettingsTest, OtherPageSizeNamesGiveNoSize) {
  for (const char* name : {"Letter", "A4", "X80MMY200", "X80MM", "X", "x80MMY200MM", "X80mmY200mm",
                           "X80MMX200MM", "X80MMY200Y1M", "80MMY200MM", "X80.5MMY200MM",
                           "X-80MMY200MM", "XX80MMY200MM", "w144h432", "X80MMY"}) {
    ASSERT_TRUE(read(PpdBuilder().pageSizes({name}))) << name;
    EXPECT_EQ(settings_.pageWidth, 0.0F) << name;
    EXPECT_EQ(settings_.pageHeight, 0.0F) << name;
  }
}

TEST_F(SettingsTest, DimensionsOfMoreThanNineteenCharactersGiveNoSize) {
  const std::string nineteen(17, '0');  // two digits follow
  ASSERT_TRUE(read(PpdBuilder().pageSizes({"X" + nineteen + "80Y200M"})));
  EXPECT_EQ(settings_.pageWidth, 80.0F);
  EXPECT_EQ(settings_.pageHeight, 200.0F);
  ASSERT_TRUE(read(PpdBuilder().pageSizes({"X80Y" + nineteen + "90M"})));
  EXPECT_EQ(settings_.pageHeight, 90.0F);
  for (const std::string& name :
       {"X0" + nineteen + "80Y200M", "X80Y0" + nineteen + "90M", "X" + std::string(30, '1') + "Y1M",
        "X1Y" + std::string(30, '1') + "M", "X" + std::string(20, 'D') + "Y200M"}) {
    ASSERT_TRUE(read(PpdBuilder().pageSizes({name}))) << name;
    EXPECT_EQ(settings_.pageWidth, 0.0F) << name;
    EXPECT_EQ(settings_.pageHeight, 0.0F) << name;
  }
}

TEST_F(SettingsTest, MarkedPageSizeWinsOverTheDefault) {
  ASSERT_TRUE(read(PpdBuilder().pageSizes({"X80MMY200MM", "X57MMY100MM"}), "PageSize=X57MMY100MM"));
  EXPECT_EQ(settings_.pageWidth, 57.0F);
  EXPECT_EQ(settings_.pageHeight, 100.0F);
}

TEST_F(SettingsTest, PageSizeWithoutAUsableChoiceGivesNoSize) {
  ASSERT_TRUE(read(PpdBuilder().pageSizes({}).option("PageSize", {"X80MMY200MM"}, "Elsewhere")));
  EXPECT_EQ(settings_.pageWidth, 0.0F);
  EXPECT_EQ(settings_.pageHeight, 0.0F);
}

TEST_F(SettingsTest, MaxMediaWidthIsADecimalNumber) {
  const auto widthOf = [this](const std::string& value) {
    EXPECT_TRUE(read(PpdBuilder().attribute("MaxMediaWidth", value)));
    return settings_.maxMediaWidth;
  };
  EXPECT_EQ(widthOf("576"), 576.0);
  EXPECT_EQ(widthOf("226.77"), 226.77);
  EXPECT_EQ(widthOf("wide"), 0.0);
  EXPECT_EQ(widthOf("-5"), -5.0);
}

TEST_F(SettingsTest, RecordFileIsNamedByPrefixAndLocalTime) {
  const PpdBuilder ppd = PpdBuilder()
                             .option("RecordPrinterCommands", {"0", "1"}, "1")
                             .attribute("dravFilterOutputFile", "/tmp/cmds");
  ASSERT_TRUE(read(ppd));
  EXPECT_STREQ(settings_.recordFileName.data(), "/tmp/cmds-20250131235959.bin");
  const ScopedEnv zone("TZ", "EST5");
  ASSERT_TRUE(read(ppd));
  EXPECT_STREQ(settings_.recordFileName.data(), "/tmp/cmds-20250131185959.bin");
}

TEST_F(SettingsTest, RecordFileNamePadsAllButTheYear) {
  PpdBuilder()
      .option("RecordPrinterCommands", "1")
      .attribute("dravFilterOutputFile", "/tmp/cmds")
      .write(folder_.file("printer.ppd"));
  const ScopedEnv variable("PPD", folder_.file("printer.ppd"));
  // 2025-01-05 03:04:09 in UTC.
  ASSERT_TRUE(initializeSettings("", &settings_, [] { return std::time_t{1736046249}; }));
  EXPECT_STREQ(settings_.recordFileName.data(), "/tmp/cmds-20250105030409.bin");
}

TEST_F(SettingsTest, RecordFileNameOfAYearBeyond32BitsIsThatOfNoDate) {
  PpdBuilder()
      .option("RecordPrinterCommands", "1")
      .attribute("dravFilterOutputFile", "/tmp/cmds")
      .write(folder_.file("printer.ppd"));
  const ScopedEnv variable("PPD", folder_.file("printer.ppd"));
  // 2147485547-12-31 23:59:59 in UTC: a year beyond 32 bits.
  ASSERT_TRUE(initializeSettings("", &settings_, [] { return std::time_t{67768036191676799}; }));
  EXPECT_STREQ(settings_.recordFileName.data(), "/tmp/cmds-19000100000000.bin");
}

TEST_F(SettingsTest, RecordFileWithoutAPrefixBeginsWithTheDash) {
  ASSERT_TRUE(read(PpdBuilder().option("RecordPrinterCommands", "1")));
  EXPECT_STREQ(settings_.recordFileName.data(), "-20250131235959.bin");
}

TEST_F(SettingsTest, PerCentSignsInThePrefixStayAsTheyAre) {
  ASSERT_TRUE(read(PpdBuilder()
                       .option("RecordPrinterCommands", "2")
                       .attribute("dravFilterOutputFile", "/tmp/%s%d%n")));
  EXPECT_STREQ(settings_.recordFileName.data(), "/tmp/%s%d%n-20250131235959.bin");
}

TEST_F(SettingsTest, NoRecordFileUnlessItIsSwitchedOn) {
  for (const char* choice : {"0", "-1", "Off"}) {
    ASSERT_TRUE(read(PpdBuilder()
                         .option("RecordPrinterCommands", choice)
                         .attribute("dravFilterOutputFile", "/tmp/cmds")));
    EXPECT_STREQ(settings_.recordFileName.data(), "") << choice;
  }
  ASSERT_TRUE(read(PpdBuilder().attribute("dravFilterOutputFile", "/tmp/cmds")));
  EXPECT_STREQ(settings_.recordFileName.data(), "");
}

TEST_F(SettingsTest, RecordFileNameMayFillItsFieldAndNoMore) {
  EXPECT_GE(settings_.recordFileName.size(), 256U);
  // The dash, 14 digits, ".bin" and the text's end.
  const size_t longest = settings_.recordFileName.size() - 20;
  // libcups takes a value this long only when it spans lines.
  const auto prefixOf = [](size_t length) {
    std::string prefix(length, 'p');
    for (size_t i = 100; i < length; i += 100) prefix[i] = '\n';
    return prefix;
  };
  ASSERT_TRUE(read(PpdBuilder()
                       .option("RecordPrinterCommands", "1")
                       .attribute("dravFilterOutputFile", prefixOf(longest))));
  EXPECT_EQ(settings_.recordFileName.data(), prefixOf(longest) + "-20250131235959.bin");
  EXPECT_THAT(log_, IsEmpty());

  ASSERT_TRUE(read(PpdBuilder()
                       .option("RecordPrinterCommands", "1")
                       .attribute("dravFilterOutputFile", prefixOf(longest + 1))));
  EXPECT_STREQ(settings_.recordFileName.data(), "");
  EXPECT_THAT(log_, ElementsAre(StartsWith("ERROR:")));
}

TEST_F(SettingsTest, NoReadablePpdIsOneErrorLine) {
  writeFile(folder_.file("garbage.ppd"), std::string("no driver file\n"));
  writeFile(folder_.file("empty.ppd"), std::string());
  for (const std::optional<std::string>& path :
       {std::optional<std::string>(), std::optional<std::string>(""),
        std::optional<std::string>(folder_.file("missing.ppd")),
        std::optional<std::string>(folder_.path()),
        std::optional<std::string>(folder_.file("garbage.ppd")),
        std::optional<std::string>(folder_.file("empty.ppd"))}) {
    EXPECT_FALSE(readFrom(path, "pageCutType=2")) << path.value_or("(not set)");
    EXPECT_THAT(log_, ElementsAre("ERROR:Unable to open PPD file \"" + path.value_or("") + "\"!"));
  }
}

TEST_F(SettingsTest, PpdWithoutPageSizeIsOneErrorLine) {
  EXPECT_FALSE(read(PpdBuilder().pageSizes({}).option("pageCutType", "1")));
  EXPECT_THAT(log_, ElementsAre(StartsWith("ERROR:")));
  EXPECT_THAT(log_, Contains(HasSubstr("PageSize")));
}

class OpenPpdTest : public testing::Test {
 protected:
  ppd_file_t* open(const PpdBuilder& builder) {
    builder.write(folder_.file("printer.ppd"));
    ppd_.reset(ppdOpenFile(folder_.file("printer.ppd").c_str()));
    return ppd_.get();
  }
  struct PpdCloser {
    void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
  };
  TempFolder folder_;
  std::unique_ptr<ppd_file_t, PpdCloser> ppd_;
};

TEST_F(OpenPpdTest, OptionNumberIsThatOfTheMarkedChoiceElseOfTheDefault) {
  ppd_file_t* ppd = open(PpdBuilder().option("docCutType", {"0", "1", "2"}, "1"));
  ASSERT_NE(ppd, nullptr);
  int32_t number = 0;
  EXPECT_EQ(captureLogText([&] { number = getOptionChoiceIndex("docCutType", ppd); }),
            "DEBUG:getOptionChoiceIndex: docCutType = 1\n");
  EXPECT_EQ(number, 1);
  ppdMarkOption(ppd, "docCutType", "2");
  EXPECT_EQ(captureLogText([&] { number = getOptionChoiceIndex("docCutType", ppd); }),
            "DEBUG:getOptionChoiceIndex: docCutType = 2\n");
  EXPECT_EQ(number, 2);
}

TEST_F(OpenPpdTest, OptionThatIsMissingOrHasNoDefaultIsMinusOneWithoutALine) {
  ppd_file_t* ppd = open(PpdBuilder().option("docCutType", {"0", "1"}, "7"));
  ASSERT_NE(ppd, nullptr);
  int32_t number = 0;
  EXPECT_EQ(captureLogText([&] { number = getOptionChoiceIndex("docCutType", ppd); }), "");
  EXPECT_EQ(number, -1);
  number = 0;
  EXPECT_EQ(captureLogText([&] { number = getOptionChoiceIndex("pageCutType", ppd); }), "");
  EXPECT_EQ(number, -1);
}

TEST_F(OpenPpdTest, PageSizeIsThatOfTheDefaultWhenNothingIsMarked) {
  ppd_file_t* ppd = open(PpdBuilder().pageSizes({"X57D5MMY100MM", "X80MMY200MM"}));
  ASSERT_NE(ppd, nullptr);
  Settings settings;
  getPageWidthPageHeight(ppd, &settings);
  EXPECT_EQ(settings.pageWidth, 57.5F);
  EXPECT_EQ(settings.pageHeight, 100.0F);
}

TEST_F(OpenPpdTest, UnusablePageSizeClearsWhatWasThere) {
  ppd_file_t* ppd = open(PpdBuilder().pageSizes({"Letter"}));
  ASSERT_NE(ppd, nullptr);
  Settings settings;
  settings.pageWidth = 1.0F;
  settings.pageHeight = 2.0F;
  getPageWidthPageHeight(ppd, &settings);
  EXPECT_EQ(settings.pageWidth, 0.0F);
  EXPECT_EQ(settings.pageHeight, 0.0F);
}

TEST(SystemClockTest, RunsWithTheSystem) {
  const std::time_t before = std::time(nullptr);
  const std::time_t now = systemClock();
  const std::time_t after = std::time(nullptr);
  EXPECT_LE(before, now);
  EXPECT_LE(now, after);
}

TEST_F(SettingsTest, OwnOptionsAreReadWithoutALine) {
  PpdBuilder ppd;
  ppd.option("StencilMirror", {"False", "True"}, "False")
      .option("HalfTurn", {"False", "True"}, "False")
      .option("InvertPage", {"False", "True"}, "False")
      .option("Contrast", {"0", "10", "20", "30", "40", "50"}, "0")
      .option("PaperFrame", {"0", "1", "2", "3", "4", "5"}, "0")
      .option("TrimPaper", {"None", "End", "Both"}, "None")
      .option("KeepPictures", {"True", "False"}, "True");
  ASSERT_TRUE(read(PpdBuilder()));
  const std::vector<std::string> plainLog = log_;
  const auto expectNeutral = [this] {
    EXPECT_FALSE(settings_.stencilMirror || settings_.halfTurn || settings_.invertPage);
    EXPECT_EQ(settings_.contrast, 0);
    EXPECT_EQ(settings_.paperFrame, 0);
    EXPECT_EQ(settings_.trimPaper, TrimPaper::None);
    EXPECT_TRUE(settings_.keepPictures);
  };
  expectNeutral();
  ASSERT_TRUE(read(ppd));
  expectNeutral();
  EXPECT_EQ(log_, plainLog);
  ASSERT_TRUE(read(ppd,
                   "StencilMirror=True HalfTurn=True InvertPage=True Contrast=50 PaperFrame=5 "
                   "TrimPaper=Both KeepPictures=False"));
  EXPECT_TRUE(settings_.stencilMirror && settings_.halfTurn && settings_.invertPage);
  EXPECT_EQ(settings_.contrast, 50);
  EXPECT_EQ(settings_.paperFrame, 5);
  EXPECT_EQ(settings_.trimPaper, TrimPaper::Both);
  EXPECT_FALSE(settings_.keepPictures);
  EXPECT_EQ(log_, plainLog);
  ASSERT_TRUE(read(ppd, "TrimPaper=End"));
  EXPECT_EQ(settings_.trimPaper, TrimPaper::End);
}

TEST_F(SettingsTest, UnknownChoicesOfOwnOptionsAreOff) {
  for (const char* choice : {"-10", "60", "6", "1x", "Yes", "99999999999"}) {
    SCOPED_TRACE(choice);
    PpdBuilder ppd;
    for (const char* keyword : {"StencilMirror", "HalfTurn", "InvertPage", "TrimPaper"}) {
      ppd.option(keyword, choice);
    }
    if (std::string(choice) != "6") ppd.option("Contrast", choice);
    ppd.option("PaperFrame", choice).option("KeepPictures", choice);
    ASSERT_TRUE(read(ppd));
    EXPECT_FALSE(settings_.stencilMirror || settings_.halfTurn || settings_.invertPage);
    EXPECT_EQ(settings_.contrast, 0);
    EXPECT_EQ(settings_.paperFrame, 0);
    EXPECT_EQ(settings_.trimPaper, TrimPaper::None);
    EXPECT_TRUE(settings_.keepPictures);
  }
}

}  // namespace
