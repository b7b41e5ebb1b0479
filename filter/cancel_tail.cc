// SPDX-License-Identifier: Apache-2.0
#include "filter/cancel_tail.h"

#include "filter/commands.h"

void sendCancelTail(const Settings& settings, const JobProgress& progress, std::FILE* out) {
  const bool jobCut = effectiveCut(settings.docCutType) != 0;
  const bool pageCut = effectiveCut(settings.pageCutType) != 0;
  if (progress.inkSinceFeed) {
    feedPage(out);
    cutPaper(jobCut ? settings.docCutType : settings.pageCutType, out);
  } else if (progress.pagesFinished > 0 && !pageCut) {
    cutPaper(settings.docCutType, out);
  }
}
