// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/cli.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "tests/support/files.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

struct Result {
  int status = -1;
  std::string out;
  std::string err;
};

Result run(const std::vector<std::string>& arguments) {
  std::vector<const char*> argv = {"drav"};
  for (const std::string& argument : arguments) argv.push_back(argument.c_str());
  const int argc = static_cast<int>(argv.size());
  argv.push_back(nullptr);
  Result result;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  result.status = runDrav(argc, argv.data());
  result.out = testing::internal::GetCapturedStdout();
  result.err = testing::internal::GetCapturedStderr();
  return result;
}

void expectFailure(const Result& result) {
  EXPECT_EQ(result.status, kExitFailed);
  EXPECT_EQ(result.out, "");
  EXPECT_THAT(result.err, StartsWith("drav: "));
  EXPECT_THAT(result.err, EndsWith("\n"));
  EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
}

TEST(Cli, PrintsItsVersion) {
  const Result result = run({"--version"});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_EQ(result.out, "drav " DRAV_VERSION "\n");
  EXPECT_EQ(result.err, "");
}

TEST(Cli, HelpHasExamples) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--help"}, {"-h"}, {"render", "--help"}}) {
    const Result result = run(arguments);
    EXPECT_EQ(result.status, kExitDone);
    EXPECT_THAT(result.out, HasSubstr("drav render job.bin job.png"));
    EXPECT_EQ(result.err, "");
  }
}

TEST(Cli, WrongUsageIsStatusTwoAndOneLine) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                    {"rendr"},
                                                    {"render"},
                                                    {"render", "a"},
                                                    {"render", "a", "b", "c"},
                                                    {"render", "--wide", "a", "b"},
                                                    {"--nonsense"},
                                                    {"new\nline"}})
    expectFailure(run(arguments));
}

TEST(Cli, AnUnknownCommandIsNamedWithTheNearest) {
  Result result = run({"prof", "x"});
  expectFailure(result);
  EXPECT_EQ(result.err,
            "drav: there is no command prof; the nearest is proof (drav --help tells more)\n");
  result = run({"zzz"});
  expectFailure(result);
  EXPECT_EQ(result.err, "drav: there is no command zzz (drav --help tells more)\n");
  result = run({"--nonsense"});
  expectFailure(result);
  EXPECT_EQ(result.err, "drav: there is no option --nonsense (drav --help tells more)\n");
}

TEST(Cli, RendersAJob) {
  const TempFolder folder;
  writeFile(folder.file("job"), hex("1D 76 30 00 01 00 01 00 FF"));
  const Result result = run({"render", folder.file("job"), folder.file("a.png")});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_EQ(result.out, "8 x 1 dots, 1 bands\n");
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(folder.names(), testing::ElementsAre("a.png", "job"));
}

TEST(Cli, RendersThePaper) {
  const TempFolder folder;
  writeFile(folder.file("job"), hex("1D 76 30 00 01 00 01 00 FF 1B 4A A0 0A 1D 56 01"));
  const Result result =
      run({"render", "--paper", "--dpi", "254", folder.file("job"), folder.file("a.png")});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_EQ(result.out, "8 x 203 dots, 1 bands, 20.3 mm of paper, cuts: 1, logos: 0\n");
}

TEST(Cli, InspectEndsWithWhatItFound) {
  const TempFolder folder;
  writeFile(folder.file("job"), hex("1B 40 1D 76 30 00 01 00 01 00 FF 1B 76"));
  const Result clean = run({"inspect", folder.file("job")});
  EXPECT_EQ(clean.status, kExitDone);
  EXPECT_EQ(clean.err, "");
  EXPECT_THAT(clean.out, StartsWith(folder.file("job") + ": job stream, 13 bytes\n"));
  EXPECT_THAT(clean.out, EndsWith("\nWarnings\n  none\n"));
  writeFile(folder.file("bad"), hex("1B 40 1D 76 30 00 01 00 01 00 FF 1B 76 99"));
  const Result warned = run({"inspect", "--json", folder.file("bad")});
  EXPECT_EQ(warned.status, kExitFindings);
  EXPECT_EQ(warned.err, "");
  EXPECT_THAT(warned.out, EndsWith("\n  \"status\": 1\n}\n"));
  writeFile(folder.file("none"), hex("99"));
  const Result none = run({"inspect", folder.file("none")});
  expectFailure(none);
  EXPECT_EQ(none.err, "drav: " + folder.file("none") +
                          ": not a job, 100.0 % of its bytes belong to no command: offset 0:"
                          " unknown bytes 99\n");
  expectFailure(run({"inspect", folder.file("missing")}));
  expectFailure(run({"inspect", "--ppd", folder.file("missing"), folder.file("job")}));
}

TEST(Cli, RatesOutOfRangeAreWrongUsage) {
  for (const std::vector<std::string>& more : {std::vector<std::string>{"--dpi", "0"},
                                               {"--dpi", "9601"},
                                               {"--dpi", "x"},
                                               {"--dpi", "-300"},
                                               {"--units-per-inch", "0"},
                                               {"--lines-per-inch", "0"},
                                               {"--lines-per-inch", "601"},
                                               {"--lines-per-inch", "nan"}}) {
    std::vector<std::string> arguments = {"inspect", "/dev/null"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const Result result = run(arguments);
    expectFailure(result);
    EXPECT_THAT(result.err, HasSubstr(more[0])) << more[1];
  }
}

TEST(Cli, BadInputIsStatusTwo) {
  const TempFolder folder;
  const Result result = run({"render", folder.file("none"), folder.file("a.png")});
  expectFailure(result);
  EXPECT_EQ(result.err, "drav: " + folder.file("none") + ": No such file or directory\n");
}

}  // namespace
