// SPDX-License-Identifier: Apache-2.0
// The printers with the options that the filter reads, their choices and their papers,
// as the driver files of ppd/ have them. For programs that print without a driver file.
#ifndef FILTER_DRIVER_TABLE_H_
#define FILTER_DRIVER_TABLE_H_

#include <cstdint>
#include <span>
#include <string_view>

using ChoiceNames = std::span<const char* const>;

struct PrinterModel {
  const char* name;   // of the driver file, without ".ppd"
  const char* title;  // for people, without the manufacturer
  int32_t number;
  int32_t resolution;    // dots per inch
  double maxMediaWidth;  // points
  const char* halftone;  // default of HalftoneType
  const char* docCut;    // default of docCutType
  bool hasFrame;         // has PaperFrame
  const char* paper;     // default of PageSize
  ChoiceNames papers;    // choices of PageSize, besides Custom
};

struct PrinterOption {
  const char* keyword;
  ChoiceNames choices;
  const char* standard;  // the default; null where the model tells
};

std::span<const PrinterModel> printerModels();

// The model of that name, or null. Case does not count.
const PrinterModel* findPrinterModel(std::string_view name);

// All options but PageSize. `standardChoice` tells which of them a model has.
std::span<const PrinterOption> printerOptions();

// The default of an option; null where the model lacks it.
const char* standardChoice(const PrinterModel& model, const PrinterOption& option);

// An option by its keyword, and one of its choices.
struct ChosenOption {
  std::string_view keyword;
  std::string_view choice;
};

// The choice that counts for the model's option, PageSize included; null where the
// model lacks the option. As libcups marks choices in a driver file: case does not
// count, the last choice of an option wins, "Custom.<size>" is the paper "Custom", and a
// choice that the model lacks leaves the default.
const char* chosenOrStandard(const PrinterModel& model, std::span<const ChosenOption> choices,
                             std::string_view keyword);

// Where the command record goes: path and beginning of the file's name.
inline constexpr const char* kRecordFilePrefix = "/var/spool/cups/tmp/drav";

#endif  // FILTER_DRIVER_TABLE_H_
