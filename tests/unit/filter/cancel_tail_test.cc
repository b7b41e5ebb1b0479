// SPDX-License-Identifier: Apache-2.0
#include "filter/cancel_tail.h"

#include <gtest/gtest.h>

#include "tests/support/bytes.h"
#include "tests/support/files.h"

namespace {

Bytes tailOf(int32_t docCutType, int32_t pageCutType, bool inkSinceFeed, int pagesFinished) {
  Settings settings;
  settings.docCutType = docCutType;
  settings.pageCutType = pageCutType;
  // Everything else that a job's end would send.
  settings.feedCutAfterJobEnd = 3;
  settings.cashDrawer1Setting = 2;
  settings.cashDrawer2Setting = 2;
  settings.documentBuzzerSetting = 2;
  settings.pageBuzzerSetting = 2;
  settings.docBottomLogoID = 1;
  JobProgress progress;
  progress.inkSinceFeed = inkSinceFeed;
  progress.pagesFinished = pagesFinished;
  const MemoryStream out;
  sendCancelTail(settings, progress, out.get());
  return out.bytes();
}

const Bytes kFeed = hex("1B 4A A0");
const Bytes kPartial = hex("0A 0A 0A 0A 1D 56 01");
const Bytes kFull = hex("0A 0A 0A 0A 1D 56 00");

Bytes joined(Bytes first, const Bytes& second) {
  append(first, second);
  return first;
}

TEST(CancelTailTest, NothingPrintedSendsNothing) {
  for (const int32_t doc : {-1, 0, 1, 2, 3}) {
    for (const int32_t page : {-1, 0, 1, 2, 3}) {
      EXPECT_TRUE(sameBytes({}, tailOf(doc, page, false, 0))) << doc << ", " << page;
    }
  }
}

TEST(CancelTailTest, InkIsFedOutAndCutByTheJobCutElseByThePageCut) {
  for (const int pagesFinished : {0, 1, 5}) {
    EXPECT_TRUE(sameBytes(kFeed, tailOf(-1, -1, true, pagesFinished)));
    EXPECT_TRUE(sameBytes(kFeed, tailOf(0, 0, true, pagesFinished)));
    EXPECT_TRUE(sameBytes(joined(kFeed, kPartial), tailOf(1, -1, true, pagesFinished)));
    EXPECT_TRUE(sameBytes(joined(kFeed, kPartial), tailOf(1, 2, true, pagesFinished)));
    EXPECT_TRUE(sameBytes(joined(kFeed, kFull), tailOf(2, 1, true, pagesFinished)));
    EXPECT_TRUE(sameBytes(joined(kFeed, kFull), tailOf(0, 2, true, pagesFinished)));
    EXPECT_TRUE(sameBytes(joined(kFeed, kPartial), tailOf(-1, 1, true, pagesFinished)));
  }
}

TEST(CancelTailTest, PagesThatNoPageCutHasCutAreCutByTheJobCut) {
  EXPECT_TRUE(sameBytes(kPartial, tailOf(1, 0, false, 1)));
  EXPECT_TRUE(sameBytes(kFull, tailOf(2, -1, false, 3)));
  EXPECT_TRUE(sameBytes({}, tailOf(2, 1, false, 1)));
  EXPECT_TRUE(sameBytes({}, tailOf(1, 2, false, 1)));
  EXPECT_TRUE(sameBytes({}, tailOf(0, 0, false, 1)));
  EXPECT_TRUE(sameBytes({}, tailOf(-1, 2, false, 1)));
}

TEST(CancelTailTest, CutTypesOutsideTheTableActAsNoCut) {
  EXPECT_TRUE(sameBytes(joined(kFeed, kFull), tailOf(3, 2, true, 0)));
  EXPECT_TRUE(sameBytes(kFeed, tailOf(7, 3, true, 0)));
  EXPECT_TRUE(sameBytes(kPartial, tailOf(1, 3, false, 1))) << "the page was not cut";
  EXPECT_TRUE(sameBytes({}, tailOf(3, 0, false, 1)));
}

}  // namespace
