// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/inspect/job_survey.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <numeric>
#include <random>

#include "tests/unit/tools/job_bytes.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr size_t kStart = 76;  // bytes of jobStart()

Survey surveyOf(const Bytes& stream, const PrinterFacts& printer = {}) {
  return surveyStream(stream, printer);
}

// Each warning as "kind offset".
std::vector<std::string> warningsOf(const Survey& survey) {
  std::vector<std::string> result;
  std::array<uint64_t, kWarningKinds> counts{};
  for (const Warning& warning : survey.warnings) {
    result.push_back(std::string(warningKey(warning.kind)) + " " + std::to_string(warning.offset));
    ++counts[static_cast<size_t>(warning.kind)];
  }
  EXPECT_EQ(counts, survey.warningCounts);
  EXPECT_EQ(survey.isClean(), result.empty());
  return result;
}

std::vector<std::string> warningsOf(const Bytes& stream, const PrinterFacts& printer = {}) {
  const Survey survey = surveyOf(stream, printer);
  EXPECT_EQ(survey.unreadable, "");
  return warningsOf(survey);
}

Bytes surveyedJob() {
  return joined({jobStart(), band(2, 96, 0x03), band(2, 4, 0x01), hex("1B 4A A0"),
                 hex("1B 4A 78 1B 64 03 0A 0A 0A 0A 1D 56 01 1B 76")});
}

TEST(Coverage, CountsTheBitsOfAllLengths) {
  std::mt19937 random(20240601);
  for (size_t size = 0; size < 70; ++size) {
    Bytes bytes(size);
    uint64_t black = 0;
    for (uint8_t& byte : bytes) {
      byte = static_cast<uint8_t>(random());
      for (unsigned bit = 0; bit < 8; ++bit) black += byte >> bit & 1U;
    }
    const Coverage coverage = coverageOf(bytes);
    EXPECT_EQ(coverage.black, black) << size;
    EXPECT_EQ(coverage.dots, size * 8);
  }
  EXPECT_EQ(Coverage{}.percent(), 0);
  EXPECT_DOUBLE_EQ(coverageOf(hex("01 00")).percent(), 6.25);
}

TEST(JobSurvey, AddsUpAJob) {
  const Survey survey = surveyOf(surveyedJob());
  EXPECT_THAT(warningsOf(survey), IsEmpty());
  EXPECT_EQ(survey.unreadable, "");
  EXPECT_FALSE(survey.isRecord);
  const JobTotals& totals = survey.totals;
  EXPECT_EQ(totals.jobs, 1U);
  EXPECT_EQ(totals.pages, 1U);
  EXPECT_EQ(totals.commands, 15U);
  EXPECT_EQ(totals.bands, 2U);
  EXPECT_EQ(totals.rows, 100U);
  EXPECT_EQ(totals.leastBytesPerRow, 2U);
  EXPECT_EQ(totals.mostBytesPerRow, 2U);
  EXPECT_EQ(totals.feedUnits, 280U);
  EXPECT_EQ(totals.feedLines, 7U);
  EXPECT_DOUBLE_EQ(feedMillimetres(totals, {}), 25.4 * (280.0 / 300 + 7.0 / 6));
  EXPECT_EQ(totals.coverage.black, 192U * 2 + 8);
  EXPECT_EQ(totals.coverage.dots, 1600U);
  EXPECT_EQ(totals.partialCuts, 1U);
  EXPECT_EQ(totals.fullCuts, 0U);
  EXPECT_EQ(totals.skippedBytes, 0U);
  ASSERT_TRUE(totals.heaviest.has_value());
  EXPECT_EQ(totals.heaviest->offset, kStart);
  EXPECT_EQ(totals.heaviest->page, 1U);
  EXPECT_EQ(totals.heaviest->band, 1U);
}

TEST(JobSurvey, CountsDrawersCutsBuzzersAndLogos) {
  const Survey survey = surveyOf(joined(
      {jobStart(), hex("1B 70 00 40 40 1B 70 01 40 40 1B 70 01 40 40 1B 42 01 02 1C 70 01 00"),
       hex("0A 1D 56 01 0A 1D 56 00 0A 1D 56 00 1B 42 01 02 1B 76")}));
  EXPECT_THAT(warningsOf(survey), IsEmpty());
  EXPECT_EQ(survey.totals.drawerPulses, 3U);
  EXPECT_EQ(survey.totals.partialCuts, 1U);
  EXPECT_EQ(survey.totals.fullCuts, 2U);
  EXPECT_EQ(survey.totals.buzzers, 2U);
  EXPECT_EQ(survey.totals.logos, 1U);
  EXPECT_EQ(survey.totals.pages, 0U);
  EXPECT_FALSE(survey.totals.heaviest.has_value());
}

TEST(JobSurvey, TellsPagesInOrder) {
  const Bytes first = joined({band(3, 96, 0x01), band(3, 10, 0x03)});
  const Bytes stream =
      joined({jobStart(), first, hex("1B 4A A0"), band(3, 5, 0), hex("1B 4A A0 1B 4A 78 1B 76"),
              jobStart(), band(1, 2, 0), hex("1B 76")});
  std::vector<PageSummary> pages;
  const Survey survey =
      surveyStream(stream, {}, [&pages](const PageSummary& page) { pages.push_back(page); });
  EXPECT_THAT(warningsOf(survey), IsEmpty());
  EXPECT_EQ(survey.totals.jobs, 2U);
  EXPECT_EQ(survey.totals.pages, 3U);
  ASSERT_THAT(pages, SizeIs(3));
  EXPECT_EQ(pages[0].number, 1U);
  EXPECT_EQ(pages[0].offset, kStart);
  EXPECT_EQ(pages[0].bands, 2U);
  EXPECT_EQ(pages[0].rows, 106U);
  EXPECT_EQ(pages[0].bytesPerRow, 3U);
  EXPECT_EQ(pages[0].coverage.black, 3U * 96 + 3 * 10 * 2);
  // 10 rows twice as dark are less than 96.
  EXPECT_EQ(pages[0].heaviest->offset, kStart);
  EXPECT_EQ(pages[1].number, 2U);
  EXPECT_EQ(pages[1].offset, kStart + first.size() + 3);
  EXPECT_EQ(pages[1].rows, 5U);
  EXPECT_EQ(pages[2].number, 3U);
  EXPECT_EQ(pages[2].bytesPerRow, 1U);
}

TEST(JobSurvey, TheHeaviestBandIsAnArea) {
  // A black line of 2 rows is less ink than a half black band of 96.
  const Bytes area = band(2, 96, 0x0F);
  const Survey survey = surveyOf(joined({jobStart(), band(2, 2, 0xFF), hex("1B 4A A0"), area,
                                         band(2, 2, 0xFF), hex("1B 4A A0 1B 76")}));
  ASSERT_TRUE(survey.totals.heaviest.has_value());
  EXPECT_EQ(survey.totals.heaviest->offset, kStart + 12 + 3);
  EXPECT_EQ(survey.totals.heaviest->page, 2U);
  EXPECT_EQ(survey.totals.heaviest->band, 1U);
  EXPECT_EQ(survey.totals.heaviest->coverage.percent(), 50);
}

TEST(JobSurvey, OfEqualBandsTheFirstIsTheHeaviest) {
  const Survey survey = surveyOf(joined({band(2, 96, 0x01), band(2, 96, 0x10)}));
  ASSERT_TRUE(survey.totals.heaviest.has_value());
  EXPECT_EQ(survey.totals.heaviest->offset, 0U);
}

TEST(JobSurvey, ARecordIsBandsAlone) {
  const Survey survey = surveyOf(joined({band(2, 96, 0x01), band(2, 4, 0x01)}));
  EXPECT_TRUE(survey.isRecord);
  EXPECT_THAT(warningsOf(survey), IsEmpty());
  EXPECT_EQ(survey.totals.pages, 0U);
  EXPECT_EQ(survey.totals.jobs, 0U);
  EXPECT_EQ(survey.totals.rows, 100U);
  EXPECT_EQ(survey.totals.heaviest->band, 1U);
  EXPECT_FALSE(surveyOf(joined({jobStart(), band(2, 4, 0x01)})).isRecord);
  EXPECT_FALSE(surveyOf(hex("1B 40")).isRecord);
  const Survey damaged = surveyOf(joined({band(2, 96, 0x01), hex("99"), band(2, 4, 0x01)}));
  EXPECT_TRUE(damaged.isRecord);
  EXPECT_THAT(warningsOf(damaged), ElementsAre("unknown-bytes 200"));
}

TEST(JobSurvey, WarnsOfUnknownBytes) {
  const Survey survey =
      surveyOf(joined({jobStart(), hex("1B 99 98"), band(2, 5, 0), hex("1B 4A A0 1B 76 FF FF")}));
  EXPECT_THAT(warningsOf(survey), ElementsAre("unknown-bytes 76", "unknown-bytes 102"));
  EXPECT_EQ(survey.warnings[0].text,
            "unknown bytes 1B 99 98 1D 76 30 00 02 ..., skipped up to offset 79");
  EXPECT_EQ(survey.totals.skippedBytes, 5U);
}

TEST(JobSurvey, WarnsOfAnUnfinishedBand) {
  Bytes stream = joined({jobStart(), band(2, 10, 0), band(2, 96, 0)});
  stream.resize(stream.size() - 150);
  const Survey survey = surveyOf(stream);
  EXPECT_THAT(warningsOf(survey), ElementsAre("unfinished-band 104"));
  EXPECT_EQ(survey.warnings[0].text,
            "the stream ends inside GS v 0, which takes 200 bytes; only 50 are there; the printer"
            " will print the next 150 bytes that it gets as dots");
  EXPECT_EQ(survey.totals.bands, 1U);
  EXPECT_EQ(survey.totals.skippedBytes, 0U);
}

TEST(JobSurvey, WarnsOfAnUnfinishedCommand) {
  EXPECT_THAT(warningsOf(joined({jobStart(), hex("1B 4A")})), ElementsAre("unfinished-command 76"));
}

TEST(JobSurvey, FindsAJobInsideABand) {
  // Cut short by 150 bytes, and the next job behind it.
  Bytes cut = joined({jobStart(), band(2, 200, 0x01)});
  cut.resize(cut.size() - 150);
  const size_t job = cut.size() + 64;
  const Survey taken = surveyOf(joined({cut, jobStart(), band(2, 90, 0x02), hex("1B 76")}));
  EXPECT_THAT(warningsOf(taken), ElementsAre("job-inside-band 76", "unknown-bytes 484"));
  EXPECT_EQ(taken.warnings[0].text,
            "the band was cut short: it holds the start of another job, at offset " +
                std::to_string(job) + ", which prints as dots");
  // The next job is too short to fill the band.
  const Survey unfinished = surveyOf(joined({cut, jobStart(), hex("1B 76")}));
  EXPECT_THAT(warningsOf(unfinished), ElementsAre("unfinished-band 76", "job-inside-band 76"));
  // Dots that merely begin like a job's start, and damage elsewhere.
  EXPECT_THAT(
      warningsOf(joined({jobStart(), hex("1D 76 30 00 06 00 01 00 1B 40 1F 1B 1F 13"), hex("99")})),
      ElementsAre("unknown-bytes 90"));
}

TEST(JobSurvey, WarnsOfRowsThatChangeTheirWidth) {
  const Survey survey = surveyOf(joined(
      {jobStart(), band(2, 5, 0), band(3, 5, 0), hex("1B 4A A0"), band(3, 5, 0), hex("1B 4A A0"),
       band(2, 5, 0), hex("1B 4A A0 1B 76"), jobStart(), band(9, 5, 0), hex("1B 4A A0 1B 76")}));
  EXPECT_THAT(warningsOf(survey), ElementsAre("row-width-changes 94", "row-width-changes 146"));
  EXPECT_EQ(survey.warnings[0].text, "the row width changes from 2 to 3 bytes without a feed");
  EXPECT_EQ(survey.warnings[1].text, "the row width changes from 3 to 2 bytes");
  EXPECT_EQ(survey.totals.leastBytesPerRow, 2U);
  EXPECT_EQ(survey.totals.mostBytesPerRow, 9U);
  EXPECT_THAT(warningsOf(joined({band(2, 5, 0), band(3, 5, 0)})),
              ElementsAre("row-width-changes 18"));
}

TEST(JobSurvey, WarnsOfRowsWiderThanTheHeadOnceAPage) {
  const Bytes stream = joined({jobStart(), band(3, 96, 0), band(3, 5, 0), hex("1B 4A A0"),
                               band(3, 5, 0), hex("1B 4A A0 1B 76")});
  PrinterFacts printer;
  EXPECT_THAT(warningsOf(stream, printer), IsEmpty());
  printer.headBytes = 3;
  EXPECT_THAT(warningsOf(stream, printer), IsEmpty());
  printer.headBytes = 2;
  const Survey survey = surveyOf(stream, printer);
  EXPECT_THAT(warningsOf(survey), ElementsAre("row-exceeds-head 76", "row-exceeds-head 398"));
  EXPECT_EQ(survey.warnings[0].text,
            "rows of 3 bytes (24 dots) exceed the head of 2 bytes (16 dots)");
}

TEST(JobSurvey, ComparesPagesWithTheirPaper) {
  const auto saved = [](const Bytes& stream, const PrinterFacts& printer) {
    std::vector<uint64_t> rows;
    const Survey survey = surveyStream(
        stream, printer, [&rows](const PageSummary& page) { rows.push_back(page.savedRows); });
    EXPECT_EQ(survey.totals.savedRows, std::accumulate(rows.begin(), rows.end(), uint64_t{0}));
    EXPECT_EQ(survey.totals.shorterPages,
              static_cast<uint64_t>(
                  std::count_if(rows.begin(), rows.end(), [](uint64_t one) { return one != 0; })));
    return rows;
  };
  const Bytes stream =
      joined({jobStart(), band(2, 96, 0x03), band(2, 4, 0x01), hex("1B 4A A0"), band(2, 114, 1),
              hex("1B 4A A0"), band(2, 113, 1), hex("1B 4A A0"), band(2, 200, 1), hex("1B 76")});
  PrinterFacts printer;
  EXPECT_THAT(saved(stream, printer), ElementsAre(0, 0, 0, 0));
  printer.paper = {"short", 10.16};  // 120 rows; half a millimetre is 5.9
  EXPECT_THAT(saved(stream, printer), ElementsAre(20, 6, 7, 0));
  printer.paper->millimetres = 10;  // 118 rows
  EXPECT_THAT(saved(stream, printer), ElementsAre(18, 0, 0, 0));
}

TEST(JobSurvey, WarnsOfAJobWithoutInitialise) {
  EXPECT_THAT(warningsOf(joined({band(2, 5, 0), hex("1B 4A A0 1B 76")})),
              ElementsAre("no-initialise 0"));
  // After the end of a job, too, but not behind every command.
  EXPECT_THAT(warningsOf(joined({jobStart(), hex("1B 76"), band(2, 5, 0), hex("1B 4A A0 1B 76")})),
              ElementsAre("no-initialise 78"));
  // A job that was cancelled has no end.
  EXPECT_THAT(
      warningsOf(joined({jobStart(), band(2, 5, 0), hex("1B 4A A0"), jobStart(), hex("1B 76")})),
      IsEmpty());
  const Survey survey = surveyOf(joined({hex("0A 0A 1B 76"), hex("0A")}));
  EXPECT_THAT(warningsOf(survey), ElementsAre("no-initialise 0", "no-initialise 4"));
  EXPECT_EQ(survey.totals.jobs, 2U);
  EXPECT_EQ(survey.warnings[0].text,
            "LF comes before any ESC @: the job finds the printer as the last one left it");
}

TEST(JobSurvey, WarnsOfACutWithoutFeed) {
  const auto warnings = [](const char* between) {
    return warningsOf(joined({jobStart(), band(2, 5, 0), hex(between), hex("1D 56 01 1B 76")}));
  };
  EXPECT_THAT(warnings(""), ElementsAre("cut-without-feed 94"));
  EXPECT_THAT(warnings("1B 42 01 01"), ElementsAre("cut-without-feed 98"));
  EXPECT_THAT(warnings("1B 4A 00 1B 64 00"), ElementsAre("cut-without-feed 100"));
  EXPECT_THAT(warnings("1B 4A 01"), IsEmpty());
  EXPECT_THAT(warnings("1B 64 01"), IsEmpty());
  EXPECT_THAT(warnings("0A"), IsEmpty());
  EXPECT_THAT(warnings("0A 1C 70 01 00"), ElementsAre("cut-without-feed 99"));
  EXPECT_THAT(warnings("0A 1D 56 00"), IsEmpty());  // the second cuts nothing
}

TEST(JobSurvey, WarnsOfHeavyBandsOnceAPage) {
  // 7 and 6 of 8 dots: 87.5 and exactly 75 %; three pages of pale bands follow.
  const Bytes pale = joined({band(2, 480, 0x01), hex("1B 4A A0")});
  const Survey survey = surveyOf(joined({jobStart(), band(2, 24, 0xFE), band(2, 24, 0xFF),
                                         band(2, 96, 0xFC), hex("1B 4A A0"), pale, hex("1B 76")}));
  EXPECT_THAT(warningsOf(survey), ElementsAre("heavy-band 132"));
  EXPECT_EQ(survey.warnings[0].text, "2 of 3 bands of page 1 above 75 % black, this one 100.0 %");
}

TEST(JobSurvey, ALineIsNoHeavyArea) {
  const auto warnings = [](uint32_t rows) {
    return warningsOf(
        joined({jobStart(), band(2, 480, 0), band(2, rows, 0xFF), hex("1B 4A A0 1B 76")}));
  };
  EXPECT_THAT(warnings(18), IsEmpty());  // 18 of 24 rows are 75 %
  EXPECT_THAT(warnings(19), ElementsAre("heavy-band 1044"));
}

TEST(JobSurvey, WarnsOfAHeavyJob) {
  const auto warnings = [](uint32_t blankRows) {
    return warningsOf(joined({jobStart(), band(1, 300, 0x0F), hex("1B 4A A0"),
                              band(1, blankRows, 0), hex("1B 4A A0 1B 76")}));
  };
  EXPECT_THAT(warnings(75), IsEmpty());  // exactly 40 %
  EXPECT_THAT(warnings(74), ElementsAre("heavy-job 64"));
  // Each job by itself.
  EXPECT_THAT(warningsOf(joined({jobStart(), band(1, 900, 0), hex("1B 76"), jobStart(),
                                 band(1, 30, 0x1F), hex("1B 4A A0 1B 76")})),
              ElementsAre("heavy-job 1050"));
  // One black row is no heavy job.
  EXPECT_THAT(warningsOf(joined({jobStart(), band(1, 1, 0xFF), hex("1B 4A A0 1B 76")})), IsEmpty());
}

TEST(JobSurvey, HeavyRecordIsCalledARecord) {
  const Survey survey = surveyOf(band(1, 96, 0xFF));
  EXPECT_THAT(warningsOf(survey), ElementsAre("heavy-band 0", "heavy-job 0"));
  EXPECT_EQ(survey.warnings[0].text,
            "1 of 1 bands of the record above 75 % black, this one 100.0 %");
}

TEST(JobSurvey, KeepsSomeWarningsAndCountsAll) {
  Bytes stream = jobStart();
  for (int i = 0; i < 130; ++i) append(stream, hex("1B 40 0A 99"));
  append(stream, hex("1B 40 1B 76"));
  const Survey survey = surveyOf(stream);
  EXPECT_EQ(survey.warningCounts[static_cast<size_t>(WarningKind::kUnknownBytes)], 130U);
  EXPECT_THAT(survey.warnings, SizeIs(kMaxKeptWarnings));
  EXPECT_EQ(survey.warnings.front().offset, 79U);
  EXPECT_FALSE(survey.isClean());
}

TEST(JobSurvey, WhatIsMostlyNoCommandIsNoJob) {
  EXPECT_EQ(surveyOf({}).unreadable, "empty, so it is not a job");
  EXPECT_EQ(surveyOf(Bytes(100, 0)).unreadable,
            "not a job, 100.0 % of its bytes belong to no command: offset 0: 100 zero bytes not"
            " followed by ESC @");
  EXPECT_EQ(surveyOf(hex("0A 99 98")).unreadable,
            "not a job, 66.7 % of its bytes belong to no command: offset 1: unknown bytes 99 98");
  EXPECT_EQ(surveyOf(hex("0A 99")).unreadable, "");
  EXPECT_EQ(surveyOf(hex("0A 1B")).unreadable, "");
  EXPECT_NE(surveyOf(hex("1B")).unreadable, "");
}

TEST(JobSurvey, NamesOfWarnings) {
  std::vector<std::string> keys;
  for (size_t kind = 0; kind < kWarningKinds; ++kind)
    keys.emplace_back(warningKey(static_cast<WarningKind>(kind)));
  EXPECT_THAT(keys, ElementsAre("unknown-bytes", "unfinished-command", "unfinished-band",
                                "job-inside-band", "row-width-changes", "row-exceeds-head",
                                "no-initialise", "cut-without-feed", "heavy-band", "heavy-job"));
}

}  // namespace
