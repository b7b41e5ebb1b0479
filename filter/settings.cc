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

void fillOptions(ppd_file_t* ppd, Settings* out) {
  out->pageType = getOptionChoiceIndex("PageType", ppd);
  out->pageCutType = getOptionChoiceIndex("pageCutType", ppd);
  out->docCutType = getOptionChoiceIndex("docCutType", ppd);
  out->feedCutAfterJobEnd = getOptionChoiceIndex("FeedCutAfterJobEnd", ppd);
  out->cashDrawer1Setting = getOptionChoiceIndex("CashDrawer1Setting", ppd);
  out->cashDrawer2Setting = getOptionChoiceIndex("CashDrawer2Setting", ppd);
  out->documentBuzzerSetting = getOptionChoiceIndex("DocumentBuzzerSetting", ppd);
  out->pageBuzzerSetting = getOptionChoiceIndex("PageBuzzerSetting", ppd);
  out->buzzerOnTime = getOptionChoiceIndex("BuzzerOnTime", ppd);
  out->buzzerRepeat = getOptionChoiceIndex("BuzzerRepeat", ppd);
  out->docTopLogoID = getOptionChoiceIndex("DocTopLogoID", ppd);
  out->docTopLogoMode = getOptionChoiceIndex("DocTopLogoMode", ppd);
  out->docBottomLogoID = getOptionChoiceIndex("DocBottomLogoID", ppd);
  out->docBottomLogoMode = getOptionChoiceIndex("DocBottomLogoMode", ppd);
  out->docTopLogoPosition = getOptionChoiceIndex("DocTopLogoPosition", ppd);
  out->docBottomLogoPosition = getOptionChoiceIndex("DocBottomLogoPosition", ppd);
}

// A choice from 0 to `most`; 0 for any other.
int32_t smallNumber(ppd_file_t* ppd, const char* keyword, int32_t most) {
  const std::string_view choice = dravPpdGetChoiceAsStrDefault(ppd, keyword, "");
  int32_t number = 0;
  const auto [end, error] = std::from_chars(choice.data(), choice.data() + choice.size(), number);
  const bool whole = error == std::errc() && end == choice.data() + choice.size();
  return whole && number >= 0 && number <= most ? number : 0;
}

void fillOwnOptions(ppd_file_t* ppd, Settings* out) {
  const auto isMarked = [ppd](const char* keyword, std::string_view choice) {
    return dravPpdGetChoiceAsStrDefault(ppd, keyword, "") == choice;
  };
  out->stencilMirror = isMarked("StencilMirror", "True");
  out->halfTurn = isMarked("HalfTurn", "True");
  out->invertPage = isMarked("InvertPage", "True");
  out->contrast = smallNumber(ppd, "Contrast", 50);
  out->paperFrame = smallNumber(ppd, "PaperFrame", 5);
  if (isMarked("TrimPaper", "End")) out->trimPaper = TrimPaper::End;
  if (isMarked("TrimPaper", "Both")) out->trimPaper = TrimPaper::Both;
  out->keepPictures = !isMarked("KeepPictures", "False");
}

// The record's name: the PPD's prefix and the local time.
void nameRecordFile(ppd_file_t* ppd, const Clock& clock, Settings* out) {
  if (dravPpdGetChoiceAsIntDefault(ppd, "RecordPrinterCommands", 0) <= 0) return;
  const char* prefix = dravPpdGetAttrAsStrDefault(ppd, "dravFilterOutputFile", nullptr, "");
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
  fillOptions(ppd.get(), out);
  getPageWidthPageHeight(ppd.get(), out);
  out->halftoneType =
      dravHalftoneTypeFromStr(dravPpdGetChoiceAsStrDefault(ppd.get(), "HalftoneType", ""));
  out->brightness = dravPpdGetChoiceAsIntDefault(ppd.get(), "Brightness", 0);
  out->printDensity = dravPpdGetChoiceAsIntDefault(ppd.get(), "PrintDensity", 0);
  fillOwnOptions(ppd.get(), out);
  nameRecordFile(ppd.get(), clock, out);
  return true;
}

int32_t getOptionChoiceIndex(const char* keyword, ppd_file_t* ppd) {
  const ppd_choice_t* choice = dravPpdGetChoice(ppd, keyword);
  if (choice == nullptr) return -1;
  const int32_t number = std::atoi(choice->choice);
  dravLogCommon(kLogDebug, "getOptionChoiceIndex: %s = %d", keyword, number);
  return number;
}

void getPageWidthPageHeight(ppd_file_t* ppd, Settings* out) {
  out->pageWidth = 0.0F;
  out->pageHeight = 0.0F;
  PageDimensions size;
  if (!scanPageSizeName(dravPpdGetChoiceAsStrDefault(ppd, "PageSize", ""), size)) return;
  out->pageWidth = static_cast<float>(std::atof(size.width.c_str()));
  out->pageHeight = static_cast<float>(std::atof(size.height.c_str()));
}
