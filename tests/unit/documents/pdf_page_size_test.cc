// SPDX-License-Identifier: Apache-2.0
#include "documents/pdf_page_size.h"

#include <gtest/gtest.h>

#include <string>

namespace documents {
namespace {

TEST(PdfPageSize, AreThePointsOfTheFirstPage) {
  const auto size = readPdfPageSize(
      "Title:           Page size: 1 x 1 pts\nPages:           2\n"
      "Page size:       226.77 x 566.9000000000000000001 pts\nPage rot:        0\n");
  ASSERT_TRUE(size);
  EXPECT_NEAR(size->width, 226.77, 1e-9);
  EXPECT_NEAR(size->height, 566.9, 1e-9);
}

TEST(PdfPageSize, ATurnedPageIsAsWideAsItIsShown) {
  for (const char* turn : {"90", "270"}) {
    const auto size =
        readPdfPageSize("Page size: 595 x 842 pts (A4)\nPage rot: " + std::string(turn) + "\n");
    ASSERT_TRUE(size);
    EXPECT_EQ(size->width, 842);
    EXPECT_EQ(size->height, 595);
  }
  const auto upside = readPdfPageSize("Page size: 595 x 842 pts (A4)\nPage rot: 180\n");
  ASSERT_TRUE(upside);
  EXPECT_EQ(upside->width, 595);
}

TEST(PdfPageSize, WhatIsNoSizeIsNone) {
  for (const char* report :
       {"", "\n", "Page size:", "Page size:\n", "Page size: 1\n", "Page size: 1 x\n",
        "Page size: 1 x 2\n", "Page size: 0.9 x 2 pts\n", "Page size: 1 x 1e+07 pts\n",
        "Page size: 1 x 1000001 pts\n", "Page size: -5 x 5 pts\n", "Page size: nan x 5 pts\n",
        "Page size: 99999999999 x 5 pts\n", "Page size: . x 5 pts\n"})
    EXPECT_FALSE(readPdfPageSize(report)) << report;
}

}  // namespace
}  // namespace documents
