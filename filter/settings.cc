// SPDX-License-Identifier: Apache-2.0
#include "filter/settings.h"

#include <cups/cups.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "common/local_time.h"
#include "common/log.h"
#include "common/ppd_lookup.h"

namespace {

constexpr size_t kMaxDimensionLength = 19;

struct PpdCloser {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};
using PpdFile = std::unique_ptr<ppd_file_t, PpdCloser>;

// Opens the PPD and marks its defaults and the job's options over them.
PpdFile openMarkedPpd(const char* path, const char* optionsText) {
  PpdFile ppd(path != nullptr ? ppdOpenFile(path) : nullptr);
  if (!ppd) return ppd;
  ppdMarkDefaults(ppd.get());
  cups_option_t* options = nullptr;
  const int count = cupsParseOptions(optionsText, 0, &options);
  if (count != 0 && options != nullptr) {  // GCOVR_EXCL_BR_LINE: second guard
    cupsMarkOptions(ppd.get(), count, options);
    cupsFreeOptions(count, options);
  }
  return ppd;
}

const char* choiceName(ppd_file_t* ppd, const char* keyword) {
  return dravPpdGetChoiceAsStrDefault(ppd, keyword, nullptr);
}

// The name of an option's choice; null where there is none.
using ChoiceOf = std::function<const char*(const char* keyword)>;

constexpr std::pair<const char*, int32_t Settings::*> kNumberFields[] = {
    {"PageType", &Settings::pageType},
    {"pageCutType", &Settings::pageCutType},
    {"docCutType", &Settings::docCutType},
    {"FeedCutAfterJobEnd", &Settings::feedCutAfterJobEnd},
    {"CashDrawer1Setting", &Settings::cashDrawer1Setting},
    {"CashDrawer2Setting", &Settings::cashDrawer2Setting},
    {"DocumentBuzzerSetting", &Settings::documentBuzzerSetting},
    {"PageBuzzerSetting", &Settings::pageBuzzerSetting},
    {"BuzzerOnTime", &Settings::buzzerOnTime},
    {"BuzzerRepeat", &Settings::buzzerRepeat},
    {"DocTopLogoID", &Settings::docTopLogoID},
    {"DocTopLogoMode", &Settings::docTopLogoMode},
    {"DocBottomLogoID", &Settings::docBottomLogoID},
    {"DocBottomLogoMode", &Settings::docBottomLogoMode},
    {"DocTopLogoPosition", &Settings::docTopLogoPosition},
    {"DocBottomLogoPosition", &Settings::docBottomLogoPosition},
};

// -1 where there is no choice.
int32_t loggedNumber(const char* keyword, const char* choice) {
  if (choice == nullptr) return -1;
  const int32_t number = std::atoi(choice);
  dravLogCommon(kLogDebug, "getOptionChoiceIndex: %s = %d", keyword, number);
  return number;
}

int32_t numberOr0(const char* choice) { return choice != nullptr ? std::atoi(choice) : 0; }

// A choice from 0 to `most`; 0 for any other.
int32_t smallNumber(const char* text, int32_t most) {
  const std::string_view choice = text != nullptr ? text : "";
  int32_t number = 0;
  const auto [end, error] = std::from_chars(choice.data(), choice.data() + choice.size(), number);
  const bool whole = error == std::errc() && end == choice.data() + choice.size();
  return whole && number >= 0 && number <= most ? number : 0;
}

void fillOwnOptions(const ChoiceOf& choiceOf, Settings* out) {
  const auto isMarked = [&choiceOf](const char* keyword, std::string_view wanted) {
    const char* choice = choiceOf(keyword);
    return choice != nullptr && choice == wanted;
  };
  out->stencilMirror = isMarked("StencilMirror", "True");
  out->halfTurn = isMarked("HalfTurn", "True");
  out->invertPage = isMarked("InvertPage", "True");
  out->contrast = smallNumber(choiceOf("Contrast"), 50);
  out->paperFrame = smallNumber(choiceOf("PaperFrame"), 5);
  if (isMarked("TrimPaper", "End")) out->trimPaper = TrimPaper::End;
  if (isMarked("TrimPaper", "Both")) out->trimPaper = TrimPaper::Both;
  out->keepPictures = !isMarked("KeepPictures", "False");
}

// The record's name: a prefix and the local time.
void nameRecordFile(const char* prefix, const Clock& clock, Settings* out) {
  const std::tm local = localTime(clock());
  const int length =
      std::snprintf(out->recordFileName.data(), out->recordFileName.size(),
                    "%s-%lld%02d%02d%02d%02d%02d.bin", prefix, local.tm_year + 1900LL,
                    local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
  if (length < 0 || static_cast<size_t>(length) >= out->recordFileName.size()) {
    out->recordFileName = {};
    dravLogCommon(kLogError, "The name of the command record file is too long (%d characters)!",
                  length);
  }
}

struct PageDimensions {
  std::string width;
  std::string height;
};

// Scans X<width>Y<height>M; false for any other name.
bool scanPageSizeName(const char* name, PageDimensions& out) {
  if (*name++ != 'X') return false;
  std::string* text = &out.width;
  for (; *name != '\0'; ++name) {
    const char c = *name;
    if ((c >= '0' && c <= '9') || c == 'D') {
      text->push_back(c == 'D' ? '.' : c);
      if (text->size() > kMaxDimensionLength) return false;
    } else if (text == &out.width && c == 'Y') {
      text = &out.height;
    } else if (c != 'M') {
      return false;
    } else if (text == &out.height) {
      return true;
    }
  }
  return false;
}

void setPageSize(const char* choice, Settings* out) {
  out->pageWidth = 0.0F;
  out->pageHeight = 0.0F;
  PageDimensions size;
  if (choice == nullptr || !scanPageSizeName(choice, size)) return;
  out->pageWidth = static_cast<float>(std::atof(size.width.c_str()));
  out->pageHeight = static_cast<float>(std::atof(size.height.c_str()));
}

// All that is told by choices.
void fillFromChoices(const ChoiceOf& choiceOf, const char* recordPrefix, const Clock& clock,
                     Settings* out) {
  for (const auto& [keyword, number] : kNumberFields) {
    out->*number = loggedNumber(keyword, choiceOf(keyword));
  }
  setPageSize(choiceOf("PageSize"), out);
  out->halftoneType = dravHalftoneTypeFromStr(choiceOf("HalftoneType"));
  out->brightness = numberOr0(choiceOf("Brightness"));
  out->printDensity = numberOr0(choiceOf("PrintDensity"));
  fillOwnOptions(choiceOf, out);
  if (numberOr0(choiceOf("RecordPrinterCommands")) > 0) nameRecordFile(recordPrefix, clock, out);
}

}  // namespace

std::time_t systemClock() { return std::time(nullptr); }

bool initializeSettings(const char* optionsText, Settings* out, const Clock& clock) {
  return readSettings(std::getenv("PPD"), optionsText, out, clock);
}

bool readSettings(const char* ppdPath, const char* optionsText, Settings* out, const Clock& clock) {
  const PpdFile ppd = openMarkedPpd(ppdPath, optionsText);
  *out = Settings{};
  if (!ppd) {
    dravLogCommon(kLogError, "Unable to open PPD file \"%s\"!", ppdPath != nullptr ? ppdPath : "");
    return false;
  }
  if (ppdFindOption(ppd.get(), "PageSize") == nullptr) {
    dravLogCommon(kLogError, "PPD file \"%s\" has no PageSize!", ppdPath);
    return false;
  }
  out->maxMediaWidth = dravPpdGetAttrAsFloatDefault(ppd.get(), "MaxMediaWidth", nullptr, 0.0);
  out->modelNumber = ppd->model_number;
  fillFromChoices([&ppd](const char* keyword) { return choiceName(ppd.get(), keyword); },
                  dravPpdGetAttrAsStrDefault(ppd.get(), "dravFilterOutputFile", nullptr, ""), clock,
                  out);
  return true;
}

Settings settingsFromChoices(const PrinterModel& model, std::span<const ChosenOption> choices,
                             const Clock& clock) {
  Settings out;
  out.maxMediaWidth = model.maxMediaWidth;
  out.modelNumber = model.number;
  fillFromChoices([&](const char* keyword) { return chosenOrStandard(model, choices, keyword); },
                  kRecordFilePrefix, clock, &out);
  return out;
}

int32_t getOptionChoiceIndex(const char* keyword, ppd_file_t* ppd) {
  return loggedNumber(keyword, choiceName(ppd, keyword));
}

void getPageWidthPageHeight(ppd_file_t* ppd, Settings* out) {
  setPageSize(choiceName(ppd, "PageSize"), out);
}
