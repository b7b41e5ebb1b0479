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

TEST(Cli, RendersAJob) {
  const TempFolder folder;
  writeFile(folder.file("job"), hex("1D 76 30 00 01 00 01 00 FF"));
  const Result result = run({"render", folder.file("job"), folder.file("a.png")});
  EXPECT_EQ(result.status, kExitDone);
  EXPECT_EQ(result.out, "8 x 1 dots, 1 bands\n");
  EXPECT_EQ(result.err, "");
  EXPECT_THAT(folder.names(), testing::ElementsAre("a.png", "job"));
}

TEST(Cli, BadInputIsStatusTwo) {
  const TempFolder folder;
  const Result result = run({"render", folder.file("none"), folder.file("a.png")});
  expectFailure(result);
  EXPECT_EQ(result.err, "drav: " + folder.file("none") + ": No such file or directory\n");
}

}  // namespace
