// SPDX-License-Identifier: Apache-2.0
// From the attributes of a job and its queue to the settings of the engine.
#ifndef APP_JOB_SETTINGS_H_
#define APP_JOB_SETTINGS_H_

#include <cups/ipp.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "app/media.h"
#include "filter/settings.h"

namespace app {

// The values of an attribute as text; empty for null.
std::string textOf(ipp_attribute_t* attribute);

// Gives the value of a job's attribute as text, empty where it has none.
using AskedValue = std::function<std::string(const char* name)>;

// The choices of the model's options of app/option_attributes.h: the job's, and where its
// value means nothing the default among the queue's attributes.
std::vector<ChosenOption> choicesOf(const PrinterModel& model, ipp_t* queue,
                                    const AskedValue& asked);

// What the attributes that IPP defines say, as PAPPL has worked it out.
struct StandardValues {
  bool isTrimmed = false;  // finishings
  int darkness = 0;        // print-darkness
  std::string_view mediaType = {};
  std::string_view paper = {};  // as PageSize names it
};

// The options of all those attributes.
std::vector<ChosenOption> jobChoices(const PrinterModel& model, ipp_t* queue,
                                     const AskedValue& asked, const StandardValues& standard);

}  // namespace app

#endif  // APP_JOB_SETTINGS_H_
