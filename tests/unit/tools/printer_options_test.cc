// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/job/printer_options.h"

#include <gmock/gmock.h>

#include <cmath>

#include "tests/support/files.h"
#include "tests/support/ppd_builder.h"

namespace {

using testing::HasSubstr;

struct Resolved {
  bool done = false;
  PrinterFacts facts;
  std::string error;
};

Resolved resolve(const PrinterArguments& arguments) {
  Resolved result;
  result.done = resolvePrinter(arguments, result.facts, result.error);
  EXPECT_EQ(result.done, result.error.empty());
  return result;
}

Resolved resolvePpd(const PpdBuilder& ppd, PrinterArguments arguments = {}) {
  const TempFolder folder;
  ppd.write(folder.file("a.ppd"));
  arguments.ppd = folder.file("a.ppd");
  return resolve(arguments);
}

TEST(PrinterOptions, WithoutAnyTheFilterOwnResolution) {
  const Resolved result = resolve({});
  ASSERT_TRUE(result.done);
  EXPECT_EQ(result.facts.scale.dotsAcross, 300U);
  EXPECT_EQ(result.facts.scale.dotsAlong, 300U);
  EXPECT_EQ(result.facts.scale.unitsPerInch, 300);
  EXPECT_EQ(result.facts.scale.linesPerInch, 6);
  EXPECT_FALSE(result.facts.headBytes.has_value());
}

TEST(PrinterOptions, DpiSetsTheUnitTooUnlessThatIsGiven) {
  PrinterArguments arguments;
  arguments.dpi = 203;
  EXPECT_EQ(resolve(arguments).facts.scale.dotsAcross, 203U);
  EXPECT_EQ(resolve(arguments).facts.scale.dotsAlong, 203U);
  EXPECT_EQ(resolve(arguments).facts.scale.unitsPerInch, 203);
  arguments.unitsPerInch = 406;
  arguments.linesPerInch = 7.5;
  EXPECT_EQ(resolve(arguments).facts.scale.unitsPerInch, 406);
  EXPECT_EQ(resolve(arguments).facts.scale.linesPerInch, 7.5);
}

TEST(PrinterOptions, ReadsTheDriverFile) {
  const Resolved result = resolvePpd(PpdBuilder()
                                         .option("Resolution", {"203dpi", "300dpi"}, "300dpi")
                                         .attribute("MaxMediaWidth", "575.4"));
  ASSERT_TRUE(result.done) << result.error;
  EXPECT_EQ(result.facts.scale.dotsAcross, 300U);
  EXPECT_EQ(result.facts.headBytes, 300U);
}

TEST(PrinterOptions, PaperOfADriverFileThatTrims) {
  PrinterArguments arguments;
  arguments.model = "dravr582";
  EXPECT_FALSE(resolve(arguments).facts.paper.has_value());  // it trims nothing by default
  arguments.paper = "X48MMY100MM";
  const Resolved named = resolve(arguments);
  ASSERT_TRUE(named.facts.paper.has_value()) << named.error;
  EXPECT_EQ(named.facts.paper->name, "X48MMY100MM");
  EXPECT_NEAR(named.facts.paper->millimetres, 100, 0.01);
  arguments.paper = "A0";
  EXPECT_THAT(resolve(arguments).error, HasSubstr("no paper A0"));
  arguments.model.clear();
  EXPECT_THAT(resolve(arguments).error, HasSubstr("--paper needs --ppd or --model"));
}

TEST(PrinterOptions, ADriverFileThatTrimsNamesItsPaper) {
  for (const char* trim : {"End", "Both"}) {
    const Resolved result =
        resolvePpd(PpdBuilder().option("TrimPaper", {"None", "End", "Both"}, trim));
    ASSERT_TRUE(result.facts.paper.has_value()) << trim;
    EXPECT_NEAR(result.facts.paper->millimetres, 200, 0.01);
  }
  EXPECT_FALSE(resolvePpd(PpdBuilder().option("TrimPaper", {"None", "End"}, "None"))
                   .facts.paper.has_value());
  EXPECT_FALSE(resolvePpd(PpdBuilder()).facts.paper.has_value());
}

TEST(PrinterOptions, ResolutionMayDifferBetweenTheAxes) {
  const Resolved result =
      resolvePpd(PpdBuilder().option("Resolution", "203x600dpi").attribute("MaxMediaWidth", "204"));
  ASSERT_TRUE(result.done) << result.error;
  EXPECT_EQ(result.facts.scale.dotsAcross, 203U);
  EXPECT_EQ(result.facts.scale.dotsAlong, 600U);
  EXPECT_EQ(result.facts.scale.unitsPerInch, 600);
  EXPECT_EQ(result.facts.headBytes, 72U);  // 575.2 dots
}

TEST(PrinterOptions, AnOptionWinsOverTheDriverFile) {
  PrinterArguments arguments;
  arguments.dpi = 203;
  const Resolved result = resolvePpd(
      PpdBuilder().option("Resolution", "nonsense").attribute("MaxMediaWidth", "204"), arguments);
  ASSERT_TRUE(result.done) << result.error;
  EXPECT_EQ(result.facts.scale.dotsAlong, 203U);
  EXPECT_EQ(result.facts.headBytes, 72U);
}

TEST(PrinterOptions, WithoutMaxMediaWidthTheHeadIsOpen) {
  for (const char* width : {"", "0", "-3", "wide", "1e300"}) {
    const Resolved result = resolvePpd(PpdBuilder().attribute("MaxMediaWidth", width));
    ASSERT_TRUE(result.done) << result.error;
    EXPECT_FALSE(result.facts.headBytes.has_value()) << width;
  }
  EXPECT_FALSE(resolvePpd(PpdBuilder()).facts.headBytes.has_value());
}

TEST(PrinterOptions, DriverFilesThatMakeNoSense) {
  const Resolved resolution = resolvePpd(PpdBuilder().option("Resolution", "fine"));
  EXPECT_FALSE(resolution.done);
  EXPECT_THAT(resolution.error, HasSubstr("a.ppd: resolution \"fine\" makes no sense"));
  PrinterArguments none;
  none.ppd = "/none/a.ppd";
  EXPECT_THAT(resolve(none).error, HasSubstr("/none/a.ppd: cannot be read as a driver file: "));
  const TempFolder folder;
  writeFile(folder.file("text"), std::string("not a driver file\n"));
  none.ppd = folder.file("text");
  EXPECT_THAT(resolve(none).error, HasSubstr("text: cannot be read as a driver file: "));
  none.ppd = folder.path();
  EXPECT_THAT(resolve(none).error, HasSubstr("cannot be read as a driver file"));
}

TEST(PrinterOptions, NotANumberIsNoRate) {
  PrinterArguments arguments;
  arguments.linesPerInch = std::nan("");
  EXPECT_EQ(resolve(arguments).error, "--lines-per-inch is not a number");
}

TEST(PrinterOptions, HeadsComeInWholeBytes) {
  EXPECT_EQ(headBytesOf(575.4, 300), 300U);  // 2397.5 dots, a head of 2400
  EXPECT_EQ(headBytesOf(576.0, 300), 300U);
  EXPECT_EQ(headBytesOf(576.01, 300), 301U);
  EXPECT_EQ(headBytesOf(203.4, 203), 72U);
  EXPECT_EQ(headBytesOf(0.1, 1), 1U);
  EXPECT_EQ(headBytesOf(0, 300), std::nullopt);
  EXPECT_EQ(headBytesOf(-1, 300), std::nullopt);
  EXPECT_EQ(headBytesOf(std::nan(""), 300), std::nullopt);
  EXPECT_EQ(headBytesOf(1e18, 300), std::nullopt);
}

TEST(PrinterOptions, Resolutions) {
  uint32_t across = 7;
  uint32_t along = 7;
  EXPECT_TRUE(parseResolution("600x1200dpi", across, along));
  EXPECT_EQ(across, 600U);
  EXPECT_EQ(along, 1200U);
  for (const char* text : {"", "dpi", "300", "300 dpi", "0dpi", "-1dpi", "300xdpi", "300x0dpi",
                           "x300dpi", "9601dpi", "99999999999dpi", "300dpi ", "300x300x300dpi"}) {
    EXPECT_FALSE(parseResolution(text, across, along)) << text;
    EXPECT_EQ(across, 600U);
    EXPECT_EQ(along, 1200U);
  }
}

}  // namespace
