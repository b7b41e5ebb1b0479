// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/error_log.h"

#include <gmock/gmock.h>

#include "tests/support/files.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::time_t kMoment = 1795271760;  // 21 Nov 2026, 14:36:00 UTC

LogExtract extractOf(const std::string& text, const LogWanted& wanted) {
  const TempFolder folder;
  writeFile(folder.file("error_log"), text);
  Installation installation;
  installation.errorLog = folder.file("error_log");
  Redactor redactor;
  return readErrorLog(installation, wanted, redactor);
}

Finding checkOf(const std::vector<std::string>& lines, std::time_t now = kMoment) {
  LogExtract extract;
  extract.lines = lines;
  Findings findings;
  checkErrorLog(extract, now, findings);
  return findings.at(0);
}

TEST(LogLine, IsTakenApart) {
  const LogLine line = parseLogLine("E [21/Nov/2026:14:36:00 +0000] [Job 12] Text [x] y");
  EXPECT_EQ(line.level, 'E');
  EXPECT_EQ(line.time, kMoment);
  EXPECT_EQ(line.job, 12);
  EXPECT_EQ(line.message, "Text [x] y");
  EXPECT_EQ(parseLogLine("D [21/Nov/2026:16:06:00 +0130] x").time, kMoment);
  EXPECT_EQ(parseLogLine("D [21/Nov/2026:13:06:00 -0130] x").time, kMoment);
  EXPECT_EQ(parseLogLine("E [21/Nov/2026:14:36:00 +0000] [Job x] y").message, "[Job x] y");
  EXPECT_EQ(parseLogLine("E [21/Nov/2026:14:36:00 +0000] [Job 99999999999] y").job, 0);
  EXPECT_EQ(parseLogLine("E [nonsense] text").time, 0);
  for (const char* text : {"", "E", "E [", "E [] ", "some text", "E [no end"})
    EXPECT_EQ(parseLogLine(text).job, 0) << text;
  EXPECT_EQ(parseLogLine("some text").level, '\0');
}

TEST(ErrorLog, TakesLinesOfTheQueueItsJobsAndTheFilter) {
  const std::string head = " [21/Nov/2026:14:36:00 +0000] ";
  const LogExtract extract =
      extractOf("I" + head + "[Job 1] Queued on \"stencil\" by \"x1\".\n" +  //
                    "E" + head + "[Job 1] of its job\n" +                    //
                    "D" + head + "[Job 1] %%Title: of a document\n" +        //
                    "D" + head + "[Job 1] printImage: of the filter\n" +     //
                    "E" + head + "[Job 2] of another job\n" +                //
                    "E" + head + "[Job 3] of a known job\n" +                //
                    "E" + head + "stencil: of the queue\n" +                 //
                    "E" + head + "stencils: of another queue\n" +            //
                    "D" + head + "stencil: debug\n" +                        //
                    "E" + head + "File \"/x/rastertodrav\" of the filter\n",
                {{"stencil"}, {3}});
  std::vector<std::string> messages;
  for (const std::string& line : extract.lines) messages.emplace_back(parseLogLine(line).message);
  EXPECT_THAT(messages,
              ElementsAre("Queued on \"stencil\" by \"[removed]\".", "of its job",
                          "printImage: of the filter", "of a known job", "stencil: of the queue",
                          "File \"/x/rastertodrav\" of the filter"));
}

TEST(ErrorLog, TroubleOfTheLastDayCounts) {
  const std::string line = "E [21/Nov/2026:14:36:00 +0000] stencil: trouble";
  EXPECT_EQ(checkOf({line}).level, Level::kWarn);
  EXPECT_THAT(checkOf({line}).lines, ElementsAre(line));
  EXPECT_EQ(checkOf({line}, kMoment + 86400).level, Level::kWarn);
  EXPECT_EQ(checkOf({line}, kMoment + 86401).level, Level::kOk);
  EXPECT_EQ(checkOf({"I [21/Nov/2026:14:36:00 +0000] stencil: fine"}).level, Level::kOk);
  EXPECT_EQ(checkOf({"E [what] stencil: date unknown"}).level, Level::kWarn);
}

TEST(ErrorLog, ShowsTheLastLinesOnceEach) {
  std::vector<std::string> lines;
  for (int i = 0; i < 10; ++i)
    for (int twice = 0; twice < 2; ++twice)
      lines.push_back("E [21/Nov/2026:14:36:00 +0000] stencil: number " + std::to_string(i));
  const Finding finding = checkOf(lines);
  EXPECT_THAT(finding.text, HasSubstr("20 lines of trouble"));
  EXPECT_THAT(finding.lines,
              ElementsAre(HasSubstr("number 5"), HasSubstr("number 6"), HasSubstr("number 7"),
                          HasSubstr("number 8"), HasSubstr("number 9")));
}

TEST(ErrorLog, AMeaningIsToldOnce) {
  const std::string line =
      "E [21/Nov/2026:14:36:00 +0000] stencil: File \"/x\" has insecure permissions (0100777).";
  const Finding finding = checkOf({line, line + "."});
  EXPECT_EQ(finding.fix.size(), 1U);
  EXPECT_EQ(finding.text,
            "2 lines of trouble in the last day; the scheduler refused a program because of its "
            "rights");
}

TEST(ErrorLog, ALogThatCannotBeReadIsNoFinding) {
  Installation installation;
  installation.errorLog = "/none/error_log";
  Redactor redactor;
  const LogExtract extract = readErrorLog(installation, {}, redactor);
  EXPECT_EQ(extract.problem, "/none/error_log: No such file or directory");
  Findings findings;
  checkErrorLog(extract, kMoment, findings);
  EXPECT_EQ(findings.at(0).level, Level::kSkip);
}

}  // namespace
