// SPDX-License-Identifier: Apache-2.0
// The job's settings: PPD defaults, overridden by the job's options.
#ifndef FILTER_SETTINGS_H_
#define FILTER_SETTINGS_H_

#include <cups/ppd.h>

#include <array>
#include <cstdint>
#include <ctime>
#include <functional>
#include <span>

#include "filter/driver_table.h"
#include "image/halftones.h"
#include "printer/page_settings.h"

// Filled once, before any output, and read-only afterwards. Options are numbers
// carried in PPD choice names. Unless a field says otherwise, an option that
// the PPD lacks reads as -1, which acts as "off".
struct Settings {
  int32_t modelNumber = 0;            // *cupsModelNumber; stored only
  float pageWidth = 0.0F;             // millimetres, from the PageSize name; stored only
  float pageHeight = 0.0F;            // millimetres; stored only
  double maxMediaWidth = 0.0;         // *MaxMediaWidth, points; 0 when missing
  int32_t pageType = 0;               // stored only
  int32_t reserved1 = 0;              // never filled
  int32_t pageCutType = 0;            // after each page: 1 partial, 2 full cut
  int32_t docCutType = 0;             // at the job's end: 1 partial, 2 full cut
  int32_t feedCutAfterJobEnd = 0;     // lines fed at the job's end when above 0
  int32_t cashDrawer1Setting = 0;     // 1 pulse at the job's start, 2 at its end
  int32_t cashDrawer2Setting = 0;     // as drawer 1
  int32_t documentBuzzerSetting = 0;  // 1 at the job's start, 2 at its end
  int32_t pageBuzzerSetting = 0;      // 1 at each page's start, 2 at its end
  int32_t buzzerOnTime = 0;           // low 8 bits are sent
  int32_t buzzerRepeat = 0;           // low 8 bits are sent
  int32_t docTopLogoID = 0;           // stored logo at the job's start when above 0
  int32_t docTopLogoMode = 0;         // 0 normal, 1 wide, 2 tall, 3 both
  int32_t docTopLogoPosition = 0;     // 0 left, 1 centre, 2 right
  int32_t docBottomLogoID = 0;        // stored logo at each page's end when above 0
  int32_t docBottomLogoMode = 0;      // as the top logo's
  int32_t docBottomLogoPosition = 0;  // as the top logo's
  int32_t reserved2 = 0;              // never filled
  int32_t brightness = 0;             // -100 to 100; 0 when missing
  int32_t printDensity = 0;           // low 8 bits are sent; 0 when missing
  DitherType halftoneType = DitherType::None;
  // Options of our own: where a PPD lacks one, or has a choice that is not known here,
  // it is off and leaves no trace.
  bool stencilMirror = false;
  bool halfTurn = false;
  bool invertPage = false;
  int32_t contrast = 0;    // 0 to 50
  int32_t paperFrame = 0;  // 0 none, else 1 to 5 millimetres at the sides
  TrimPaper trimPaper = TrimPaper::None;
  bool keepPictures = true;
  std::array<char, 1024> recordFileName = {};  // command record; empty for none

  bool operator==(const Settings&) const = default;
};

using Clock = std::function<std::time_t()>;

// The system's clock.
std::time_t systemClock();

// Fills `*out` from the PPD that the environment variable PPD names, with the
// options of `optionsText` marked over its defaults. `clock` names the command
// record. False, after one error line, when there is no readable PPD or it lacks
// "PageSize".
[[nodiscard]] bool initializeSettings(const char* optionsText, Settings* out,
                                      const Clock& clock = systemClock);

// The same with the PPD file of that path, which may be null.
[[nodiscard]] bool readSettings(const char* ppdPath, const char* optionsText, Settings* out,
                                const Clock& clock);

// The settings that the model's driver file gives with these choices marked, without
// such a file; see chosenOrStandard.
Settings settingsFromChoices(const PrinterModel& model, std::span<const ChosenOption> choices,
                             const Clock& clock = systemClock);

// Number of the option's current choice, which is logged; -1 when the option or
// its default choice does not exist. A choice name that is no number gives 0.
int32_t getOptionChoiceIndex(const char* keyword, ppd_file_t* ppd);

// Page size in millimetres from a "PageSize" choice named like X80MMY200MM or
// X57D5MMY100M (D is the decimal point). Any other name, and a dimension of more
// than 19 characters, gives 0 and 0.
void getPageWidthPageHeight(ppd_file_t* ppd, Settings* out);

#endif  // FILTER_SETTINGS_H_
