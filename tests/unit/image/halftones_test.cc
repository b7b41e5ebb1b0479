// SPDX-License-Identifier: Apache-2.0
#include "image/halftones.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "tests/model/stream.h"

namespace {

constexpr const char* kNames[] = {"None",   "FloydSteinberg",    "Ordered", "Burkes",
                                  "Stucki", "JarvisJudiceNinke", "Sierra",  "StevensonArce",
                                  "Tattoo", "Tattoo_X8"};

TEST(HalftonesTest, EveryTypeHasItsName) {
  for (int32_t i = 0; i < 10; ++i) {
    EXPECT_STREQ(dravHalftoneTypeToStr(static_cast<DitherType>(i)), kNames[i]);
  }
}

TEST(HalftonesTest, EnumeratorsCarryTheNumbersOfTheirNames) {
  EXPECT_EQ(static_cast<int32_t>(DitherType::None), 0);
  EXPECT_EQ(static_cast<int32_t>(DitherType::FloydSteinberg), 1);
  EXPECT_EQ(static_cast<int32_t>(DitherType::Ordered), 2);
  EXPECT_EQ(static_cast<int32_t>(DitherType::Burkes), 3);
  EXPECT_EQ(static_cast<int32_t>(DitherType::Stucki), 4);
  EXPECT_EQ(static_cast<int32_t>(DitherType::JarvisJudiceNinke), 5);
  EXPECT_EQ(static_cast<int32_t>(DitherType::Sierra), 6);
  EXPECT_EQ(static_cast<int32_t>(DitherType::StevensonArce), 7);
  EXPECT_EQ(static_cast<int32_t>(DitherType::Tattoo), 8);
  EXPECT_EQ(static_cast<int32_t>(DitherType::Tattoo_X8), 9);
  EXPECT_EQ(sizeof(DitherType), sizeof(int32_t));
}

TEST(HalftonesTest, TypesOutsideTheTableAreCalledNone) {
  for (const int32_t value : {10, 11, 1000, std::numeric_limits<int32_t>::max(), -1, -2,
                              std::numeric_limits<int32_t>::min()}) {
    EXPECT_STREQ(dravHalftoneTypeToStr(static_cast<DitherType>(value)), "None") << value;
  }
}

TEST(HalftonesTest, EveryNameGivesItsTypeAndAgreesWithTheModel) {
  for (int32_t i = 0; i < 10; ++i) {
    EXPECT_EQ(dravHalftoneTypeFromStr(kNames[i]), static_cast<DitherType>(i)) << kNames[i];
    EXPECT_EQ(model::halftoneTypeFromName(kNames[i]), i) << kNames[i];
  }
}

TEST(HalftonesTest, OtherTextsGiveNone) {
  for (const char* text : {"", "tattoo", "TATTOO", "tattoo_x8", "Tattoo_X", "Tattoo_X80", " Tattoo",
                           "Tattoo ", "8", "9", "burkes", "ordered"}) {
    EXPECT_EQ(dravHalftoneTypeFromStr(text), DitherType::None) << text;
  }
  EXPECT_EQ(dravHalftoneTypeFromStr(nullptr), DitherType::None);
}

TEST(HalftonesTest, PrefixesOfEachOtherAreToldApart) {
  EXPECT_EQ(dravHalftoneTypeFromStr("Tattoo"), DitherType::Tattoo);
  EXPECT_EQ(dravHalftoneTypeFromStr("Tattoo_X8"), DitherType::Tattoo_X8);
}

TEST(HalftonesTest, TheStencilsRunTheirPipelines) {
  for (const Halftone& halftone : halftones()) {
    const HalftonePipeline wanted = halftone.type == DitherType::Tattoo ? HalftonePipeline::tattoo
                                    : halftone.type == DitherType::Tattoo_X8
                                        ? HalftonePipeline::tattooX8
                                        : HalftonePipeline::rows;
    EXPECT_EQ(halftone.pipeline, wanted) << halftone.name;
    EXPECT_EQ(halftonePipeline(halftone.type), wanted) << halftone.name;
  }
  for (const int32_t value : {10, 1000, -1, std::numeric_limits<int32_t>::min()}) {
    EXPECT_EQ(halftonePipeline(static_cast<DitherType>(value)), HalftonePipeline::rows) << value;
  }
}

}  // namespace
