// SPDX-License-Identifier: Apache-2.0
// The driver file's options for the settings of the job model.
#ifndef TESTS_SUPPORT_JOB_OPTIONS_H_
#define TESTS_SUPPORT_JOB_OPTIONS_H_

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/model/stream.h"

struct NumberOption {
  const char* keyword;
  int32_t model::JobSettings::*field;
};

inline constexpr NumberOption kNumberOptions[] = {
    {"pageCutType", &model::JobSettings::pageCutType},
    {"docCutType", &model::JobSettings::docCutType},
    {"FeedCutAfterJobEnd", &model::JobSettings::feedCutAfterJobEnd},
    {"CashDrawer1Setting", &model::JobSettings::cashDrawer1Setting},
    {"CashDrawer2Setting", &model::JobSettings::cashDrawer2Setting},
    {"DocumentBuzzerSetting", &model::JobSettings::documentBuzzerSetting},
    {"PageBuzzerSetting", &model::JobSettings::pageBuzzerSetting},
    {"BuzzerOnTime", &model::JobSettings::buzzerOnTime},
    {"BuzzerRepeat", &model::JobSettings::buzzerRepeat},
    {"DocTopLogoID", &model::JobSettings::docTopLogoID},
    {"DocTopLogoMode", &model::JobSettings::docTopLogoMode},
    {"DocTopLogoPosition", &model::JobSettings::docTopLogoPosition},
    {"DocBottomLogoID", &model::JobSettings::docBottomLogoID},
    {"DocBottomLogoMode", &model::JobSettings::docBottomLogoMode},
    {"DocBottomLogoPosition", &model::JobSettings::docBottomLogoPosition},
    {"Brightness", &model::JobSettings::brightness},
    {"PrintDensity", &model::JobSettings::printDensity},
};

// The options of our own, which the model takes by name: keyword, name there, and the
// choices, the neutral one first.
struct PageOption {
  const char* keyword;
  const char* field;
  std::vector<std::string> choices;
};

inline const std::vector<PageOption>& pageOptions() {
  static const std::vector<PageOption> options = {
      {"StencilMirror", "stencilMirror", {"False", "True"}},
      {"HalfTurn", "halfTurn", {"False", "True"}},
      {"InvertPage", "invertPage", {"False", "True"}},
      {"Contrast", "contrast", {"0", "10", "20", "30", "40", "50"}},
      {"PaperFrame", "paperFrame", {"0", "1", "2", "3", "4", "5"}},
      {"TrimPaper", "trimPaper", {"None", "End", "Both"}},
      {"KeepPictures", "keepPictures", {"True", "False"}},
  };
  return options;
}

// Keyword and choice of each of them.
inline std::vector<std::pair<std::string, std::string>> pageChoices(
    const model::JobSettings& settings) {
  const auto onOff = [](bool on) { return on ? "True" : "False"; };
  const char* trim = settings.trimPaper == model::Trim::end    ? "End"
                     : settings.trimPaper == model::Trim::both ? "Both"
                                                               : "None";
  return {{"StencilMirror", onOff(settings.stencilMirror)},
          {"HalfTurn", onOff(settings.halfTurn)},
          {"InvertPage", onOff(settings.invertPage)},
          {"Contrast", std::to_string(settings.contrast)},
          {"PaperFrame", std::to_string(settings.paperFrame)},
          {"TrimPaper", trim},
          {"KeepPictures", onOff(settings.keepPictures)}};
}

#endif  // TESTS_SUPPORT_JOB_OPTIONS_H_
