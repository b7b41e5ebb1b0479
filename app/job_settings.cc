// SPDX-License-Identifier: Apache-2.0
#include "app/job_settings.h"

#include <array>

#include "app/option_attributes.h"

namespace app {

std::string textOf(ipp_attribute_t* attribute) {
  std::array<char, 256> text{};
  if (attribute != nullptr) (void)ippAttributeString(attribute, text.data(), text.size());
  return text.data();
}

std::vector<ChosenOption> choicesOf(const PrinterModel& model, ipp_t* queue,
                                    const AskedValue& asked) {
  std::vector<ChosenOption> chosen;
  for (const OptionAttribute& one : optionAttributes()) {
    if (!hasAttribute(model, one)) continue;
    const char* choice = choiceOfValue(one, asked(one.name));
    if (choice == nullptr) {
      const std::string name = std::string(one.name) + "-default";
      choice = choiceOfValue(one, textOf(ippFindAttribute(queue, name.c_str(), IPP_TAG_ZERO)));
    }
    if (choice != nullptr) chosen.push_back({one.option, choice});
  }
  return chosen;
}

std::vector<ChosenOption> jobChoices(const PrinterModel& model, ipp_t* queue,
                                     const AskedValue& asked, const StandardValues& standard) {
  std::vector<ChosenOption> chosen = choicesOf(model, queue, asked);
  if (standard.isTrimmed && mayHaveCutter(model) && asked("job-cut").empty())
    chosen.push_back({"docCutType", "1"});
  chosen.push_back({"PrintDensity", densityOfDarkness(standard.darkness)});
  const std::string_view type = standard.mediaType;
  if (type == "stationery" || type == "continuous")
    chosen.push_back({"PageType", type == "continuous" ? "1" : "0"});
  chosen.push_back({"PageSize", standard.paper});
  return chosen;
}

}  // namespace app
