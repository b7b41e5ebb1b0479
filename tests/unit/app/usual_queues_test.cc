// SPDX-License-Identifier: Apache-2.0
#include "app/usual_queues.h"

#include <gmock/gmock.h>

namespace app {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<CommandLine> commandsFor(std::vector<const char*> arguments, std::string& error) {
  arguments.insert(arguments.begin(), "drav-printer-app");
  return usualQueues(arguments, error);
}

std::vector<CommandLine> commandsFor(const std::vector<const char*>& arguments) {
  std::string error;
  const std::vector<CommandLine> commands = commandsFor(arguments, error);
  EXPECT_EQ(error, "");
  return commands;
}

TEST(UsualQueues, AStencilPrinterHasOneForLinesAndOneForShading) {
  const char* const self = "drav-printer-app";
  EXPECT_THAT(
      commandsFor({"add", "-v", "socket://192.0.2.10", "-m", "dravsa43", "-o", "queues=usual"}),
      ElementsAre(
          ElementsAre(self, "add", "-v", "socket://192.0.2.10", "-m", "dravsa43", "-d",
                      "Stencil lines"),
          ElementsAre(self, "modify", "-o", "halftone-type=tattoo", "-d", "Stencil lines"),
          ElementsAre(self, "add", "-v", "socket://192.0.2.10", "-m", "dravsa43", "-d",
                      "Stencil shading"),
          ElementsAre(self, "modify", "-o", "halftone-type=tattoo-x8", "-d", "Stencil shading")));
}

TEST(UsualQueues, AReceiptPrinterHasOneThatTrimsItsPaper) {
  for (const char* model : {"dravr582", "dravr802", "DRAVR803"}) {
    const auto commands = commandsFor({"add", "-m", model, "-v", "usb://x", "-oqueues=usual"});
    ASSERT_EQ(commands.size(), 2U);
    EXPECT_THAT(commands[0], ElementsAre("drav-printer-app", "add", "-m", model, "-v", "usb://x",
                                         "-d", "Receipt"));
    EXPECT_THAT(commands[1],
                ElementsAre("drav-printer-app", "modify", "-o", "trim-paper=end", "-d", "Receipt"));
  }
}

TEST(UsualQueues, NameServerAndOtherOptionsAreKept) {
  const auto receipt = commandsFor({"add", "-d", "till", "-h", "localhost:8631", "-v", "usb://x",
                                    "-m", "dravr802", "-o", "a=1 queues=usual b=2"});
  ASSERT_EQ(receipt.size(), 2U);
  EXPECT_THAT(receipt[0], ElementsAre("drav-printer-app", "add", "-h", "localhost:8631", "-v",
                                      "usb://x", "-m", "dravr802", "-o", "a=1 b=2", "-d", "till"));
  EXPECT_THAT(receipt[1], ElementsAre("drav-printer-app", "modify", "-h", "localhost:8631", "-o",
                                      "trim-paper=end", "-d", "till"));
  const auto stencil =
      commandsFor({"add", "-dleft", "-v", "usb://x", "-m", "dravsa43", "-o", "queues=usual"});
  ASSERT_EQ(stencil.size(), 4U);
  EXPECT_EQ(stencil[0].back(), "left lines");
  EXPECT_EQ(stencil[3].back(), "left shading");
}

TEST(UsualQueues, OtherCommandsAreLeftAlone) {
  EXPECT_THAT(commandsFor({}), IsEmpty());
  EXPECT_THAT(commandsFor({"add", "-d", "x", "-v", "usb://x", "-m", "dravsa43"}), IsEmpty());
  EXPECT_THAT(commandsFor({"add", "-d", "x", "-o", "queues=usually"}), IsEmpty());
  EXPECT_THAT(commandsFor({"modify", "-d", "x", "-o", "queues=usual"}), IsEmpty());
}

TEST(UsualQueues, TheModelMustBeKnown) {
  for (const std::vector<const char*>& arguments :
       {std::vector<const char*>{"add", "-v", "usb://x", "-o", "queues=usual"},
        {"add", "-v", "usb://x", "-m", "other", "-o", "queues=usual"},
        {"add", "-o", "queues=usual", "-m"}}) {
    std::string error;
    EXPECT_THAT(commandsFor(arguments, error), IsEmpty());
    EXPECT_THAT(error, HasSubstr("-m"));
  }
}

}  // namespace
}  // namespace app
