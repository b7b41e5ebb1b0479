// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/ppd_check.h"

#include <gmock/gmock.h>

#include "tests/support/ppd_builder.h"
#include "tools/drav/doctor/advice.h"

namespace {

using testing::HasSubstr;

constexpr const char* kRasterLine = "application/vnd.cups-raster application/octet-stream 0 ";

Finding chainOf(const PpdBuilder& builder) {
  Ppd ppd;
  std::string error;
  EXPECT_TRUE(ppd.open(builder.text(), error)) << error;
  Findings findings;
  ppd.check("queue q", findings);
  return findings.at(0);
}

TEST(UsesFilter, WhateverThePath) {
  for (const char* text :
       {"*cupsFilter: \"application/vnd.cups-raster 0 rastertodrav\"\n",
        "*cupsFilter2: \"application/vnd.cups-raster application/octet-stream 0 rastertodrav\"",
        "x\n*cupsFilter: \"a/b 0 /Library/Printers/Drav/rastertodrav\"\r\n"})
    EXPECT_TRUE(usesFilter(text)) << text;
  for (const char* text :
       {"", "*cupsFilter", "*cupsFilter:", "*cupsFilter: \"\"", "rastertodrav",
        "*NickName: \"rastertodrav\"\n", "*cupsFilter: \"a/b 0 rastertodrav2\"\n",
        "*cupsFilter: \"a/b 0 xrastertodrav\"\n", "*cupsFilter: \"a/b 0 rastertodrav x\"\n"})
    EXPECT_FALSE(usesFilter(text)) << text;
}

TEST(Ppd, SummaryTellsWhatTheDoctorNeeds) {
  PpdBuilder builder;
  builder.attribute("dravFilterOutputFile", "/a/b")
      .attribute("cupsFilter2", std::string(kRasterLine) + "/opt/rastertodrav")
      .option("RecordPrinterCommands", {"0", "1"}, "1");
  Ppd ppd;
  std::string error;
  ASSERT_TRUE(ppd.open(builder.text(), error)) << error;
  const PpdSummary summary = ppd.summary();
  EXPECT_EQ(summary.fileVersion, "1.0");
  EXPECT_EQ(summary.fileName, "TEST.PPD");
  EXPECT_EQ(summary.recordPrefix, "/a/b");
  EXPECT_EQ(summary.filter, "/opt/rastertodrav");
  EXPECT_TRUE(summary.recording);
}

TEST(Ppd, NewerFilterLinesHideOlderOnes) {
  PpdBuilder older;
  older.attribute("cupsFilter", "application/vnd.cups-raster 0 rastertodrav");
  EXPECT_THAT(chainOf(older).text, testing::Not(HasSubstr("rastertodrav")));
  older.attribute("cupsFilter2", std::string(kRasterLine) + "rastertoother");
  EXPECT_THAT(chainOf(older).text, HasSubstr("which hide cupsFilter, do not name rastertodrav"));
  EXPECT_EQ(chainOf(older).level, Level::kFail);
  EXPECT_THAT(chainOf(PpdBuilder()).text, HasSubstr("no filter line names rastertodrav"));
}

TEST(Ppd, WithoutPageSize) {
  PpdBuilder builder;
  builder.pageSizes({}).attribute("cupsFilter", "application/vnd.cups-raster 0 rastertodrav");
  const Finding finding = chainOf(builder);
  EXPECT_EQ(finding.level, Level::kFail);
  EXPECT_THAT(finding.text, HasSubstr("no PageSize"));
}

TEST(Ppd, WhatIsNoPpdIsToldWithItsLine) {
  for (const char* text : {"", "x", "*FormatVersion: \"4.3\"\n"}) {
    Ppd ppd;
    std::string error;
    EXPECT_FALSE(ppd.open(text, error)) << text;
    EXPECT_THAT(error, HasSubstr(" on line "));
  }
}

TEST(NewPpdCommand, NamesTheModelWhenItIsOurs) {
  EXPECT_EQ(newPpdCommand("q", "DRAVSA43.PPD"),
            "sudo lpadmin -p q -m drv:///drav.drv/dravsa43.ppd");
  EXPECT_EQ(newPpdCommand("q", "drav x.ppd"), "sudo lpadmin -p q -m 'drv:///drav.drv/drav x.ppd'");
  for (const char* name : {"", "other.ppd", "drav/../x.ppd"})
    EXPECT_THAT(newPpdCommand("q", name), HasSubstr("lpinfo -m")) << name;
}

}  // namespace
