// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/io/nearest_word.h"

#include <gtest/gtest.h>

namespace {

const std::vector<std::string> kWords = {"proof", "sheet", "HalftoneType", "Brightness", "media"};

TEST(NearestWord, SlipsAreForgiven) {
  EXPECT_EQ(nearestWord("prof", kWords), "proof") << "a letter dropped";
  EXPECT_EQ(nearestWord("prooof", kWords), "proof") << "inserted";
  EXPECT_EQ(nearestWord("sheat", kWords), "sheet") << "exchanged";
  EXPECT_EQ(nearestWord("halftonetipe", kWords), "HalftoneType") << "case does not count";
}

TEST(NearestWord, ABeginningIsNear) {
  EXPECT_EQ(nearestWord("Halftone", kWords), "HalftoneType");
  EXPECT_EQ(nearestWord("bri", kWords), "Brightness");
}

TEST(NearestWord, OtherWordsAreNot) {
  for (const char* const word : {"xyz", "b", "", "colour", "lightness of the page"})
    EXPECT_EQ(nearestWord(word, kWords), "") << word;
  EXPECT_EQ(nearestWord(std::string(1000, 'p'), kWords), "");
  EXPECT_EQ(nearestWord("proof", {}), "");
}

TEST(NearestWord, TheFirstOfEquallyNearOnes) {
  EXPECT_EQ(nearestWord("bat", {"cat", "hat"}), "cat");
  EXPECT_EQ(nearestWord("hatt", {"cat", "hat"}), "hat");
}

}  // namespace
