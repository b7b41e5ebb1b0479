// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/driver/driver_file.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include "image/halftones.h"
#include "tests/support/files.h"
#include "tests/support/ppd_builder.h"
#include "tests/support/sanitizers.h"
#include "tools/drav/driver/models.h"

#ifdef DRAV_TEST_ADDRESS_SANITIZER
#include <sanitizer/lsan_interface.h>
#endif

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

TEST(Models, EveryModelOpensAndKnowsItsHead) {
  ASSERT_FALSE(embeddedModels().empty());
  for (const EmbeddedModel& model : embeddedModels()) {
    DriverFile driver;
    std::string error;
    ASSERT_TRUE(driver.open({"", model.name, {}}, error)) << error;
    EXPECT_THAT(driver.title(), StartsWith(modelTitle(model)));
    EXPECT_GE(driver.resolutionX(), 180U);
    EXPECT_GE(driver.printableDots(), 300U);
    EXPECT_GT(driver.pageWidth(), 100);
    EXPECT_EQ(driver.choices("HalftoneType").size(), size_t{kHalftoneTypeCount});
  }
}

TEST(Models, NamesAreFoundInAnyCase) {
  EXPECT_EQ(findModel("DravSA43.PPD"), &defaultModel());
  EXPECT_EQ(findModel("dravsa43"), &defaultModel());
  EXPECT_EQ(findModel(""), nullptr);
  EXPECT_EQ(findModel(".ppd"), nullptr);
  EXPECT_EQ(findModel("dravsa4"), nullptr);
  EXPECT_EQ(modelTitle(defaultModel()), "Drav Stencil A4 300 dpi");
  EXPECT_THAT(modelList(), HasSubstr("dravsa43 (Drav Stencil A4 300 dpi)"));
}

TEST(DriverFile, TheDefaultIsTheStencilPrinter) {
  DriverFile driver;
  std::string error;
  ASSERT_TRUE(driver.open({}, error)) << error;
  EXPECT_EQ(driver.printableDots(), 2397U);  // 575.4 points of 1/72 inch
  EXPECT_EQ(driver.resolutionX(), 300U);
  EXPECT_EQ(driver.resolutionY(), 300U);
  EXPECT_NEAR(driver.pageWidth(), 595.28, 0.01);
  EXPECT_NEAR(driver.pageLength(), 841.89, 0.01);
  EXPECT_EQ(driver.current("HalftoneType").name, "Tattoo");
  EXPECT_EQ(driver.current("nonsense").name, "");
  EXPECT_THAT(driver.choices("nonsense"), IsEmpty());
}

TEST(DriverFile, OptionsOfTheJobCount) {
  DriverFile driver;
  std::string error;
  ASSERT_TRUE(
      driver.open({"", "", {"PageSize=X80MMY200MM", "halftonetype=Burkes", "fit-to-page"}}, error));
  EXPECT_EQ(driver.current("HalftoneType").label, "Stucki (photos, crisp)");
  EXPECT_NEAR(driver.pageLength(), 200 * 72 / 25.4, 0.1);
  EXPECT_TRUE(driver.isGiven("HalftoneType"));
  EXPECT_TRUE(driver.isGiven("fit-to-page"));
  EXPECT_FALSE(driver.isGiven("Brightness"));
  EXPECT_EQ(driver.given("fit-to-page"), "true");
  EXPECT_EQ(driver.given("Brightness"), std::nullopt);
  EXPECT_EQ(driver.options(), "PageSize=X80MMY200MM halftonetype=Burkes fit-to-page");
  EXPECT_THAT(driver.notes(), IsEmpty());
}

TEST(DriverFile, ChoicesThatItLacksAreNoted) {
  DriverFile driver;
  std::string error;
  ASSERT_TRUE(driver.open({"", "", {"Brightness=7", "PageSize=Custom.10x10mm"}}, error));
  ASSERT_EQ(driver.notes().size(), 1U);
  EXPECT_THAT(
      driver.notes()[0],
      StartsWith(
          "Brightness has no choice \"7\"; the filter takes 0 instead; the choices are -40, "));
}

TEST(DriverFile, OptionsThatNobodyKnowsAreNotedWithTheNearest) {
  DriverFile driver;
  std::string error;
  ASSERT_TRUE(driver.open({"", "", {"Halftone=Stucki", "Colour=no", "fit-to-pag"}}, error));
  EXPECT_THAT(driver.notes(),
              testing::UnorderedElementsAre(
                  "there is no option Halftone, neither in the driver file nor in CUPS; the "
                  "nearest is HalftoneType",
                  "there is no option Colour, neither in the driver file nor in CUPS",
                  "there is no option fit-to-pag, neither in the driver file nor in CUPS; the "
                  "nearest is fit-to-page"));
}

// libcups loses a list when it marks some of these; what is allocated meanwhile is not
// searched for leaks.
TEST(DriverFile, OptionsOfCupsPassWithoutANote) {
  DriverFile driver;
  std::string error;
#ifdef DRAV_TEST_ADDRESS_SANITIZER
  const __lsan::ScopedDisabler leaksAreAllowed;
#endif
  ASSERT_TRUE(driver.open(
      {"",
       "",
       {"media=A4", "fit-to-page", "copies=2", "print-quality=5", "job-hold-until=night",
        "JOB-sheets=none", "number-up=2", "sides=one-sided", "orientation-requested=4", "landscape",
        "page-ranges=1-2", "finishings=3", "media-col={}", "cpi=12", "collate=true"}},
      error));
  EXPECT_THAT(driver.notes(), IsEmpty());
}

TEST(DriverFile, AChoiceIsNotedWithTheNearest) {
  DriverFile driver;
  std::string error;
  ASSERT_TRUE(driver.open({"", "", {"HalftoneType=Stuki"}}, error));
  ASSERT_EQ(driver.notes().size(), 1U);
  EXPECT_THAT(driver.notes()[0], StartsWith("HalftoneType has no choice \"Stuki\"; "));
  EXPECT_THAT(driver.notes()[0], testing::EndsWith("; the nearest is Stucki"));
}

TEST(DriverFile, ResolutionsOfTwoNumbers) {
  const TempFolder folder;
  PpdBuilder()
      .option("Resolution", "203x180dpi")
      .attribute("MaxMediaWidth", "72")
      .write(folder.file("a.ppd"));
  DriverFile driver;
  std::string error;
  ASSERT_TRUE(driver.open({folder.file("a.ppd"), "", {}}, error)) << error;
  EXPECT_EQ(driver.resolutionX(), 203U);
  EXPECT_EQ(driver.resolutionY(), 180U);
  EXPECT_EQ(driver.printableDots(), 203U);
}

TEST(DriverFile, BadFilesAndOptionsAreRefused) {
  const TempFolder folder;
  writeFile(folder.file("text"), std::string("hello\n"));
  PpdBuilder().pageSizes({}).write(folder.file("sizeless.ppd"));
  const auto failure = [](const JobChoice& job) {
    DriverFile driver;
    std::string error;
    EXPECT_FALSE(driver.open(job, error));
    return error;
  };
  EXPECT_THAT(failure({folder.file("text"), "", {}}),
              HasSubstr("text: is not a driver file (PPD)"));
  EXPECT_THAT(failure({folder.file("sizeless.ppd"), "", {}}), HasSubstr("no PageSize"));
  EXPECT_THAT(failure({folder.file("none"), "", {}}), HasSubstr("No such file"));
  EXPECT_THAT(failure({"", "none", {}}), StartsWith("there is no model none; there are dravr582"));
  EXPECT_THAT(failure({"", "", {"=5"}}), HasSubstr("has no name"));
}

TEST(DriverFile, TheCopyGoesWithIt) {
  std::string path;
  {
    DriverFile driver;
    std::string error;
    ASSERT_TRUE(driver.open({}, error));
    path = driver.path();
    EXPECT_EQ(::access(path.c_str(), R_OK), 0);
  }
  EXPECT_NE(::access(path.c_str(), F_OK), 0);
}

}  // namespace
