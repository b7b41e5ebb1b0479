// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/inspect/inspect.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/unit/tools/job_bytes.h"
#include "tools/drav/command.h"

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

struct Report {
  int status = -1;
  std::string text;
  std::string error;
};

Report inspect(const Bytes& stream, InspectOptions options = {}) {
  if (options.name.empty()) options.name = "job.bin";
  Report report;
  std::ostringstream out;
  report.status = inspectStream(stream, options, out, report.error);
  report.text = out.str();
  return report;
}

json inspectJson(const Bytes& stream, InspectOptions options = {}) {
  options.json = true;
  const Report report = inspect(stream, options);
  EXPECT_TRUE(json::accept(report.text)) << report.text;
  return json::parse(report.text, nullptr, false);
}

Bytes wholeJob() {
  return joined({jobStart(), hex("1B 70 00 40 40"), band(2, 96, 0x01), band(2, 96, 0x03),
                 band(2, 4, 0x01), hex("1B 4A A0"),
                 hex("1B 4A 78 1B 64 03 0A 0A 0A 0A 1D 56 01 1B 76")});
}

TEST(Inspect, ListsAJobForPeople) {
  const Report report = inspect(wholeJob());
  EXPECT_EQ(report.status, kExitDone);
  EXPECT_EQ(report.error, "");
  EXPECT_EQ(report.text,
            R"(job.bin: job stream, 515 bytes

    offset  command            bytes                       meaning
         0  NUL padding        00 ...                      64 zero bytes to complete what an earlier job left unfinished
        64  ESC @              1B 40                       initialise, a job begins
        66  US ESC US DC3 DC4  1F 1B 1F 13 14 08           print density 8
        72  ESC $              1B 24 01 00                 print position 1 unit from the left
        76  ESC p              1B 70 00 40 40              pulse to drawer 1 (pin 2), 128 ms on, 128 ms off
        81  GS v 0 x 3         1D 76 30 00 02 00 60 00 ... bands, together 196 rows of 2 bytes (16 dots), 16.6 mm, 18.6 % black
       497  ESC J              1B 4A A0                    feed 160 units, 13.5 mm
       500  ESC J              1B 4A 78                    feed 120 units, 10.2 mm
       503  ESC d              1B 64 03                    feed 3 lines, 12.7 mm
       506  LF x 4             0A                          line feed, 4.2 mm each, 16.9 mm together
       510  GS V 1             1D 56 01                    partial cut
       513  ESC v              1B 76                       ask for the paper sensor's status

Totals
  jobs      1
  pages     1
  bands     3
  rows      196 rows of 2 bytes (16 dots)
  paper     69.9 mm: picture 16.6 mm at 300 dpi, feeds 53.3 mm with a unit of 1/300 inch and a line of 1/6 inch
  coverage  18.6 %; heaviest band 25.0 % at offset 281, page 1, band 2
  cuts      1 (1 partial, 0 full)
  drawers   1 pulse
  buzzers   0
  logos     0

Warnings
  none
)");
}

TEST(Inspect, AllListsEveryCommand) {
  InspectOptions options;
  options.all = true;
  const Report report = inspect(wholeJob(), options);
  EXPECT_THAT(report.text,
              HasSubstr("\n       281  GS v 0             1D 76 30 00 02 00 60 00 ..."
                        " band of 96 rows of 2 bytes (16 dots), 8.1 mm, 25.0 % black\n"));
  EXPECT_THAT(report.text, HasSubstr("\n       508  LF                 0A                         "
                                     " line feed, 4.2 mm\n"));
  EXPECT_THAT(report.text, Not(HasSubstr(" x ")));
}

TEST(Inspect, ALowerBandEndsARunAndSoDoesAnotherWidth) {
  const Report report = inspect(joined({band(2, 96, 0), band(2, 96, 0), band(2, 4, 0),
                                        band(2, 96, 0), band(2, 4, 0), band(3, 4, 0)}));
  EXPECT_THAT(report.text, HasSubstr("GS v 0 x 3         1D 76 30 00 02 00 60 00 ... bands, "
                                     "together 196 rows"));
  EXPECT_THAT(report.text, HasSubstr("GS v 0 x 2         1D 76 30 00 02 00 60 00 ... bands, "
                                     "together 100 rows"));
  EXPECT_THAT(report.text,
              HasSubstr("GS v 0             1D 76 30 00 03 00 04 00 ... band of 4 rows"));
  EXPECT_THAT(report.text, HasSubstr("  rows      300 rows of 2 to 3 bytes\n"));
}

TEST(Inspect, ARecordIsCalledARecord) {
  const Report report = inspect(band(2, 96, 0x01));
  EXPECT_EQ(report.status, kExitDone);
  EXPECT_THAT(report.text, HasSubstr("job.bin: command record (raster bands alone"));
  EXPECT_THAT(report.text, HasSubstr("heaviest band 12.5 % at offset 0, band 1\n"));
  EXPECT_THAT(report.text, Not(HasSubstr("pages")));
  EXPECT_THAT(report.text, Not(HasSubstr("cuts")));
}

TEST(Inspect, DamageIsListedWhereItIs) {
  const Report report = inspect(joined(
      {jobStart(), hex("1B 99"), band(1, 2, 0), hex("1B 4A A0 1D 76 30 00 01 00 09 00 01")}));
  EXPECT_EQ(report.status, kExitFindings);
  EXPECT_EQ(report.error, "");
  EXPECT_THAT(report.text,
              HasSubstr("\n        76  ?                  1B 99                      "
                        " unknown bytes 1B 99 1D 76 30 00 01 00 ..., 2 bytes skipped\n"));
  EXPECT_THAT(report.text, HasSubstr("\n        91  GS v 0             1D 76 30 00 01 00 09 00 ... "
                                     "the stream ends inside GS v 0, which takes 17 bytes; only 9"
                                     " are there\n"));
  EXPECT_THAT(report.text, HasSubstr("\nWarnings\n  offset 76: unknown bytes "));
  EXPECT_THAT(report.text, HasSubstr("\n  offset 91: the stream ends inside GS v 0"));
}

TEST(Inspect, TellsThatMoreWarningsWereCounted) {
  Bytes stream = jobStart();
  for (int i = 0; i < 130; ++i) append(stream, hex("1B 40 0A 99"));
  append(stream, hex("1B 40 1B 76"));
  const Report report = inspect(stream);
  EXPECT_THAT(report.text, HasSubstr("\n  30 more of the kind unknown-bytes\n"));
  EXPECT_EQ(inspectJson(stream)["warningCounts"]["unknown-bytes"], 130);
  EXPECT_EQ(inspectJson(stream)["warnings"].size(), 100U);
}

TEST(Inspect, NoJobIsAFailureThatWritesNothing) {
  for (const bool asJson : {false, true}) {
    InspectOptions options;
    options.json = asJson;
    for (const Bytes& stream : {Bytes{}, Bytes(500, 0), hex("89 50 4E 47 0D 0A 1A 0A 00")}) {
      const Report report = inspect(stream, options);
      EXPECT_EQ(report.status, kExitFailed);
      EXPECT_EQ(report.text, "");
      EXPECT_THAT(report.error, HasSubstr("not a job"));
    }
  }
}

TEST(Inspect, UnitsAndResolutionAreNamed) {
  InspectOptions options;
  options.printer.scale = {
      .dotsAcross = 203, .dotsAlong = 203, .unitsPerInch = 406, .linesPerInch = 8};
  EXPECT_THAT(
      inspect(wholeJob(), options).text,
      HasSubstr("paper     64.3 mm: picture 24.5 mm at 203 dpi, feeds 39.7 mm with a unit of"
                " 1/406 inch and a line of 1/8 inch\n"));
  EXPECT_THAT(inspect(hex("1B 40 1C 70 01 00 1B 76")).text,
              HasSubstr("1/6 inch; the height of logos is not known\n"));
}

// 20 rows as wide as the head of the receipt printer of 58 mm and 203 dpi, and of none.
TEST(Inspect, AnAssumedResolutionIsToldAndTakenFromTheWidthOfTheHead) {
  InspectOptions options;
  options.printer.isAssumed = true;
  std::vector<uint8_t> job = hex("1B 40 1D 76 30 00 30 00 14 00");
  job.resize(job.size() + size_t{48} * 20, 0x11);
  job.push_back(0x1B);
  job.push_back(0x4A);
  job.push_back(203);
  EXPECT_THAT(inspect(job, options).text,
              HasSubstr("paper     27.9 mm: picture 2.5 mm at 203 dpi, feeds 25.4 mm with a unit of"
                        " 1/203 inch and a line of 1/6 inch\n"
                        "            203 dpi assumed, since the rows are as wide as the head of "
                        "dravr582; --dpi, --model or --ppd sets it\n"));
  EXPECT_EQ(inspectJson(job, options)["printer"]["dpiAlong"], 203);
  EXPECT_EQ(inspectJson(job, options)["printer"]["dpiAssumed"], true);
  EXPECT_THAT(inspect(wholeJob(), options).text,
              HasSubstr("\n            300 dpi assumed; --dpi, --model or --ppd sets it\n"));
}

TEST(Inspect, AFileNameStaysOnItsLine) {
  InspectOptions options;
  options.name = "a\nb";
  EXPECT_EQ(inspect(wholeJob(), options).text.substr(0, 5), "a?b: ");
  options.name = "\"\xFF\n";
  EXPECT_EQ(inspectJson(wholeJob(), options)["input"], "\"\xEF\xBF\xBD\n");
}

TEST(InspectJson, HasEveryCommand) {
  const json document = inspectJson(wholeJob());
  EXPECT_EQ(document["format"], "drav-inspect");
  EXPECT_EQ(document["formatVersion"], 1);
  EXPECT_EQ(document["input"], "job.bin");
  EXPECT_EQ(document["kind"], "job");
  EXPECT_EQ(document["bytes"], 515);
  EXPECT_EQ(document["printer"], json::parse(R"({"dpiAcross": 300, "dpiAlong": 300,
      "dpiAssumed": false, "unitsPerInch": 300.0, "linesPerInch": 6.0, "headBytes": null,
      "paper": null})"));
  EXPECT_EQ(document["status"], 0);
  const json& commands = document["commands"];
  ASSERT_EQ(commands.size(), 14U);  // four line feeds are one entry
  EXPECT_EQ(commands[0], json::parse(R"({"offset": 0, "length": 64, "count": 1,
      "kind": "padding", "name": "NUL padding", "bytes": "00 ...", "shortened": true,
      "meaning": "64 zero bytes to complete what an earlier job left unfinished", "parameters": []})"));
  EXPECT_EQ(commands[4], json::parse(R"({"offset": 76, "length": 5, "count": 1,
      "kind": "drawer-pulse", "name": "ESC p", "bytes": "1B 70 00 40 40", "shortened": false,
      "meaning": "pulse to drawer 1 (pin 2), 128 ms on, 128 ms off",
      "parameters": [0, 64, 64]})"));
  EXPECT_EQ(commands[6], json::parse(R"({"offset": 281, "length": 200, "count": 1,
      "kind": "raster-band", "name": "GS v 0", "bytes": "1D 76 30 00 02 00 60 00 ...",
      "shortened": true, "meaning": "band of 96 rows of 2 bytes (16 dots), 8.1 mm, 25.0 % black",
      "rows": 96, "bytesPerRow": 2, "coveragePercent": 25.0})"));
  EXPECT_EQ(commands[11], json::parse(R"({"offset": 506, "length": 4, "count": 4,
      "kind": "line-feed", "name": "LF", "bytes": "0A", "shortened": false,
      "meaning": "line feed, 4.2 mm each, 16.9 mm together", "parameters": [],
      "feedMm": 16.933})"));
  InspectOptions options;
  options.all = true;
  EXPECT_EQ(inspectJson(wholeJob(), options)["commands"].size(), 17U);
}

TEST(InspectJson, HasPagesTotalsAndNoWarnings) {
  const json document = inspectJson(wholeJob());
  EXPECT_EQ(document["pages"], json::parse(R"([{"number": 1, "offset": 81, "bands": 3,
      "rows": 196, "bytesPerRow": 2, "lengthMm": 16.595, "savedMm": null, "coveragePercent": 18.622,
      "heaviestBand": {"offset": 281, "page": 1, "band": 2, "coveragePercent": 25.0}}])"));
  EXPECT_EQ(document["totals"], json::parse(R"({"jobs": 1, "pages": 1, "commands": 17,
      "bands": 3, "rows": 196, "leastBytesPerRow": 2, "mostBytesPerRow": 2,
      "paperMm": 69.935, "pictureMm": 16.595, "feedMm": 53.34, "savedMm": null, "coveragePercent": 18.622,
      "heaviestBand": {"offset": 281, "page": 1, "band": 2, "coveragePercent": 25.0},
      "partialCuts": 1, "fullCuts": 0, "drawerPulses": 1, "buzzers": 0, "logos": 0,
      "skippedBytes": 0})"));
  EXPECT_EQ(document["warnings"], json::array());
  EXPECT_EQ(document["warningCounts"].size(), 10U);
  EXPECT_EQ(document["warningCounts"]["heavy-job"], 0);
}

TEST(InspectJson, HasDamageAndWarnings) {
  const json document = inspectJson(joined(
      {jobStart(), hex("1B 99"), band(1, 2, 0), hex("1B 4A A0 1D 76 30 00 01 00 09 00 01")}));
  EXPECT_EQ(document["status"], 1);
  EXPECT_EQ(document["commands"][4], json::parse(R"({"offset": 76, "length": 2, "count": 1,
      "kind": "unknown-bytes", "name": null, "bytes": "1B 99", "shortened": false,
      "meaning": "unknown bytes 1B 99 1D 76 30 00 01 00 ..., 2 bytes skipped"})"));
  EXPECT_EQ(document["commands"][7]["kind"], "unfinished-band");
  EXPECT_EQ(document["warnings"][0], json::parse(R"({"kind": "unknown-bytes", "offset": 76,
      "text": "unknown bytes 1B 99 1D 76 30 00 01 00 ..., skipped up to offset 78"})"));
  EXPECT_EQ(document["warnings"][1]["kind"], "unfinished-band");
  EXPECT_EQ(document["warnings"].size(), 2U);
  EXPECT_EQ(document["warningCounts"]["unknown-bytes"], 1);
  EXPECT_EQ(document["totals"]["skippedBytes"], 2);
  EXPECT_EQ(inspectJson(joined({jobStart(), hex("1B 76 1B")}))["commands"][5]["kind"],
            "unfinished-command");
}

TEST(InspectJson, ARecordHasNoPages) {
  InspectOptions options;
  options.printer.headBytes = 300;
  const json document = inspectJson(joined({band(2, 96, 0x01), band(2, 4, 0x01)}), options);
  EXPECT_EQ(document["kind"], "record");
  EXPECT_EQ(document["pages"], json::array());
  EXPECT_EQ(document["totals"]["pages"], nullptr);
  EXPECT_EQ(document["totals"]["jobs"], nullptr);
  EXPECT_EQ(document["totals"]["heaviestBand"], json::parse(R"({"offset": 0, "page": null,
      "band": 1, "coveragePercent": 12.5})"));
  EXPECT_EQ(document["printer"]["headBytes"], 300);
  EXPECT_EQ(document["status"], 0);
}

}  // namespace
