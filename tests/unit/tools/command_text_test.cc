// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/job/command_text.h"

#include <gmock/gmock.h>

#include "proof/hex_text.h"
#include "tests/support/bytes.h"

namespace {

std::string meaningOf(const char* bytes, const PaperScale& scale = {}) {
  const Bytes stream = hex(bytes);
  JobStreamReader reader(stream);
  const auto command = reader.next();
  EXPECT_TRUE(command.has_value()) << bytes;
  return command ? commandMeaning(*command, scale) : "";
}

TEST(CommandText, TellsEachCommandInWords) {
  const std::pair<const char*, const char*> cases[] = {
      {"00 1B 40", "1 zero byte to complete what an earlier job left unfinished"},
      {"00 00 00 1B 40", "3 zero bytes to complete what an earlier job left unfinished"},
      {"1B 40", "initialise, a job begins"},
      {"1F 1B 1F 13 14 0C", "print density 12"},
      {"1F 1B 1F 13 14 FF", "print density 255 (setting missing)"},
      {"1B 70 00 40 40", "pulse to drawer 1 (pin 2), 128 ms on, 128 ms off"},
      {"1B 70 01 19 FA", "pulse to drawer 2 (pin 5), 50 ms on, 500 ms off"},
      {"1B 70 07 01 01", "pulse to unknown connector 7, 2 ms on, 2 ms off"},
      {"1B 42 02 03", "buzzer, times: 2, units of time each: 3"},
      {"1B 42 FF FF",
       "buzzer, times: 255 (setting missing), units of time each: 255 (setting missing)"},
      {"1B 61 00", "align left"},
      {"1B 61 01", "align centre"},
      {"1B 61 02", "align right"},
      {"1B 61 FF", "align, unknown position 255 (setting missing)"},
      {"1B 61 03", "align, unknown position 3"},
      {"1C 70 05 00", "print stored logo 5, normal size"},
      {"1C 70 01 01", "print stored logo 1, double width"},
      {"1C 70 01 02", "print stored logo 1, double height"},
      {"1C 70 01 03", "print stored logo 1, double width and height"},
      {"1C 70 01 FF", "print stored logo 1, unknown mode 255 (setting missing)"},
      {"1B 24 01 00", "print position 1 unit from the left"},
      {"1B 24 02 01", "print position 258 units from the left"},
      {"1B 4A A0", "feed 160 units, 13.5 mm"},
      {"1B 4A 01", "feed 1 unit, 0.1 mm"},
      {"1B 64 03", "feed 3 lines, 12.7 mm"},
      {"0A", "line feed, 4.2 mm"},
      {"1D 56 01", "partial cut"},
      {"1D 56 00", "full cut"},
      {"1D 76 30 00 02 00 03 00 A1 A2 B1 B2 C1 C2", "band of 3 rows of 2 bytes (16 dots)"},
      {"1D 76 30 00 01 00 01 00 A1", "band of 1 row of 1 byte (8 dots)"},
      {"1B 76", "ask for the paper sensor's status"},
  };
  for (const auto& [bytes, meaning] : cases) EXPECT_EQ(meaningOf(bytes), meaning) << bytes;
}

TEST(CommandText, FeedsFollowTheScale) {
  const PaperScale scale = {
      .dotsAcross = 203, .dotsAlong = 203, .unitsPerInch = 406, .linesPerInch = 8};
  EXPECT_EQ(meaningOf("1B 4A A0", scale), "feed 160 units, 10.0 mm");
  EXPECT_EQ(meaningOf("1B 64 08", scale), "feed 8 lines, 25.4 mm");
}

TEST(CommandText, EveryKindHasItsOwnKey) {
  std::vector<std::string> keys;
  for (int kind = 0; kind <= static_cast<int>(CommandKind::kStatusRequest); ++kind)
    keys.emplace_back(commandKey(static_cast<CommandKind>(kind)));
  EXPECT_THAT(keys, testing::ElementsAre("padding", "initialise", "density", "drawer-pulse",
                                         "buzzer", "align", "logo", "position", "feed-units",
                                         "feed-lines", "line-feed", "partial-cut", "full-cut",
                                         "raster-band", "status-request"));
}

TEST(HexText, ShortensWhatIsLong) {
  EXPECT_EQ(hexText({}, 3), "");
  EXPECT_EQ(hexText(hex("0A"), 3), "0A");
  EXPECT_EQ(hexText(hex("00 9F F0"), 3), "00 9F F0");
  EXPECT_EQ(hexText(hex("00 9F F0 01"), 3), "00 9F F0 ...");
}

TEST(PaperScale, RowsAndMillimetres) {
  EXPECT_DOUBLE_EQ(rowsToMillimetres(300, {}), 25.4);
  EXPECT_DOUBLE_EQ(
      rowsToMillimetres(203,
                        {.dotsAcross = 1, .dotsAlong = 203, .unitsPerInch = 1, .linesPerInch = 1}),
      25.4);
  EXPECT_EQ(fixedText(2.25, 1), "2.2");
  EXPECT_EQ(fixedText(1234567.0, 0), "1234567");
}

}  // namespace
