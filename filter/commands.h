// SPDX-License-Identifier: Apache-2.0
// ESC/POS control sequences around the page rasters: initialise, density, cash
// drawers, buzzer, stored logos, feeds and cuts.
//
// Everything goes to one stream, standard output by default, byte by byte. Nothing
// goes through the printer object, because the command record must hold raster
// bands only. A stream that has failed gets no further byte.
#ifndef FILTER_COMMANDS_H_
#define FILTER_COMMANDS_H_

#include <cups/raster.h>

#include <cstdint>
#include <cstdio>

#include "filter/settings.h"

// One sequence. The bytes stay the caller's.
struct command {
  int32_t length;
  const uint8_t* bytes;
};

// Writes the command and returns the number of bytes written, as many as the
// stream took. A length of 0 or below writes nothing.
int32_t outputCommand(command sequence, std::FILE* out = stdout);

// Job start: ESC @, density, then what the settings ask for of drawers, buzzer
// and top logo (in this order), and ESC $ 1.
void jobSetup(Settings settings, std::FILE* out = stdout);

// Page start: the page buzzer, when set to 1. The header is not used.
void pageSetup(Settings settings, cups_page_header2_t header, std::FILE* out = stdout);

// Page end: ESC J 160, then bottom logo, page cut, and buzzer when set to 2. The
// bottom logo follows every page.
void endPage(Settings settings, std::FILE* out = stdout);

// Job end: feed, job cut, buzzer and drawers when set to 2, and ESC v.
void endJob(Settings settings, std::FILE* out = stdout);

// True when a job's end does more than ask for the paper status.
bool jobEndActs(const Settings& settings);

// Tail of a cancelled job, see filter/cancel_tail.h.
void feedPage(std::FILE* out);
void cutPaper(int32_t cutType, std::FILE* out);

// The cut that a setting stands for: 0 none, 1 partial, 2 full; 0 for any other.
int32_t effectiveCut(int32_t cutType);

#endif  // FILTER_COMMANDS_H_
