// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/configured_queues.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "tests/support/files.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> namesOf(const std::vector<QueueState>& queues) {
  std::vector<std::string> names;
  for (const QueueState& queue : queues) names.push_back(queue.name);
  return names;
}

TEST(PrintersConf, QueuesAndTheirLines) {
  const std::vector<QueueState> queues = parsePrintersConf(
      "# comment\nNextPrinterId 3\n"
      "<Printer two>\nDeviceURI usb://A/B\nState Stopped\nStateMessage out of paper\n"
      "Reason media-empty\nReason paused\nAccepting No\n</Printer>\n"
      "DeviceURI of nobody\n"
      "<DefaultPrinter one>\nState Idle\nAccepting Yes\n</DefaultPrinter>\n");
  ASSERT_THAT(namesOf(queues), ElementsAre("one", "two"));
  EXPECT_EQ(queues[0].state, QueueState::State::kIdle);
  EXPECT_EQ(queues[0].accepting, true);
  EXPECT_EQ(queues[0].deviceUri, "");
  EXPECT_EQ(queues[1].state, QueueState::State::kStopped);
  EXPECT_EQ(queues[1].accepting, false);
  EXPECT_EQ(queues[1].deviceUri, "usb://A/B");
  EXPECT_EQ(queues[1].stateMessage, "out of paper");
  EXPECT_THAT(queues[1].reasons, ElementsAre("media-empty", "paused"));
}

TEST(PrintersConf, DamagedTextHasNoQueues) {
  for (const char* text : {"", "<Printer>", "<Printer ", "<Printer ../x>", "<Printer a", "\n\n<",
                           "DeviceURI", "<Printer >\nDeviceURI x\n</Printer>"})
    EXPECT_THAT(parsePrintersConf(text), IsEmpty()) << text;
}

TEST(QueueName, IsSafeInPathsAndCommands) {
  for (const char* name : {"a", "stencil", "Stencil_A4-2", "$x;y", "gr\xC3\xBCn", "a.b"})
    EXPECT_TRUE(isQueueName(name)) << name;
  for (const std::string& name :
       {std::string(), std::string("a b"), std::string("a/b"), std::string("../x"),
        std::string("a#"), std::string("-a"), std::string(".a"), std::string("a\nb"),
        std::string("a'b"), std::string(128, 'a'), std::string("a\0b", 3)})
    EXPECT_FALSE(isQueueName(name)) << name;
}

TEST(ConfiguredQueues, PpdFilesAloneMakeQueues) {
  const TempFolder folder;
  ASSERT_EQ(::mkdir(folder.file("ppd").c_str(), 0700), 0);
  writeFile(folder.file("ppd/stencil.ppd"), "text");
  writeFile(folder.file("ppd/stencil.ppd.O"), "old");
  writeFile(folder.file("ppd/bad name.ppd"), "x");
  ConfiguredQueues configured(folder.path());
  std::vector<QueueState> queues;
  std::string error;
  ASSERT_TRUE(configured.list(queues, error)) << error;
  ASSERT_THAT(namesOf(queues), ElementsAre("stencil"));
  EXPECT_EQ(queues[0].state, QueueState::State::kUnknown);
  std::string text;
  ASSERT_TRUE(configured.readPpd("stencil", text, error)) << error;
  EXPECT_EQ(text, "text");
  ASSERT_TRUE(configured.readPpd("none", text, error)) << error;
  EXPECT_EQ(text, "");
}

TEST(ConfiguredQueues, NothingThereIsNoQueue) {
  ConfiguredQueues configured("/none");
  std::vector<QueueState> queues(1);
  std::string error;
  EXPECT_TRUE(configured.list(queues, error));
  EXPECT_THAT(queues, IsEmpty());
}

}  // namespace
