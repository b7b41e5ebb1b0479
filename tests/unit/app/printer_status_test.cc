// SPDX-License-Identifier: Apache-2.0
#include "app/printer_status.h"

#include <gmock/gmock.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace app {
namespace {

constexpr uint8_t kWell = 0x12;

std::optional<unsigned> statusOf(const std::map<int, uint8_t>& faults) {
  return askStatus([&](int question) -> std::optional<uint8_t> {
    const auto found = faults.find(question);
    return found == faults.end() ? kWell : found->second;
  });
}

TEST(PrinterStatus, EachBitMeansWhatItSays) {
  EXPECT_EQ(statusOf({}), 0U);
  EXPECT_EQ(statusOf({{2, 0x16}}), kStatusCoverOpen);
  EXPECT_EQ(statusOf({{2, 0x32}}), kStatusMediaEmpty);
  EXPECT_EQ(statusOf({{4, 0x72}}), kStatusMediaEmpty);
  EXPECT_EQ(statusOf({{4, 0x1e}}), kStatusMediaLow);
  EXPECT_EQ(statusOf({{4, 0x7e}}), kStatusMediaLow | kStatusMediaEmpty);
  EXPECT_EQ(statusOf({{3, 0x1a}}), kStatusCutterFault);
  EXPECT_EQ(statusOf({{3, 0x32}}), kStatusLastingFault);
  EXPECT_EQ(statusOf({{3, 0x52}}), kStatusPassingFault);
  EXPECT_EQ(statusOf({{2, 0x36}, {3, 0x1a}, {4, 0x1e}}),
            kStatusCoverOpen | kStatusMediaEmpty | kStatusCutterFault | kStatusMediaLow);
}

TEST(PrinterStatus, EachFaultHasWordsAndNothingElseHas) {
  std::set<std::string> texts;
  for (const unsigned fault : {kStatusCutterFault, kStatusLastingFault, kStatusPassingFault}) {
    ASSERT_NE(faultText(fault | kStatusMediaLow), nullptr) << fault;
    texts.insert(faultText(fault));
  }
  EXPECT_EQ(texts.size(), 3U);
  EXPECT_EQ(faultText(kStatusCoverOpen | kStatusMediaEmpty | kStatusMediaLow | kStatusOffline),
            nullptr);
}

TEST(PrinterStatus, ABitOfAnotherAnswerMeansNothing) {
  EXPECT_EQ(statusOf({{3, 0x16}}), 0U);
  EXPECT_EQ(statusOf({{4, 0x32}}), 0U);  // one of two bits
  EXPECT_EQ(statusOf({{2, 0x1a}}), 0U);
}

TEST(PrinterStatus, BytesThatAreNoAnswerAreNotBelieved) {
  int believed = 0;
  for (int byte = 0; byte < 256; ++byte)
    believed += statusOfAnswer(2, static_cast<uint8_t>(byte)).has_value() ? 1 : 0;
  EXPECT_EQ(believed, 16);
  for (const uint8_t byte : std::initializer_list<uint8_t>{0x00, 0xff, 0x10, 0x02, 0x92, 0x13})
    EXPECT_EQ(statusOf({{3, byte}}), std::nullopt) << int{byte};
}

TEST(PrinterStatus, AfterSilenceNoMoreIsAsked) {
  std::vector<int> asked;
  const auto status = askStatus([&](int question) -> std::optional<uint8_t> {
    asked.push_back(question);
    return question == 2 ? std::optional<uint8_t>(kWell) : std::nullopt;
  });
  EXPECT_EQ(status, std::nullopt);
  EXPECT_THAT(asked, testing::ElementsAre(2, 3));
}

}  // namespace
}  // namespace app
