// SPDX-License-Identifier: Apache-2.0
#include "documents/reader_protocol.h"

#include <gmock/gmock.h>

namespace documents {
namespace {

Paper somePaper() {
  Paper paper;
  paper.dpiX = 203;
  paper.dpiY = 180;
  paper.width = 576;
  paper.height = 4000;
  paper.left = 1;
  paper.top = 2;
  paper.right = 3;
  paper.bottom = 4;
  paper.roll = true;
  return paper;
}

TEST(ReaderProtocol, ARequestArrivesAsItWasMeant) {
  PageWish wish;
  wish.scaling = PrintScaling::kNone;
  wish.percent = 77;
  wish.naturalPercent = 150;
  wish.ppi = Density{72, 144};
  wish.across = Position::kEnd;
  wish.along = Position::kStart;
  wish.turn = Turn::kNone;
  Paper paper;
  PageWish got;
  ASSERT_TRUE(readRequest(requestText(somePaper(), wish), paper, got));
  // Whoever forgets a field here finds the texts different.
  EXPECT_EQ(requestText(paper, got), requestText(somePaper(), wish));
  EXPECT_EQ(paper.bottom, 4U);
  EXPECT_TRUE(paper.roll);
  EXPECT_EQ(got.turn, Turn::kNone);
  EXPECT_EQ(got.percent, 77U);
  EXPECT_EQ(got.naturalPercent, 150U);
  EXPECT_EQ(got.ppi->y, 144);

  wish = {};
  got = {};
  wish.fitToPage = wish.landscape = wish.colour = true;
  ASSERT_TRUE(readRequest(requestText(somePaper(), wish), paper, got));
  EXPECT_TRUE(got.fitToPage && got.landscape && got.colour);
  EXPECT_FALSE(got.turn || got.percent || got.naturalPercent || got.ppi);
}

TEST(ReaderProtocol, RequestsThatNobodyWritesAreRefused) {
  Paper paper;
  PageWish wish;
  const std::string good = requestText(somePaper(), {});
  EXPECT_TRUE(readRequest(good, paper, wish));
  for (const std::string& bad : {std::string(), good + " 1", good.substr(2), "x" + good, " " + good,
                                 good + " ", "-" + good, "4294967296" + good.substr(3)})
    EXPECT_FALSE(readRequest(bad, paper, wish)) << bad;
  Paper narrow = somePaper();
  narrow.width = 4;  // less than its margins
  EXPECT_FALSE(readRequest(requestText(narrow, {}), paper, wish));
}

TEST(ReaderProtocol, FactsAreCheckedBeforeTheyAreBelieved) {
  PictureFacts facts;
  ASSERT_TRUE(readFacts(factsLine({300'000'000, 1, {72.5, 300}, 7}), facts));
  EXPECT_EQ(facts.width, 300'000'000U);
  EXPECT_EQ(facts.dpi.x, 72.5);
  EXPECT_EQ(facts.frames, 7U);
  for (const char* bad :
       {"", "\n", "picture", "picture \n", "picture 1 2 3 4\n", "picture 1 2 3 4 5",
        "picture 0 2 3 4 5\n", "picture 17321 17321 0 0 1\n", "picture 300000001 1 0 0 1\n",
        "picture 1 1 0 0 1 1\n", "picture 1 1 -1 0 1\n", "picture 4294967297 1 0 0 1\n",
        "picture 1 18446744073709551617 0 0 1\n", "picture 1 1 0 0 4294967296\n",
        "pictures 1 1 0 0 1\n"})
    EXPECT_FALSE(readFacts(bad, facts)) << bad;
}

}  // namespace
}  // namespace documents
