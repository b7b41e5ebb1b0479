// SPDX-License-Identifier: Apache-2.0
#include "documents/page_options.h"

#include <array>
#include <charconv>
#include <optional>
#include <string>
#include <tuple>

namespace documents {
namespace {

constexpr uint32_t kMostPpi = 9600;

template <typename Value, size_t count>
std::optional<Value> lookUp(std::string_view text,
                            const std::array<std::pair<std::string_view, Value>, count>& table) {
  for (const auto& [name, value] : table)
    if (name == text) return value;
  return std::nullopt;
}

std::optional<uint32_t> number(std::string_view text, uint32_t least, uint32_t most) {
  uint32_t value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, failure] = std::from_chars(text.data(), end, value);
  if (failure != std::errc() || stop != end || value < least || value > most) return std::nullopt;
  return value;
}

// libcups gives "true" for an option without a value and "false" for one with "no" before it.
std::optional<bool> truth(std::string_view text) {
  constexpr std::array<std::pair<std::string_view, bool>, 8> kWords = {{{"true", true},
                                                                        {"yes", true},
                                                                        {"on", true},
                                                                        {"", true},
                                                                        {"1", true},
                                                                        {"false", false},
                                                                        {"no", false},
                                                                        {"off", false}}};
  return lookUp(text, kWords);
}

// "300" or "300x600".
std::optional<Density> density(std::string_view text) {
  const size_t cross = text.find('x');
  const auto x = number(text.substr(0, cross), 1, kMostPpi);
  const auto y = cross == text.npos ? x : number(text.substr(cross + 1), 1, kMostPpi);
  if (!x || !y) return std::nullopt;
  return Density{static_cast<double>(*x), static_cast<double>(*y)};
}

bool setScaling(std::string_view value, PageWish& wish) {
  constexpr std::array<std::pair<std::string_view, PrintScaling>, 5> kWords = {
      {{"auto", PrintScaling::kAuto},
       {"auto-fit", PrintScaling::kAutoFit},
       {"fit", PrintScaling::kFit},
       {"fill", PrintScaling::kFill},
       {"none", PrintScaling::kNone}}};
  const auto scaling = lookUp(value, kWords);
  if (scaling) wish.scaling = *scaling;
  return scaling.has_value();
}

bool setPosition(std::string_view value, PageWish& wish) {
  using Place = std::pair<Position, Position>;
  constexpr Position kStart = Position::kStart;
  constexpr Position kCenter = Position::kCenter;
  constexpr Position kEnd = Position::kEnd;
  constexpr std::array<std::pair<std::string_view, Place>, 9> kWords = {
      {{"top-left", {kStart, kStart}},
       {"top", {kCenter, kStart}},
       {"top-right", {kEnd, kStart}},
       {"left", {kStart, kCenter}},
       {"center", {kCenter, kCenter}},
       {"right", {kEnd, kCenter}},
       {"bottom-left", {kStart, kEnd}},
       {"bottom", {kCenter, kEnd}},
       {"bottom-right", {kEnd, kEnd}}}};
  const auto place = lookUp(value, kWords);
  if (place) std::tie(wish.across, wish.along) = *place;
  return place.has_value();
}

// Numbers of the Internet Printing Protocol; 7 leaves the choice to the printer.
bool setOrientation(std::string_view value, PageWish& wish) {
  const auto orientation = number(value, 3, 7);
  if (!orientation) return false;
  constexpr std::array<std::optional<Turn>, 5> kTurns = {Turn::kNone, Turn::kLeft, Turn::kRight,
                                                         Turn::kHalf, std::nullopt};
  wish.turn = kTurns.at(*orientation - 3);
  return true;
}

bool setTruth(std::string_view value, bool& target) {
  const auto given = truth(value);
  if (given) target = *given;
  return given.has_value();
}

// Whether the option is one of ours, and whether its value means something.
enum class Taken { no, well, badly };

Taken take(std::string_view name, std::string_view value, PageWish& wish) {
  bool good = false;
  if (name == "print-scaling") {
    good = setScaling(value, wish);
  } else if (name == "fit-to-page") {
    good = setTruth(value, wish.fitToPage);
  } else if (name == "scaling") {
    const auto percent = number(value, 1, kMostPercent);
    good = percent.has_value();
    if (good) wish.percent = percent;
  } else if (name == "natural-scaling") {
    const auto percent = number(value, 1, kMostPercent);
    good = percent.has_value();
    if (good) wish.naturalPercent = percent;
  } else if (name == "ppi") {
    const auto ppi = density(value);
    good = ppi.has_value();
    if (good) wish.ppi = ppi;
  } else if (name == "position") {
    good = setPosition(value, wish);
  } else if (name == "orientation-requested") {
    good = setOrientation(value, wish);
  } else if (name == "landscape") {
    good = setTruth(value, wish.landscape);
  } else if (name == "mirror") {
    good = setTruth(value, wish.mirror);
  } else {
    return Taken::no;
  }
  return good ? Taken::well : Taken::badly;
}

struct ForeignOption {
  std::string_view name;
  std::string_view neutral;  // the value that changes nothing
  const char* instead;
};

constexpr const char* kOwnSize = "use position, or drav prepare --width";
constexpr const char* kOwnColours = "the page is grey, so change the picture itself";
constexpr const char* kOwnDrawing = "draw it into the document";

constexpr std::array<ForeignOption, 13> kForeignOptions = {
    {{"gamma", "1000", "use drav prepare --gamma"},
     {"hue", "0", kOwnColours},
     {"saturation", "100", kOwnColours},
     {"profile", "", "put the profile into the picture"},
     {"fitplot", "false", "use fit-to-page"},
     {"fill", "false", "use print-scaling=fill"},
     {"crop-to-fit", "false", "use print-scaling=none"},
     {"page-left", "0", kOwnSize},
     {"page-right", "0", kOwnSize},
     {"page-top", "0", kOwnSize},
     {"page-bottom", "0", kOwnSize},
     {"page-border", "none", kOwnDrawing},
     {"page-label", "", kOwnDrawing}}};

// CUPS's brightness is in per cent, 100 for no change. The queue's own option has the same name
// but for its first letter, and no choice as high.
constexpr ForeignOption kBrightness = {"brightness", "100", "use Brightness"};
constexpr uint32_t kLeastForeignBrightness = 16;
constexpr uint32_t kMostForeignBrightness = 1000;

const ForeignOption* foreignOption(std::string_view name, std::string_view value) {
  if (name == kBrightness.name)
    return number(value, kLeastForeignBrightness, kMostForeignBrightness) ? &kBrightness : nullptr;
  for (const ForeignOption& option : kForeignOptions)
    if (option.name == name) return &option;
  return nullptr;
}

std::string optionText(std::string_view name, std::string_view value) {
  std::string text = "the option ";
  return text.append(name).append("=").append(value.substr(0, 40));
}

}  // namespace

bool takePageOption(std::string_view name, std::string_view value, PageWish& wish,
                    std::vector<Note>& notes) {
  const Taken taken = take(name, value, wish);
  if (taken == Taken::badly) {
    notes.push_back({NoteKind::kOptionIgnored, optionText(name, value) + " means nothing here"});
  }
  return taken != Taken::no;
}

void noteForeignOption(std::string_view name, std::string_view value, std::vector<Note>& notes) {
  const ForeignOption* option = foreignOption(name, value);
  if (option == nullptr || value == option->neutral) return;
  if (option->neutral == "false" && truth(value) == std::optional(false)) return;
  notes.push_back({NoteKind::kOptionIgnored,
                   optionText(name, value) + " does nothing here; " + option->instead});
}

}  // namespace documents
