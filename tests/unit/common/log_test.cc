// SPDX-License-Identifier: Apache-2.0
#include "common/log.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>

#include "tests/support/log_capture.h"

namespace {

TEST(LogTest, EachLevelHasItsPrefixAndNoSpaceFollows) {
  const auto line = [](int32_t level) {
    return captureLogText([level] { dravLogCommon(level, "text"); });
  };
  EXPECT_EQ(line(kLogDebug), "DEBUG:text\n");
  EXPECT_EQ(line(kLogInfo), "DEBUG:text\n");
  EXPECT_EQ(line(kLogWarning), "WARN:text\n");
  EXPECT_EQ(line(kLogError), "ERROR:text\n");
  EXPECT_EQ(line(kLogCritical), "CRIT:text\n");
  EXPECT_EQ(line(kLogInvalid), "INVALID:text\n");
}

TEST(LogTest, LevelsKeepTheirNumbers) {
  EXPECT_EQ(kLogDebug, 0);
  EXPECT_EQ(kLogInfo, 1);
  EXPECT_EQ(kLogWarning, 2);
  EXPECT_EQ(kLogError, 3);
  EXPECT_EQ(kLogCritical, 4);
  EXPECT_EQ(kLogInvalid, 5);
}

TEST(LogTest, LinesOfAJobReadAsTheSchedulerSeesThem) {
  EXPECT_EQ(captureLogText([] { dravLogCommon(3, "No pages found!"); }), "ERROR:No pages found!\n");
  EXPECT_EQ(captureLogText([] { dravLogCommon(1, "Ready to print."); }), "DEBUG:Ready to print.\n");
  EXPECT_EQ(captureLogText([] { dravLogCommon(1, "PAGE: %d %d", 1, 1); }), "DEBUG:PAGE: 1 1\n");
}

TEST(LogTest, ValuesAreFormatted) {
  EXPECT_EQ(captureLogText([] {
              dravLogCommon(0, "%s = %d, %u, %zu, 100%%", "pageCutType", -1, 4294967295U,
                            size_t{7});
            }),
            "DEBUG:pageCutType = -1, 4294967295, 7, 100%\n");
}

TEST(LogTest, EveryCallPrintsInOrder) {
  EXPECT_EQ(captureLogText([] {
              for (int32_t level = 0; level <= 5; ++level) dravLogCommon(level, "%d", level);
            }),
            "DEBUG:0\nDEBUG:1\nWARN:2\nERROR:3\nCRIT:4\nINVALID:5\n");
}

TEST(LogTest, LongMessagesAreNotCut) {
  const std::string text(5000, 'x');
  EXPECT_EQ(captureLogText([&text] { dravLogCommon(2, "%s", text.c_str()); }),
            "WARN:" + text + "\n");
}

TEST(LogTest, LinesGoToAnotherStreamUntilItIsTakenBack) {
  std::FILE* stream = std::tmpfile();
  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(captureLogText([stream] {
              EXPECT_EQ(setLogStream(stream), nullptr);
              dravLogCommon(kLogError, "elsewhere %d", 1);
              EXPECT_EQ(setLogStream(nullptr), stream);
              dravLogCommon(kLogError, "here");
            }),
            "ERROR:here\n");
  std::rewind(stream);
  std::array<char, 64> text{};
  EXPECT_EQ(std::fread(text.data(), 1, text.size(), stream), 18U);
  EXPECT_STREQ(text.data(), "ERROR:elsewhere 1\n");
  EXPECT_EQ(std::fclose(stream), 0);
}

TEST(LogTest, LevelsOutsideTheTablePrintAsInvalid) {
  for (const int32_t level : {-1, 6, 1000}) {
    EXPECT_EQ(captureLogText([level] { dravLogCommon(level, "text"); }), "INVALID:text\n") << level;
  }
}

}  // namespace
