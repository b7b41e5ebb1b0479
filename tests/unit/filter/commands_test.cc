// SPDX-License-Identifier: Apache-2.0
#include "filter/commands.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <functional>
#include <string>

#include "tests/model/page_patterns.h"
#include "tests/model/stream.h"
#include "tests/support/bytes.h"
#include "tests/support/files.h"

namespace {

Bytes written(const std::function<void(std::FILE*)>& write) {
  const MemoryStream out;
  write(out.get());
  return out.bytes();
}

Bytes jobSetupOf(const Settings& settings) {
  return written([&](std::FILE* out) { jobSetup(settings, out); });
}
Bytes pageSetupOf(const Settings& settings) {
  return written([&](std::FILE* out) { pageSetup(settings, cups_page_header2_t{}, out); });
}
Bytes endPageOf(const Settings& settings) {
  return written([&](std::FILE* out) { endPage(settings, out); });
}
Bytes endJobOf(const Settings& settings) {
  return written([&](std::FILE* out) { endJob(settings, out); });
}

// The settings of a driver file without any option.
Settings missingOptions() {
  Settings settings;
  settings.pageType = -1;
  settings.pageCutType = -1;
  settings.docCutType = -1;
  settings.feedCutAfterJobEnd = -1;
  settings.cashDrawer1Setting = -1;
  settings.cashDrawer2Setting = -1;
  settings.documentBuzzerSetting = -1;
  settings.pageBuzzerSetting = -1;
  settings.buzzerOnTime = -1;
  settings.buzzerRepeat = -1;
  settings.docTopLogoID = -1;
  settings.docTopLogoMode = -1;
  settings.docTopLogoPosition = -1;
  settings.docBottomLogoID = -1;
  settings.docBottomLogoMode = -1;
  settings.docBottomLogoPosition = -1;
  return settings;
}

TEST(CommandsTest, OutputWritesTheBytesAndCountsThem) {
  const uint8_t bytes[] = {0x1B, 0x00, 0xFF};
  int32_t count = -1;
  EXPECT_TRUE(sameBytes(hex("1B 00 FF"), written([&](std::FILE* out) {
                          count = outputCommand({3, bytes}, out);
                        })));
  EXPECT_EQ(count, 3);
  EXPECT_TRUE(sameBytes({}, written([&](std::FILE* out) {
                          count = outputCommand({0, nullptr}, out);
                        })));
  EXPECT_EQ(count, 0);
}

TEST(CommandsTest, CountIsThatOfTheBytesThatTheStreamTook) {
  const uint8_t bytes[] = {0x1B, 0x40, 0x41, 0x42};
  EXPECT_EQ(outputCommand({-1, bytes}, stdout), 0);
  EXPECT_EQ(outputCommand({INT32_MIN, nullptr}, stdout), 0);

  std::array<char, 3> room = {};
  std::FILE* full = fmemopen(room.data(), room.size(), "wb");
  ASSERT_NE(full, nullptr);
  std::setvbuf(full, nullptr, _IONBF, 0);
  EXPECT_EQ(outputCommand({4, bytes}, full), 3);
  EXPECT_EQ(room[0], 0x1B);
  EXPECT_EQ(room[1], 0x40);  // the stream itself ends what it could not finish with a 0
  EXPECT_NE(std::ferror(full), 0);
  EXPECT_EQ(outputCommand({1, bytes}, full), 0) << "nothing follows lost bytes";
  std::fclose(full);
}

TEST(CommandsTest, ParametersOfOneJobAreNotThoseOfTheNext) {
  Settings settings = missingOptions();
  settings.printDensity = 9;
  settings.docTopLogoID = 4;
  settings.docTopLogoPosition = 2;
  jobSetupOf(settings);
  settings.docTopLogoPosition = 0;
  settings.docTopLogoMode = 0;
  settings.printDensity = 1;
  EXPECT_TRUE(sameBytes(hex("1B 40, 1F 1B 1F 13 14 01, 1B 61 00, 1C 70 04 00, 1B 61 00, "
                            "1B 24 01 00"),
                        jobSetupOf(settings)));
}

TEST(CommandsTest, StandardOutputIsTheStreamWhenNoneIsGiven) {
  testing::internal::CaptureStdout();
  jobSetup(missingOptions());
  pageSetup(missingOptions(), cups_page_header2_t{});
  endPage(missingOptions());
  endJob(missingOptions());
  const std::string text = testing::internal::GetCapturedStdout();
  EXPECT_TRUE(sameBytes(hex("1B 40, 1F 1B 1F 13 14 00, 1B 24 01 00, 1B 4A A0, 1B 76"),
                        {text.begin(), text.end()}));
}

TEST(CommandsTest, JobWithDrawerLogoBuzzerAndCutSendsTheirSequences) {
  Settings settings;
  settings.printDensity = 3;
  settings.cashDrawer1Setting = 1;
  settings.cashDrawer2Setting = 0;
  settings.documentBuzzerSetting = 2;
  settings.pageBuzzerSetting = 0;
  settings.buzzerRepeat = 2;
  settings.buzzerOnTime = 3;
  settings.docTopLogoID = 1;
  settings.docTopLogoMode = 0;
  settings.docTopLogoPosition = 1;
  settings.docBottomLogoID = 0;
  settings.pageCutType = 0;
  settings.docCutType = 1;
  settings.feedCutAfterJobEnd = 3;
  EXPECT_TRUE(sameBytes(hex("1B 40, 1F 1B 1F 13 14 03, 1B 70 00 40 40, 1B 61 01, 1C 70 01 00, "
                            "1B 61 00, 1B 24 01 00"),
                        jobSetupOf(settings)));
  EXPECT_TRUE(sameBytes({}, pageSetupOf(settings)));
  EXPECT_TRUE(sameBytes(hex("1B 4A A0"), endPageOf(settings)));
  EXPECT_TRUE(sameBytes(hex("1B 4A 78, 1B 64 03, 0A 0A 0A 0A 1D 56 01, 1B 42 02 03, 1B 76"),
                        endJobOf(settings)));
}

TEST(CommandsTest, MissingOptionsSendTheBareJob) {
  const Settings settings = missingOptions();
  EXPECT_TRUE(sameBytes(hex("1B 40, 1F 1B 1F 13 14 00, 1B 24 01 00"), jobSetupOf(settings)));
  EXPECT_TRUE(sameBytes({}, pageSetupOf(settings)));
  EXPECT_TRUE(sameBytes(hex("1B 4A A0"), endPageOf(settings)));
  EXPECT_TRUE(sameBytes(hex("1B 76"), endJobOf(settings)));
}

TEST(CommandsTest, MissingParametersGoOutAsFf) {
  Settings settings = missingOptions();
  settings.pageBuzzerSetting = 1;
  EXPECT_TRUE(sameBytes(hex("1B 42 FF FF"), pageSetupOf(settings)));
  settings.docTopLogoID = 2;
  EXPECT_TRUE(sameBytes(hex("1B 40, 1F 1B 1F 13 14 00, 1B 61 FF, 1C 70 02 FF, 1B 61 00, "
                            "1B 24 01 00"),
                        jobSetupOf(settings)));
  settings.printDensity = -1;
  settings.docTopLogoID = -1;
  EXPECT_TRUE(sameBytes(hex("1B 40, 1F 1B 1F 13 14 FF, 1B 24 01 00"), jobSetupOf(settings)));
}

TEST(CommandsTest, ParametersAreTheLowEightBits) {
  Settings settings = missingOptions();
  settings.printDensity = 0x103;
  EXPECT_TRUE(sameBytes(hex("1B 40, 1F 1B 1F 13 14 03, 1B 24 01 00"), jobSetupOf(settings)));
  settings.pageBuzzerSetting = 2;
  settings.buzzerRepeat = 0x1FE;
  settings.buzzerOnTime = -256;
  EXPECT_TRUE(sameBytes(hex("1B 4A A0, 1B 42 FE 00"), endPageOf(settings)));
  settings.feedCutAfterJobEnd = 256 + 7;
  EXPECT_TRUE(sameBytes(hex("1B 4A 78, 1B 64 07, 1B 76"), endJobOf(settings)));
}

TEST(CommandsTest, BottomLogoFollowsEveryPageBeforeCutAndBuzzer) {
  Settings settings = missingOptions();
  settings.docBottomLogoID = 4;
  settings.docBottomLogoMode = 3;
  settings.docBottomLogoPosition = 2;
  settings.pageCutType = 2;
  settings.pageBuzzerSetting = 2;
  settings.buzzerRepeat = 5;
  settings.buzzerOnTime = 9;
  EXPECT_TRUE(sameBytes(hex("1B 4A A0, 1B 61 02, 1C 70 04 03, 1B 61 00, 0A 0A 0A 0A 1D 56 00, "
                            "1B 42 05 09"),
                        endPageOf(settings)));
}

TEST(CommandsTest, DrawersComeBeforeTheBuzzerAtTheStartAndBehindItAtTheEnd) {
  Settings settings = missingOptions();
  settings.cashDrawer1Setting = 1;
  settings.cashDrawer2Setting = 1;
  settings.documentBuzzerSetting = 1;
  settings.buzzerRepeat = 1;
  settings.buzzerOnTime = 2;
  EXPECT_TRUE(sameBytes(hex("1B 40, 1F 1B 1F 13 14 00, 1B 70 00 40 40, 1B 70 01 40 40, "
                            "1B 42 01 02, 1B 24 01 00"),
                        jobSetupOf(settings)));
  EXPECT_TRUE(sameBytes(hex("1B 76"), endJobOf(settings)));
  settings.cashDrawer1Setting = 2;
  settings.cashDrawer2Setting = 2;
  settings.documentBuzzerSetting = 2;
  EXPECT_TRUE(sameBytes(hex("1B 40, 1F 1B 1F 13 14 00, 1B 24 01 00"), jobSetupOf(settings)));
  EXPECT_TRUE(
      sameBytes(hex("1B 42 01 02, 1B 70 00 40 40, 1B 70 01 40 40, 1B 76"), endJobOf(settings)));
}

TEST(CommandsTest, CutTypesOutsideTheTableCutNothing) {
  for (const int32_t type : {-1000, -1, 0, 3, 4, 255, 256, 257, 2147483647}) {
    Settings settings = missingOptions();
    settings.pageCutType = type;
    settings.docCutType = type;
    EXPECT_TRUE(sameBytes(hex("1B 4A A0"), endPageOf(settings))) << type;
    EXPECT_TRUE(sameBytes(hex("1B 76"), endJobOf(settings))) << type;
    EXPECT_EQ(effectiveCut(type), 0) << type;
    EXPECT_TRUE(sameBytes({}, written([&](std::FILE* out) { cutPaper(type, out); }))) << type;
  }
  EXPECT_EQ(effectiveCut(1), 1);
  EXPECT_EQ(effectiveCut(2), 2);
}

TEST(CommandsTest, PartialAndFullCutFollowFourLineFeeds) {
  EXPECT_TRUE(
      sameBytes(hex("0A 0A 0A 0A 1D 56 01"), written([](std::FILE* out) { cutPaper(1, out); })));
  EXPECT_TRUE(
      sameBytes(hex("0A 0A 0A 0A 1D 56 00"), written([](std::FILE* out) { cutPaper(2, out); })));
  EXPECT_TRUE(sameBytes(hex("1B 4A A0"), written([](std::FILE* out) { feedPage(out); })));
}

TEST(CommandsTest, NoParameterOfAnEarlierSendIsSentAgain) {
  Settings loud = missingOptions();
  loud.printDensity = 0x7F;
  loud.docTopLogoID = 9;
  loud.docTopLogoMode = 3;
  loud.docTopLogoPosition = 2;
  loud.documentBuzzerSetting = 1;
  loud.buzzerRepeat = 0x66;
  loud.buzzerOnTime = 0x77;
  const Bytes first = jobSetupOf(loud);
  Settings quiet = loud;
  quiet.printDensity = 0;
  quiet.docTopLogoID = 1;
  quiet.docTopLogoMode = 0;
  quiet.docTopLogoPosition = 0;
  quiet.buzzerRepeat = 0;
  quiet.buzzerOnTime = 0;
  EXPECT_TRUE(sameBytes(hex("1B 40, 1F 1B 1F 13 14 00, 1B 42 00 00, 1B 61 00, 1C 70 01 00, "
                            "1B 61 00, 1B 24 01 00"),
                        jobSetupOf(quiet)));
  EXPECT_TRUE(sameBytes(first, jobSetupOf(loud)));
}

TEST(CommandsTest, EndActsWhenItSendsMoreThanTheStatusRequest) {
  EXPECT_FALSE(jobEndActs(missingOptions()));
  for (int32_t Settings::*const field :
       {&Settings::feedCutAfterJobEnd, &Settings::docCutType, &Settings::documentBuzzerSetting,
        &Settings::cashDrawer1Setting, &Settings::cashDrawer2Setting}) {
    for (int32_t value = -2; value <= 4; ++value) {
      Settings settings = missingOptions();
      settings.*field = value;
      EXPECT_EQ(jobEndActs(settings), endJobOf(settings) != hex("1B 76")) << value;
    }
  }
}

TEST(CommandsTest, RandomSettingsAgreeWithTheModel) {
  model::Random random(10);
  const auto value = [&random] {
    return random.below(8) == 0 ? static_cast<int32_t>(random.next())
                                : static_cast<int32_t>(random.below(6)) - 1;
  };
  for (int round = 0; round < 3000; ++round) {
    model::JobSettings expected;
    Settings settings;
    settings.pageCutType = expected.pageCutType = value();
    settings.docCutType = expected.docCutType = value();
    settings.feedCutAfterJobEnd = expected.feedCutAfterJobEnd = value();
    settings.cashDrawer1Setting = expected.cashDrawer1Setting = value();
    settings.cashDrawer2Setting = expected.cashDrawer2Setting = value();
    settings.documentBuzzerSetting = expected.documentBuzzerSetting = value();
    settings.pageBuzzerSetting = expected.pageBuzzerSetting = value();
    settings.buzzerOnTime = expected.buzzerOnTime = value();
    settings.buzzerRepeat = expected.buzzerRepeat = value();
    settings.docTopLogoID = expected.docTopLogoID = value();
    settings.docTopLogoMode = expected.docTopLogoMode = value();
    settings.docTopLogoPosition = expected.docTopLogoPosition = value();
    settings.docBottomLogoID = expected.docBottomLogoID = value();
    settings.docBottomLogoMode = expected.docBottomLogoMode = value();
    settings.docBottomLogoPosition = expected.docBottomLogoPosition = value();
    settings.printDensity = expected.printDensity = value();
    ASSERT_TRUE(sameBytes(model::jobSetupBytes(expected), jobSetupOf(settings))) << round;
    ASSERT_TRUE(sameBytes(model::pageSetupBytes(expected), pageSetupOf(settings))) << round;
    ASSERT_TRUE(sameBytes(model::endPageBytes(expected), endPageOf(settings))) << round;
    ASSERT_TRUE(sameBytes(model::endJobBytes(expected), endJobOf(settings))) << round;
  }
}

}  // namespace
