// SPDX-License-Identifier: Apache-2.0
#include "app/option_attributes.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <optional>

namespace app {
namespace {

constexpr const char* kHalftones[] = {
    "threshold", "ordered-4x4",    "burkes", "stucki", "jarvis-judice-ninke",
    "sierra",    "stevenson-arce", "bayer",  "tattoo", "tattoo-x8"};
constexpr const char* kCuts[] = {"none", "partial", "full"};
constexpr const char* kJobEnds[] = {"none", "job-start", "job-end"};
constexpr const char* kPageEnds[] = {"none", "page-start", "page-end"};
constexpr const char* kTrims[] = {"none", "end", "both"};
constexpr const char* kSizes[] = {"normal", "wide", "tall", "both"};
constexpr const char* kPositions[] = {"left", "center", "right"};

constexpr AttributeSyntax kKeyword = AttributeSyntax::kKeyword;
constexpr AttributeSyntax kInteger = AttributeSyntax::kInteger;
constexpr AttributeSyntax kBoolean = AttributeSyntax::kBoolean;

// A halftone is named by the method that runs, which is not what its choice is called.
constexpr OptionAttribute kAttributes[] = {
    {"halftone-type", "HalftoneType", kKeyword, kHalftones},
    {"brightness", "Brightness", kInteger, {}},
    {"contrast", "Contrast", kInteger, {}},
    {"mirror", "StencilMirror", kBoolean, {}},
    {"half-turn", "HalfTurn", kBoolean, {}},
    {"invert", "InvertPage", kBoolean, {}},
    {"frame", "PaperFrame", kInteger, {}},
    {"trim-paper", "TrimPaper", kKeyword, kTrims},
    {"page-cut", "pageCutType", kKeyword, kCuts},
    {"job-cut", "docCutType", kKeyword, kCuts},
    {"feed-lines", "FeedCutAfterJobEnd", kInteger, {}},
    {"cash-drawer-1", "CashDrawer1Setting", kKeyword, kJobEnds},
    {"cash-drawer-2", "CashDrawer2Setting", kKeyword, kJobEnds},
    {"job-buzzer", "DocumentBuzzerSetting", kKeyword, kJobEnds},
    {"page-buzzer", "PageBuzzerSetting", kKeyword, kPageEnds},
    {"buzzer-length", "BuzzerOnTime", kInteger, {}},
    {"buzzer-repeat", "BuzzerRepeat", kInteger, {}},
    {"top-logo", "DocTopLogoID", kInteger, {}},
    {"top-logo-size", "DocTopLogoMode", kKeyword, kSizes},
    {"top-logo-position", "DocTopLogoPosition", kKeyword, kPositions},
    {"bottom-logo", "DocBottomLogoID", kInteger, {}},
    {"bottom-logo-size", "DocBottomLogoMode", kKeyword, kSizes},
    {"bottom-logo-position", "DocBottomLogoPosition", kKeyword, kPositions},
};

constexpr int kMostDensity = 15;

std::optional<int> number(std::string_view text) {
  int value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, failure] = std::from_chars(text.data(), end, value);
  if (failure != std::errc() || stop != end) return std::nullopt;
  return value;
}

int64_t distance(const char* choice, int value) {
  return std::abs(int64_t{number(choice).value_or(0)} - value);
}

const PrinterOption& findOption(std::string_view keyword) {
  const auto options = printerOptions();
  return *std::find_if(options.begin(), options.end(),
                       [keyword](const PrinterOption& one) { return one.keyword == keyword; });
}

}  // namespace

std::span<const OptionAttribute> optionAttributes() { return kAttributes; }

bool mayHaveCutter(const PrinterModel& model) { return std::string_view(model.docCut) != "0"; }

bool hasAttribute(const PrinterModel& model, const OptionAttribute& attribute) {
  const std::string_view name = attribute.name;
  if (name.ends_with("-cut") && !mayHaveCutter(model)) return false;
  const bool isReceipts = name.starts_with("cash-drawer") || name.find("-logo") != name.npos;
  if (isReceipts && model.hasFrame) return false;
  return standardChoice(model, optionOf(attribute)) != nullptr;
}

const PrinterOption& optionOf(const OptionAttribute& attribute) {
  return findOption(attribute.option);
}

const char* choiceOfValue(const OptionAttribute& attribute, std::string_view value) {
  const ChoiceNames choices = optionOf(attribute).choices;
  if (attribute.syntax == kBoolean) {
    if (value != "true" && value != "false") return nullptr;
    return choices[value == "true" ? 1 : 0];
  }
  if (attribute.syntax == kKeyword) {
    const auto found = std::find(attribute.keywords.begin(), attribute.keywords.end(), value);
    return found == attribute.keywords.end()
               ? nullptr
               : choices[static_cast<size_t>(found - attribute.keywords.begin())];
  }
  const std::optional<int> wanted = number(value);
  if (!wanted) return nullptr;
  const char* nearest = choices.front();
  for (const char* choice : choices)
    if (distance(choice, *wanted) <= distance(nearest, *wanted)) nearest = choice;
  return nearest;
}

std::string valueOfChoice(const OptionAttribute& attribute, std::string_view choice) {
  const ChoiceNames choices = optionOf(attribute).choices;
  const auto found = std::find(choices.begin(), choices.end(), choice);
  const auto place = static_cast<size_t>(found - choices.begin());
  if (attribute.syntax == kBoolean) return place == 1 ? "true" : "false";
  if (attribute.syntax == kKeyword) return attribute.keywords[place];
  return std::string(choice);
}

const char* densityOfDarkness(int darkness) {
  const int bounded = std::clamp(darkness, 0, kMostDarkness);
  const int density = (bounded * kMostDensity + kMostDarkness / 2) / kMostDarkness;
  return findOption("PrintDensity").choices[static_cast<size_t>(density)];
}

int darknessOfDensity(std::string_view density) {
  const int value = number(density).value_or(0);
  return (value * kMostDarkness + kMostDensity / 2) / kMostDensity;
}

}  // namespace app
