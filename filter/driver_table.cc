// SPDX-License-Identifier: Apache-2.0
#include "filter/driver_table.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <tuple>

#include "image/halftones.h"

namespace {

constexpr const char* kPapers58[] = {"X48MMY100MM", "X48MMY150MM", "X48MMY200MM",
                                     "X48MMY300MM", "X48MMY600MM", "X48MMY1000MM",
                                     "X58MMY100MM", "X58MMY200MM", "X58MMY300MM"};
constexpr const char* kPapers80[] = {"X72MMY100MM", "X72MMY150MM", "X72MMY200MM",
                                     "X72MMY300MM", "X72MMY600MM", "X72MMY1000MM",
                                     "X80MMY100MM", "X80MMY200MM", "X80MMY300MM"};
constexpr const char* kStencilPapers[] = {"A4",
                                          "Letter",
                                          "Tattoo_A5",
                                          "Tattoo_A6",
                                          "X80MMY200MM",
                                          "X203MMY297MM",
                                          "X203MMY400MM",
                                          "X203MMY600MM",
                                          "X203MMY1000MM",
                                          "X203MMY2000MM",
                                          "X203MMY3000MM",
                                          "X210MMY100MM",
                                          "X210MMY200MM",
                                          "X210MMY400MM",
                                          "X210MMY600MM",
                                          "X210MMY1000MM",
                                          "X210MMY2000MM",
                                          "X210MMY3000MM"};

constexpr PrinterModel kModels[] = {
    {"dravr582", "Receipt 58 mm 203 dpi", 2, 203, 135.3103, "FloydSteinberg", "0", false,
     "X48MMY200MM", kPapers58},
    {"dravr802", "Receipt 80 mm 203 dpi", 3, 203, 203.4089, "FloydSteinberg", "1", false,
     "X72MMY200MM", kPapers80},
    {"dravr803", "Receipt 80 mm 300 dpi", 4, 300, 202.92, "FloydSteinberg", "1", false,
     "X72MMY200MM", kPapers80},
    {"dravsa43", "Stencil A4 300 dpi", 1, 300, 575.4, "Tattoo", "0", true, "A4", kStencilPapers},
};

constexpr auto kHalftoneNames =
    std::apply([](const auto&... row) { return std::array{row.name...}; }, kHalftoneTable);

constexpr const char* kNumbers[] = {"0", "1", "2",  "3",  "4",  "5",  "6",  "7",
                                    "8", "9", "10", "11", "12", "13", "14", "15"};
constexpr ChoiceNames upTo(size_t last) { return {kNumbers, last + 1}; }
constexpr ChoiceNames kFrom1To9 = {kNumbers + 1, 9};

constexpr const char* kBrightness[] = {"-40", "-35", "-30", "-25", "-20", "-15", "-10",
                                       "-5",  "0",   "2",   "5",   "10",  "15"};
constexpr const char* kFeeds[] = {"0", "1", "2", "3", "4", "5", "6", "8", "10"};
constexpr const char* kSwitch[] = {"False", "True"};
constexpr const char* kContrast[] = {"0", "10", "20", "30", "40", "50"};
constexpr const char* kTrim[] = {"None", "End", "Both"};

constexpr PrinterOption kOptions[] = {
    {"HalftoneType", kHalftoneNames, nullptr},
    {"Brightness", kBrightness, "0"},
    {"PrintDensity", upTo(15), "8"},
    {"StencilMirror", kSwitch, "False"},
    {"HalfTurn", kSwitch, "False"},
    {"InvertPage", kSwitch, "False"},
    {"Contrast", kContrast, "0"},
    {"PageType", upTo(1), "0"},
    {"pageCutType", upTo(2), "0"},
    {"docCutType", upTo(2), nullptr},
    {"FeedCutAfterJobEnd", kFeeds, "0"},
    {"TrimPaper", kTrim, "None"},
    {"PaperFrame", upTo(5), nullptr},
    {"CashDrawer1Setting", upTo(2), "0"},
    {"CashDrawer2Setting", upTo(2), "0"},
    {"DocumentBuzzerSetting", upTo(2), "0"},
    {"PageBuzzerSetting", upTo(2), "0"},
    {"BuzzerOnTime", kFrom1To9, "1"},
    {"BuzzerRepeat", kFrom1To9, "1"},
    {"DocTopLogoID", upTo(5), "0"},
    {"DocTopLogoMode", upTo(3), "0"},
    {"DocTopLogoPosition", upTo(2), "1"},
    {"DocBottomLogoID", upTo(5), "0"},
    {"DocBottomLogoMode", upTo(3), "0"},
    {"DocBottomLogoPosition", upTo(2), "1"},
    {"RecordPrinterCommands", upTo(1), "0"},
    {"KeepPictures", kSwitch, "True"},
};

bool equalIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

// The choice among `names`, as it is spelled there; null where it is none of them.
const char* knownChoice(ChoiceNames names, std::string_view choice) {
  const auto found = std::find_if(names.begin(), names.end(), [choice](const char* name) {
    return equalIgnoringCase(name, choice);
  });
  return found != names.end() ? *found : nullptr;
}

const char* knownPaper(const PrinterModel& model, std::string_view choice) {
  constexpr std::string_view kCustom = "Custom";
  const bool custom = choice.size() > kCustom.size() && choice[kCustom.size()] == '.' &&
                      equalIgnoringCase(choice.substr(0, kCustom.size()), kCustom);
  return custom ? kCustom.data() : knownChoice(model.papers, choice);
}

}  // namespace

std::span<const PrinterModel> printerModels() { return kModels; }

const PrinterModel* findPrinterModel(std::string_view name) {
  const auto* found = std::find_if(
      std::begin(kModels), std::end(kModels),
      [name](const PrinterModel& model) { return equalIgnoringCase(model.name, name); });
  return found != std::end(kModels) ? found : nullptr;
}

std::span<const PrinterOption> printerOptions() { return kOptions; }

const char* standardChoice(const PrinterModel& model, const PrinterOption& option) {
  if (option.standard != nullptr) return option.standard;
  const std::string_view keyword = option.keyword;
  if (keyword == "HalftoneType") return model.halftone;
  if (keyword == "docCutType") return model.docCut;
  return model.hasFrame ? "0" : nullptr;
}

const char* chosenOrStandard(const PrinterModel& model, std::span<const ChosenOption> choices,
                             std::string_view keyword) {
  const auto given = std::find_if(
      choices.rbegin(), choices.rend(),
      [keyword](const ChosenOption& one) { return equalIgnoringCase(one.keyword, keyword); });
  const auto pick = [&](const char* standard, const auto& known) {
    const char* choice = given != choices.rend() ? known(given->choice) : nullptr;
    return choice != nullptr ? choice : standard;
  };
  if (keyword == "PageSize") {
    return pick(model.paper, [&](std::string_view choice) { return knownPaper(model, choice); });
  }
  for (const PrinterOption& option : printerOptions()) {
    if (keyword != option.keyword) continue;
    const char* standard = standardChoice(model, option);
    if (standard == nullptr) return nullptr;
    return pick(standard,
                [&](std::string_view choice) { return knownChoice(option.choices, choice); });
  }
  return nullptr;
}
