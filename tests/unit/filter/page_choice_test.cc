// SPDX-License-Identifier: Apache-2.0
#include "filter/picture/page_choice.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

PageChoice choice(const char* options, const char* copies = "1") {
  cups_option_t* list = nullptr;
  const int count = cupsParseOptions(options, 0, &list);
  const PageChoice out(count, list, copies);
  cupsFreeOptions(count, list);
  return out;
}

// Those of the first seven pages that are chosen.
std::string pages(const char* options) {
  const PageChoice chosen = choice(options);
  std::string text;
  for (uint32_t page = 1; page <= 7; ++page)
    if (chosen.has(page)) text += std::to_string(page);
  return text;
}

TEST(PageChoice, RangesMayBeOpen) {
  EXPECT_EQ(pages(""), "1234567");
  EXPECT_EQ(pages("page-ranges=2-3,5"), "235");
  EXPECT_EQ(pages("page-ranges=-2"), "12");
  EXPECT_EQ(pages("page-ranges=6-"), "67");
  EXPECT_EQ(pages("page-ranges=7,1"), "17");
  EXPECT_EQ(pages("page-ranges=3-1"), "");
  EXPECT_EQ(pages("page-ranges=2-99999999999999999999"), "234567");
}

TEST(PageChoice, WhatIsNoNumberEndsTheRange) {
  EXPECT_EQ(pages("page-ranges=4x,6"), "46");
  EXPECT_EQ(pages("page-ranges=3-x,6"), "34567");
}

TEST(PageChoice, OddAndEvenPages) {
  EXPECT_EQ(pages("page-set=odd"), "1357");
  EXPECT_EQ(pages("page-set=even"), "246");
  EXPECT_EQ(pages("page-set=all"), "1234567");
  EXPECT_EQ(pages("page-set=even page-ranges=3-6"), "46");
}

TEST(PageChoice, CopiesByTheDocumentOrByThePage) {
  for (const char* options :
       {"", "collate=false", "Collate=False", "multiple-document-handling=single-document"}) {
    EXPECT_EQ(choice(options, "3").rounds(), 1) << options;
    EXPECT_EQ(choice(options, "3").copiesOfPage(), 3) << options;
  }
  for (const char* options : {"collate=true", "collate=yes", "collate=on", "Collate=True",
                              "multiple-document-handling=separate-documents-collated-copies"}) {
    EXPECT_EQ(choice(options, "3").rounds(), 3) << options;
    EXPECT_EQ(choice(options, "3").copiesOfPage(), 1) << options;
  }
  for (const char* copies : {"0", "-5", "many", ""})
    EXPECT_EQ(choice("", copies).copiesOfPage(), 1) << copies;
}

}  // namespace
