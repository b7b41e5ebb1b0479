// SPDX-License-Identifier: Apache-2.0
// The driver file's keyword for each numeric setting of the job model.
#ifndef TESTS_SUPPORT_JOB_OPTIONS_H_
#define TESTS_SUPPORT_JOB_OPTIONS_H_

#include <cstdint>

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

#endif  // TESTS_SUPPORT_JOB_OPTIONS_H_
