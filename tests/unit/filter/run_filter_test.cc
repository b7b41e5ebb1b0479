// SPDX-License-Identifier: Apache-2.0
#include "filter/run_filter.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "tests/model/page_patterns.h"
#include "tests/support/log_capture.h"
#include "tests/unit/filter/filter_fixture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// The zero bytes and the job setup of a driver file without options.
Bytes bareJobStart() {
  Bytes bytes(64, 0);
  append(bytes, hex("1B 40, 1F 1B 1F 13 14 00, 1B 24 01 00"));
  return bytes;
}

class RunFilterTest : public FilterFixture {};

TEST(FilterEnvironmentTest, DefaultsAreThoseOfTheProgram) {
  const FilterEnvironment environment;
  EXPECT_EQ(environment.standardInput, 0);
  EXPECT_EQ(environment.standardOutput, stdout);
  EXPECT_EQ(environment.dumpFolder, "/var/spool/cups/tmp");
  EXPECT_FALSE(environment.cancelRequested());
  EXPECT_NEAR(static_cast<double>(environment.clock()), static_cast<double>(std::time(nullptr)),
              2.0);
}

TEST_F(RunFilterTest, WrongNumberOfArgumentsPrintsTheUsage) {
  const std::string usage =
      "rastertodrav v3.13.34\n\nUsage:\n\n    rastertodrav job_id user title copyies options "
      "[file]\n\n";
  std::vector<std::string> texts = {
      "/usr/lib/cups/filter/rastertodrav", "1", "lp", "title", "1", "", "page.ras", "more"};
  std::vector<char*> argv;
  for (std::string& text : texts) argv.push_back(text.data());
  for (const int argc : {1, 2, 5, 8}) {
    const MemoryStream out;
    environment_.standardOutput = out.get();
    int status = -1;
    EXPECT_EQ(captureLogText([&] { status = runFilter(argc, argv.data(), environment_); }), usage)
        << argc;
    EXPECT_EQ(status, 1) << argc;
    EXPECT_TRUE(out.bytes().empty()) << argc;
  }
}

TEST_F(RunFilterTest, UsageNamesTheProgramByTheLastPartOfItsPath) {
  std::string name = "C:\\filters\\drav";
  char* const argv[] = {name.data(), nullptr};
  EXPECT_THAT(captureLogText([&] { EXPECT_EQ(runFilter(1, argv, environment_), 1); }),
              StartsWith("drav v3.13.34\n\nUsage:\n\n    drav job_id "));
  char* const nothing[] = {nullptr};
  EXPECT_THAT(captureLogText([&] { EXPECT_EQ(runFilter(0, nothing, environment_), 1); }),
              HasSubstr("job_id user title copyies options [file]\n\n"));
}

TEST_F(RunFilterTest, FileThatCannotBeOpenedIsReportedAfterAPause) {
  const auto begin = std::chrono::steady_clock::now();
  const FilterResult result =
      runWith({"17", "lp", "stencil", "1", "", folder_.file("missing.ras")}, -1);
  const auto pause = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(pause, std::chrono::milliseconds(950));
  EXPECT_THAT(result.log, ElementsAre("ERROR:Unable to open raster file!"));
  EXPECT_TRUE(result.out.empty());
  EXPECT_EQ(result.status, 1);
}

TEST_F(RunFilterTest, OnePageWithEveryCommandReadsByteForByte) {
  model::JobSettings settings;
  settings.printDensity = 3;
  settings.cashDrawer1Setting = 1;
  settings.cashDrawer2Setting = 0;
  settings.documentBuzzerSetting = 2;
  settings.pageBuzzerSetting = 0;
  settings.buzzerRepeat = 2;
  settings.buzzerOnTime = 3;
  settings.docTopLogoID = 1;
  settings.docTopLogoMode = 0;
  settings.docTopLogoPosition = 1;
  settings.docBottomLogoID = 0;
  settings.pageCutType = 0;
  settings.docCutType = 1;
  settings.feedCutAfterJobEnd = 3;
  describe(settings);
  model::RasterPage page = rasterPage(model::makeGrey(8, 2, 0));
  page.pixels[0] = 255;
  page.pixels[15] = 255;
  const FilterResult result = run({page});
  Bytes expected(64, 0);
  append(expected, hex("1B 40, 1F 1B 1F 13 14 03, 1B 70 00 40 40, 1B 61 01, 1C 70 01 00, "
                       "1B 61 00, 1B 24 01 00"));
  append(expected, hex("1D 76 30 00 01 00 02 00 80 01"));
  append(expected, hex("1B 4A A0"));
  append(expected, hex("1B 4A 78, 1B 64 03, 0A 0A 0A 0A 1D 56 01, 1B 42 02 03, 1B 76"));
  EXPECT_TRUE(sameBytes(expected, result.out));
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.log, Contains("DEBUG:PAGE: 1 1"));
  EXPECT_EQ(result.log.back(), "DEBUG:Ready to print.");
}

TEST_F(RunFilterTest, InputWithoutPagesSendsTheJobStartAlone) {
  for (const Bytes& raster : {Bytes{}, rawRaster({}), Bytes(3, 'x'), Bytes(5000, 'x')}) {
    const FilterResult result = run(raster);
    EXPECT_TRUE(sameBytes(bareJobStart(), result.out));
    EXPECT_THAT(result.log, ElementsAre("ERROR:No pages found!"));
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.pictures.empty());
  }
}

TEST_F(RunFilterTest, ShortFirstHeaderIsNoPage) {
  Bytes raster = rawRaster({patternPage("text", 8, 8)});
  raster.resize(4 + 1000);
  const FilterResult result = run(raster);
  EXPECT_TRUE(sameBytes(bareJobStart(), result.out));
  EXPECT_THAT(result.log, ElementsAre("ERROR:No pages found!"));
  EXPECT_EQ(result.status, 1);
}

TEST_F(RunFilterTest, OtherDepthsStopTheJobBehindTheEarlierPages) {
  for (const uint32_t bits : {1U, 2U, 16U, 24U, 32U}) {
    SCOPED_TRACE(bits);
    model::RasterPage odd = patternPage("text", 24, 10);
    odd.bitsPerPixel = bits;
    model::JobSettings settings;
    settings.pageCutType = 1;
    settings.docCutType = 2;
    const std::string line = "ERROR:Unsupported bits per pixel : " + std::to_string(bits) +
                             " ! Requires 8 bits per pixel!";
    expectAsModel(settings, {odd});
    describe(settings);
    const FilterResult result = run({patternPage("text", 16, 10), odd, patternPage("text", 8, 8)});
    EXPECT_EQ(result.log.back(), line);
    EXPECT_THAT(result.log, Contains("DEBUG:PAGE: 1 1"));
    EXPECT_THAT(result.log, Not(Contains("DEBUG:PAGE: 2 1")));
    EXPECT_EQ(result.status, 1);
    const Bytes end(result.out.end() - 10, result.out.end());
    EXPECT_TRUE(sameBytes(hex("1B 4A A0, 0A 0A 0A 0A 1D 56 01"), end)) << "the page's end";
    expectAsModel(settings, {patternPage("text", 16, 10), odd, patternPage("text", 8, 8)});
  }
}

TEST_F(RunFilterTest, PageWithoutRowsOrBytesEndsTheInput) {
  model::RasterPage flat = patternPage("text", 8, 8);
  flat.height = 0;
  flat.pixels.clear();
  model::RasterPage thin = patternPage("text", 8, 8);
  thin.bytesPerLine = 0;
  thin.cupsWidth = 0;
  thin.pixels.clear();
  for (const model::RasterPage& page : {flat, thin}) {
    expectAsModel({}, {page});
    expectAsModel({}, {patternPage("text", 8, 8), page, patternPage("photo", 8, 8)});
    const FilterResult result = run({patternPage("text", 8, 8), page});
    EXPECT_EQ(result.log.back(), "DEBUG:Ready to print.");
    EXPECT_EQ(result.status, 0);
  }
}

TEST_F(RunFilterTest, PictureWiderThanItsRowsIsRefusedWithItsFields) {
  model::RasterPage page = patternPage("text", 8, 8);
  page.cupsWidth = 9;
  expectAsModel({}, {page});
  const FilterResult result = run({page});
  ASSERT_EQ(result.log.size(), 1U);
  EXPECT_THAT(result.log[0], StartsWith("ERROR:"));
  EXPECT_THAT(result.log[0], HasSubstr("cupsWidth(9)"));
  EXPECT_THAT(result.log[0], HasSubstr("cupsBytesPerLine(8)"));
  EXPECT_TRUE(sameBytes(bareJobStart(), result.out));
  expectAsModel({}, {patternPage("photo", 30, 100), page, patternPage("text", 8, 8)});
}

TEST_F(RunFilterTest, PageBeyondThirtyTwoBitsIsRefused) {
  model::RasterPage page = patternPage("text", 8, 8);
  page.bytesPerLine = 65536;
  page.height = 65537;
  expectAsModel({}, {page});
  expectAsModel({}, {patternPage("photo", 30, 20), page});
  page.height = 0xFFFFFFFF;
  expectAsModel({}, {page});
}

TEST_F(RunFilterTest, PageSizeThatWrapsToZeroEndsTheInputLikeAFailedRead) {
  model::RasterPage page = patternPage("text", 8, 8);
  page.bytesPerLine = 65536;
  page.height = 65536;
  model::JobSettings settings;
  settings.pageBuzzerSetting = 1;
  settings.docCutType = 2;
  expectAsModel(settings, {page});
  expectAsModel(settings, {patternPage("photo", 30, 20), page, patternPage("text", 8, 8)});
  describe(settings);
  const FilterResult result = run({page});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.log, Contains("DEBUG:PAGE: 1 1"));
  EXPECT_THAT(result.log, Not(Contains(HasSubstr("printImage"))));
}

TEST_F(RunFilterTest, CutOffPixelsEndTheJobWithoutAPageEnd) {
  model::JobSettings settings;
  settings.pageBuzzerSetting = 1;
  settings.pageCutType = 1;
  settings.docCutType = 2;
  for (const size_t present : {size_t{0}, size_t{1}, size_t{799}}) {
    SCOPED_TRACE(present);
    model::RasterPage page = patternPage("photo", 40, 20);
    page.pixels.resize(present);
    expectAsModel(settings, {page}, true);
    expectAsModel(settings, {patternPage("photo", 30, 120), page}, true);
  }
}

TEST_F(RunFilterTest, PageOfWidthZeroFailsAndItsEndFollows) {
  model::RasterPage page = patternPage("full", 16, 10);
  page.cupsWidth = 0;
  expectAsModel({}, {page});
  expectAsModel({}, {patternPage("photo", 16, 10), page, patternPage("text", 16, 10)});
  const FilterResult result = run({page});
  EXPECT_THAT(result.log, Contains("CRIT:paletteImage.CreateFromArray with grey failed!"));
  EXPECT_THAT(result.log, Contains("ERROR:printImage: pimage is NULL, unable to print the image"));
  EXPECT_EQ(result.status, 0);
}

TEST_F(RunFilterTest, RowsLongerThanThePictureArePrintedFromTheirStart) {
  for (const int type : {0, 3, 8, 9}) {
    model::JobSettings settings;
    settings.halftoneType = type;
    expectAsModel(settings,
                  {patternPage("photo", 30, 25, 1, 37), patternPage("noise", 1, 5, 2, 9)});
  }
}

TEST_F(RunFilterTest, RightEdgeBeyondTheHeadIsSkipped) {
  model::JobSettings settings;
  settings.maxMediaWidth = 576.0;
  struct Row {
    int width;
    uint32_t resolution;
    const char* skipLine;
    const char* packLine;
  };
  for (const Row& row :
       {Row{1700, 203, "DEBUG:Calc skip pixels : maxMediaLinePixels(1624), cupsBytesPerLine(1700)",
            "DEBUG:GrayToMono, bpl(1700), h(3), skipPixels(76), wb(1624)"},
        Row{1624, 203, "DEBUG:Calc skip pixels : maxMediaLinePixels(1624), cupsBytesPerLine(1624)",
            "DEBUG:GrayToMono, bpl(1624), h(3), skipPixels(0), wb(1624)"},
        Row{2479, 300, "DEBUG:Calc skip pixels : maxMediaLinePixels(2400), cupsBytesPerLine(2479)",
            "DEBUG:GrayToMono, bpl(2480), h(3), skipPixels(79), wb(2401)"}}) {
    SCOPED_TRACE(row.width);
    model::RasterPage page = patternPage("noise", row.width, 3);
    page.hwResolution = row.resolution;
    describe(settings);
    const FilterResult result = run({page});
    EXPECT_THAT(result.log, Contains(row.skipLine));
    EXPECT_THAT(result.log, Contains(row.packLine));
    expectAsModel(settings, {page});
  }
}

TEST_F(RunFilterTest, HeadLimitThatIsNoUsableNumberSkipsNothing) {
  for (const char* width : {"inf", "nan", "-576", "0", "none"}) {
    ppd_ = PpdBuilder().attribute("MaxMediaWidth", width);
    const FilterResult result = run({patternPage("text", 40, 2)});
    EXPECT_THAT(result.log,
                Contains("DEBUG:Calc skip pixels : maxMediaLinePixels(0), cupsBytesPerLine(40)"))
        << width;
    EXPECT_THAT(result.log, Contains("DEBUG:GrayToMono, bpl(40), h(2), skipPixels(0), wb(40)"))
        << width;
  }
}

TEST_F(RunFilterTest, PagesThatGrowAndShrinkAreEachPrintedWhole) {
  expectAsModel({}, {patternPage("noise", 10, 10, 1), patternPage("noise", 200, 150, 2),
                     patternPage("noise", 7, 3, 3), patternPage("noise", 201, 150, 4),
                     patternPage("noise", 10, 10, 5)});
}

TEST_F(RunFilterTest, PageLineCountsPagesAndNamesTheCopies) {
  model::RasterPage first = patternPage("text", 8, 2);
  first.numCopies = 3;
  model::RasterPage second = patternPage("text", 8, 2);
  second.numCopies = 0xFFFFFFFF;
  const FilterResult result = run({first, second});
  EXPECT_THAT(result.log, Contains("DEBUG:PAGE: 1 3"));
  EXPECT_THAT(result.log, Contains("DEBUG:PAGE: 2 -1"));
}

TEST_F(RunFilterTest, CopiesAreTheSpoolersBusiness) {
  writeFile(folder_.file("page.ras"), rawRaster({patternPage("text", 16, 4)}));
  const std::string file = folder_.file("page.ras");
  const FilterResult one = runWith({"17", "lp", "stencil", "1", "", file}, -1);
  const FilterResult five = runWith({"17", "lp", "stencil", "5", "", file}, -1);
  EXPECT_EQ(one.status, 0);
  EXPECT_TRUE(sameBytes(one.out, five.out));
}

TEST_F(RunFilterTest, FileArgumentIsReadInsteadOfStandardInputAndClosed) {
  const std::vector<model::RasterPage> pages = {patternPage("photo", 33, 12)};
  const std::string file = folder_.file("named.ras");
  writeRaster(file, pages);
  const int before = openDescriptors();
  const FilterResult result = runWith({"17", "lp", "stencil", "1", "", file}, -1);
  EXPECT_EQ(openDescriptors(), before);
  expectSame(model::runJob({}, pages), result);
}

TEST_F(RunFilterTest, NothingStaysOpenOnAnyPath) {
  model::JobSettings settings;
  describe(settings, true);
  model::RasterPage odd = patternPage("text", 8, 8);
  odd.bitsPerPixel = 1;
  model::RasterPage cut = patternPage("text", 8, 8);
  cut.pixels.resize(5);
  const model::RasterPage good = patternPage("text", 8, 8);
  for (const std::vector<model::RasterPage>& pages :
       {std::vector<model::RasterPage>{}, {good}, {good, odd}, {good, cut}, {odd}}) {
    const int before = openDescriptors();
    run(pages);
    EXPECT_EQ(openDescriptors(), before);
  }
  ppd_.pageSizes({});
  const int before = openDescriptors();
  run({good});
  EXPECT_EQ(openDescriptors(), before);
}

TEST_F(RunFilterTest, PpdThatIsMissingOrLacksPageSizePrintsNothing) {
  ppd_.pageSizes({});
  const FilterResult result = run({patternPage("text", 8, 8)});
  EXPECT_THAT(result.log, ElementsAre(StartsWith("ERROR:")));
  EXPECT_TRUE(result.out.empty());
  EXPECT_TRUE(result.pictures.empty());
  EXPECT_EQ(result.status, 1);

  const ScopedEnv noPpd("PPD", std::nullopt);
  const MemoryStream out;
  environment_.standardOutput = out.get();
  environment_.standardInput = -1;
  environment_.dumpFolder = folder_.file("missing");
  std::vector<std::string> texts = {"rastertodrav", "1", "lp", "title", "1", ""};
  std::vector<char*> argv;
  for (std::string& text : texts) argv.push_back(text.data());
  int status = -1;
  EXPECT_THAT(captureLog([&] { status = runFilter(6, argv.data(), environment_); }),
              ElementsAre(StartsWith("ERROR:")));
  EXPECT_TRUE(out.bytes().empty());
  EXPECT_EQ(status, 1);
}

TEST_F(RunFilterTest, RecordFileHoldsTheBandsAloneAndIsForItsOwner) {
  model::JobSettings settings;
  settings.pageCutType = 2;
  describe(settings, true);
  const std::vector<model::RasterPage> pages = {patternPage("text", 20, 100),
                                                patternPage("photo", 9, 3)};
  const FilterResult result = run(pages);
  const model::JobResult expected = model::runJob(settings, pages);
  expectSame(expected, result);
  EXPECT_TRUE(result.hasRecord);
  EXPECT_THAT(result.log, Contains("DEBUG:Filter data output to: " + recordPath()));
  struct stat status = {};
  ASSERT_EQ(stat(recordPath().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, mode_t{0600});
}

TEST_F(RunFilterTest, EachPageIsInItsFilesBeforeTheNextOneIsRead) {
  const std::vector<model::RasterPage> pages = {patternPage("text", 40, 100),
                                                patternPage("noise", 24, 50)};
  model::JobSettings settings;
  describe(settings, true);
  constexpr uint64_t kJobEnd = 2;  // ESC v, which goes out after the last page
  const model::JobResult first = model::runJob(settings, {pages[0]});
  const model::JobResult both = model::runJob(settings, pages);

  const std::string printed = folder_.file("printed");
  std::FILE* out = std::fopen(printed.c_str(), "wb");
  ASSERT_NE(out, nullptr);
  ownOutput_ = out;
  using Sizes = std::pair<uint64_t, uint64_t>;  // of the printer bytes and of the record
  std::vector<Sizes> seen;
  cancel_ = [&](int) {
    std::error_code missing;
    seen.emplace_back(std::filesystem::file_size(printed),
                      std::filesystem::file_size(recordPath(), missing));
    return false;
  };
  EXPECT_EQ(run(pages).status, 0);
  EXPECT_EQ(std::filesystem::file_size(printed), both.stdoutBytes.size())
      << "the job's end is sent although the stream stays open";
  std::fclose(out);
  EXPECT_THAT(seen, Contains(Sizes(first.stdoutBytes.size() - kJobEnd, first.recordBytes.size())));
  EXPECT_EQ(seen.back(), Sizes(both.stdoutBytes.size() - kJobEnd, both.recordBytes.size()));
}

TEST_F(RunFilterTest, RecordFileCanBeRefusedByTheCaller) {
  model::JobSettings settings;
  describe(settings, true);
  environment_.keepRecord = false;
  const std::vector<model::RasterPage> pages = {patternPage("text", 20, 100)};
  const FilterResult result = run(pages);
  EXPECT_EQ(result.status, 0);
  EXPECT_FALSE(result.hasRecord);
  EXPECT_THAT(result.log, Not(Contains(StartsWith("DEBUG:Filter data output to"))));
  EXPECT_TRUE(sameBytes(model::runJob(settings, pages).stdoutBytes, result.out));
}

TEST_F(RunFilterTest, RecordFileOfAJobWithoutPagesIsEmpty) {
  model::JobSettings settings;
  describe(settings, true);
  const FilterResult result = run(std::vector<model::RasterPage>{});
  EXPECT_TRUE(result.hasRecord);
  EXPECT_TRUE(result.record.empty());
  EXPECT_THAT(jobLog(result),
              ElementsAre("DEBUG:Filter data output to: " + recordPath(), "ERROR:No pages found!"));
}

TEST_F(RunFilterTest, ColourSpaceOtherThanBlackIsWarnedOfOnceAndPrinted) {
  model::RasterPage white = patternPage("text", 16, 8);
  white.colorSpace = 0;
  model::RasterPage grey = patternPage("photo", 16, 8);
  grey.colorSpace = 18;
  const model::RasterPage black = patternPage("noise", 16, 8);
  expectAsModel({}, {black, white, grey, black, white});
  const FilterResult result = run({black, white, grey, black, white});
  EXPECT_EQ(countLines(result.log, "WARN:"), 1U);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(countLines(run({black, black}).log, "WARN:"), 0U);
}

TEST_F(RunFilterTest, EveryKindOfRasterStreamPrintsTheSame) {
  std::vector<model::RasterPage> pages = {patternPage("text", 33, 40), patternPage("noise", 50, 3)};
  const model::JobResult expected = model::runJob({}, pages);
  expectSame(expected, run(rawRaster(pages)));
  expectSame(expected, run(swappedRaster(pages)));
  writeRaster(folder_.file("plain.ras"), pages);
  expectSame(expected, run(readFile(folder_.file("plain.ras"))));
  writeRaster(folder_.file("compressed.ras"), pages, CUPS_RASTER_WRITE_COMPRESSED);
  const Bytes compressed = readFile(folder_.file("compressed.ras"));
  EXPECT_NE(compressed, rawRaster(pages));
  expectSame(expected, run(compressed));
  expectSame(expected, run(version1Raster(pages)));
}

TEST_F(RunFilterTest, PixelsMayComeThroughAPipeInPieces) {
  const std::vector<model::RasterPage> pages = {patternPage("photo", 60, 40)};
  const Bytes raster = rawRaster(pages);
  int ends[2] = {-1, -1};
  ASSERT_EQ(pipe(ends), 0);
  // All of it fits a pipe's buffer; what libcups reads at once does not follow
  // the pages.
  ASSERT_LT(raster.size(), 16384U);
  ASSERT_EQ(write(ends[1], raster.data(), 1000), 1000);
  ASSERT_EQ(write(ends[1], raster.data() + 1000, raster.size() - 1000),
            static_cast<ssize_t>(raster.size() - 1000));
  close(ends[1]);
  expectSame(model::runJob({}, pages), runWith({"1", "lp", "title", "1", ""}, ends[0]));
  close(ends[0]);
}

TEST_F(RunFilterTest, PicturesCarryTheTimeOfTheClock) {
  const FilterResult result = run({patternPage("text", 8, 4), patternPage("text", 8, 4)});
  ASSERT_EQ(result.pictures.size(), 4U);
  for (const SavedPicture& picture : result.pictures) {
    EXPECT_EQ(picture.stamp, "2025-1-31_23_59_59");
  }
}

TEST_F(RunFilterTest, MissingFolderOfThePicturesDoesNotStopThePage) {
  model::JobSettings settings;
  settings.savesFail = true;
  settings.halftoneType = 8;
  expectAsModel(settings, {patternPage("photo", 24, 20), patternPage("text", 9, 9)});
}

}  // namespace
