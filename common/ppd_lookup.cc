// SPDX-License-Identifier: Apache-2.0
#include "common/ppd_lookup.h"

#include <strings.h>

#include <cstdlib>

ppd_choice_t* dravPpdGetChoice(ppd_file_t* ppd, const char* keyword) {
  if (ppd_choice_t* marked = ppdFindMarkedChoice(ppd, keyword)) return marked;
  ppd_option_t* option = ppdFindOption(ppd, keyword);
  return option != nullptr ? ppdFindChoice(option, option->defchoice) : nullptr;
}

const char* dravPpdGetChoiceAsStrDefault(ppd_file_t* ppd, const char* keyword,
                                         const char* defaultText) {
  const ppd_choice_t* choice = dravPpdGetChoice(ppd, keyword);
  return choice != nullptr ? choice->choice : defaultText;
}

int32_t dravPpdGetChoiceAsIntDefault(ppd_file_t* ppd, const char* keyword, int32_t defaultValue) {
  const ppd_choice_t* choice = dravPpdGetChoice(ppd, keyword);
  return choice != nullptr ? std::atoi(choice->choice) : defaultValue;
}

int8_t dravPpdGetChoiceAsBoolDefault(ppd_file_t* ppd, const char* keyword, int8_t defaultValue) {
  const ppd_choice_t* choice = dravPpdGetChoice(ppd, keyword);
  if (choice == nullptr) return defaultValue;
  const char* name = choice->choice;
  if (strcasecmp(name, "true") == 0 || strcasecmp(name, "yes") == 0) return 1;
  if (strcasecmp(name, "false") == 0 || strcasecmp(name, "no") == 0) return 0;
  return static_cast<int8_t>(std::atoi(name));
}

const char* dravPpdGetAttrAsStrDefault(ppd_file_t* ppd, const char* name, const char* specifier,
                                       const char* defaultText) {
  const ppd_attr_t* attribute = ppdFindAttr(ppd, name, specifier);
  return attribute != nullptr && attribute->value != nullptr ? attribute->value : defaultText;
}

double dravPpdGetAttrAsFloatDefault(ppd_file_t* ppd, const char* name, const char* specifier,
                                    double defaultValue) {
  const char* value = dravPpdGetAttrAsStrDefault(ppd, name, specifier, nullptr);
  return value != nullptr ? std::atof(value) : defaultValue;
}
