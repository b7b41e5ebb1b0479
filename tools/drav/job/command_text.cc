// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/job/command_text.h"

#include <array>
#include <span>

namespace {

// A setting that the driver file lacks goes out as its low 8 bits, -1.
constexpr uint8_t kMissingSetting = 0xFF;

std::string parameterText(uint8_t value) {
  return std::to_string(value) + (value == kMissingSetting ? " (setting missing)" : "");
}

std::string plural(uint64_t count, const char* noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string drawerText(std::span<const uint8_t> parameters) {
  constexpr int kMillisecondsPerUnit = 2;
  std::string text = "unknown connector " + std::to_string(parameters[0]);
  if (parameters[0] == 0) text = "drawer 1 (pin 2)";
  if (parameters[0] == 1) text = "drawer 2 (pin 5)";
  return "pulse to " + text + ", " + std::to_string(parameters[1] * kMillisecondsPerUnit) +
         " ms on, " + std::to_string(parameters[2] * kMillisecondsPerUnit) + " ms off";
}

std::string alignText(uint8_t position) {
  constexpr std::array kAlignments = {"align left", "align centre", "align right"};
  return position < kAlignments.size() ? kAlignments[position]
                                       : "align, unknown position " + parameterText(position);
}

std::string logoText(std::span<const uint8_t> parameters) {
  constexpr std::array kModes = {"normal size", "double width", "double height",
                                 "double width and height"};
  const uint8_t mode = parameters[1];
  return "print stored logo " + std::to_string(parameters[0]) + ", " +
         (mode < kModes.size() ? kModes[mode] : "unknown mode " + parameterText(mode));
}

std::string feedText(const std::string& what, const JobCommand& command, const PaperScale& scale) {
  return what + ", " + fixedText(feedInches(command, scale) * kMillimetresPerInch, 1) + " mm";
}

}  // namespace

const char* commandKey(CommandKind kind) {
  switch (kind) {
    case CommandKind::kPadding:
      return "padding";
    case CommandKind::kInitialise:
      return "initialise";
    case CommandKind::kDensity:
      return "density";
    case CommandKind::kDrawerPulse:
      return "drawer-pulse";
    case CommandKind::kBuzzer:
      return "buzzer";
    case CommandKind::kAlign:
      return "align";
    case CommandKind::kLogo:
      return "logo";
    case CommandKind::kPosition:
      return "position";
    case CommandKind::kFeedUnits:
      return "feed-units";
    case CommandKind::kFeedLines:
      return "feed-lines";
    case CommandKind::kLineFeed:
      return "line-feed";
    case CommandKind::kPartialCut:
      return "partial-cut";
    case CommandKind::kFullCut:
      return "full-cut";
    case CommandKind::kRasterBand:
      return "raster-band";
    case CommandKind::kStatusRequest:
      return "status-request";
  }
  return "unknown";
}

std::string commandMeaning(const JobCommand& command, const PaperScale& scale) {
  const std::span<const uint8_t> parameters = command.parameters;
  switch (command.kind) {
    case CommandKind::kPadding:
      return plural(command.bytes.size(), "zero byte") +
             " to complete what an earlier job left unfinished";
    case CommandKind::kInitialise:
      return "initialise, a job begins";
    case CommandKind::kDensity:
      return "print density " + parameterText(parameters[0]);
    case CommandKind::kDrawerPulse:
      return drawerText(parameters);
    case CommandKind::kBuzzer:
      return "buzzer, times: " + parameterText(parameters[0]) +
             ", units of time each: " + parameterText(parameters[1]);
    case CommandKind::kAlign:
      return alignText(parameters[0]);
    case CommandKind::kLogo:
      return logoText(parameters);
    case CommandKind::kPosition:
      return "print position " + plural(parameters[0] + 256U * parameters[1], "unit") +
             " from the left";
    case CommandKind::kFeedUnits:
      return feedText("feed " + plural(parameters[0], "unit"), command, scale);
    case CommandKind::kFeedLines:
      return feedText("feed " + plural(parameters[0], "line"), command, scale);
    case CommandKind::kLineFeed:
      return feedText("line feed", command, scale);
    case CommandKind::kPartialCut:
      return "partial cut";
    case CommandKind::kFullCut:
      return "full cut";
    case CommandKind::kRasterBand:
      return "band of " + bandSizeText(command.rows, command.bytesPerRow);
    case CommandKind::kStatusRequest:
      return "ask for the paper sensor's status";
  }
  return "unknown command";
}

std::string bandSizeText(uint64_t rows, uint32_t bytesPerRow) {
  return plural(rows, "row") + " of " + plural(bytesPerRow, "byte") + " (" +
         std::to_string(uint64_t{bytesPerRow} * 8) + " dots)";
}
