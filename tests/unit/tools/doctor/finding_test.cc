// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/finding.h"

#include <gtest/gtest.h>

namespace {

TEST(Report, HasALineForEachCheckAndTheFixBeneath) {
  Findings findings = {{Level::kOk, "filter", "there"},
                       {Level::kSkip, "log", "no rights"},
                       {Level::kWarn, "pictures", "many", {"clean"}},
                       {Level::kFail, "queue\nx", "st\033opped", {"one", "two"}}};
  findings[2].lines = {"line\twith tab"};
  EXPECT_EQ(reportText(findings),
            "ok    filter: there\n"
            "skip  log: no rights\n"
            "warn  pictures: many\n"
            "        line?with tab\n"
            "      fix: clean\n"
            "FAIL  queue?x: st?opped\n"
            "      fix: one\n"
            "      fix: two\n"
            "\n"
            "1 failure, 1 warning, 1 ok, 1 not checked\n");
}

TEST(Report, ANoteHasATip) {
  EXPECT_EQ(reportText({{Level::kNote, "paper", "long", {"cut it"}}}),
            "note  paper: long\n"
            "      tip: cut it\n"
            "\n"
            "0 failures, 0 warnings, 0 ok, 0 not checked, 1 note\n");
}

TEST(Report, OkNotesAndSkippedAreNoFindings) {
  EXPECT_FALSE(anythingFound({}));
  EXPECT_FALSE(anythingFound({{Level::kNote, "a", "b"}}));
  EXPECT_FALSE(anythingFound({{Level::kOk, "a", "b"}, {Level::kSkip, "a", "b"}}));
  EXPECT_TRUE(anythingFound({{Level::kOk, "a", "b"}, {Level::kWarn, "a", "b"}}));
  EXPECT_TRUE(anythingFound({{Level::kFail, "a", "b"}}));
}

}  // namespace
