// SPDX-License-Identifier: Apache-2.0
// The options of filter/driver_table.h as IPP attributes: names, syntax and values.
#ifndef APP_OPTION_ATTRIBUTES_H_
#define APP_OPTION_ATTRIBUTES_H_

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "filter/driver_table.h"

namespace app {

enum class AttributeSyntax : uint8_t { kKeyword, kInteger, kBoolean };

// One attribute for one option. A keyword stands for the choice at its place; an integer
// is the choice's name; a boolean has the choices "False" and "True".
struct OptionAttribute {
  const char* name;
  const char* option;  // keyword of the option
  AttributeSyntax syntax;
  std::span<const char* const> keywords;
};

// All that jobs and queues can set besides print-darkness, finishings and the paper.
std::span<const OptionAttribute> optionAttributes();

// Whether printers of the model may have a cutter; drawers and logos of their own, which the
// stencil printer lacks.
bool mayHaveCutter(const PrinterModel& model);

// Whether queues of the model have the attribute: not for hardware that no printer of the
// model has.
bool hasAttribute(const PrinterModel& model, const OptionAttribute& attribute);

// The option that the attribute sets.
const PrinterOption& optionOf(const OptionAttribute& attribute);

// The choice that a value, as text, stands for: of integers the nearest one, and of two
// that are equally near the higher. Null for a value that means nothing.
const char* choiceOfValue(const OptionAttribute& attribute, std::string_view value);

// The value that stands for a choice of the option.
std::string valueOfChoice(const OptionAttribute& attribute, std::string_view choice);

// print-darkness counts from 0 to 100, PrintDensity from 0 to 15.
inline constexpr int kMostDarkness = 100;
const char* densityOfDarkness(int darkness);
int darknessOfDensity(std::string_view density);

}  // namespace app

#endif  // APP_OPTION_ATTRIBUTES_H_
