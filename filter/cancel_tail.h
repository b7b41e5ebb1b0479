// SPDX-License-Identifier: Apache-2.0
// What a cancelled job still sends, so that the paper comes out and the next job
// starts clean. No logo, buzzer, drawer or status request.
#ifndef FILTER_CANCEL_TAIL_H_
#define FILTER_CANCEL_TAIL_H_

#include <cstdio>

#include "filter/settings.h"

// How far the job had come. Everything sent so far ends on a whole command and a
// whole raster band.
struct JobProgress {
  bool inkSinceFeed = false;  // the top logo or a band went out since the last feed
  int pagesFinished = 0;      // pages with their page end sent
};

// Ink since the last feed: feed, and the job's cut (the job-end cut, else the
// page cut). Otherwise only the job-end cut, and only when a page was printed
// that no page cut has cut off already.
void sendCancelTail(const Settings& settings, const JobProgress& progress, std::FILE* out);

#endif  // FILTER_CANCEL_TAIL_H_
