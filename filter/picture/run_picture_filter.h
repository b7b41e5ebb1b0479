// SPDX-License-Identifier: Apache-2.0
// The CUPS filter for pictures: one job from its arguments to its exit status.
#ifndef FILTER_PICTURE_RUN_PICTURE_FILTER_H_
#define FILTER_PICTURE_RUN_PICTURE_FILTER_H_

#include "documents/grey_pages.h"
#include "filter/environment.h"

// Arguments as of filter(7): job id, user, title, copies, options, [file]. Makes a page of a
// picture, PDF or PostScript (docs/pages.md) and prints it as rastertodrav prints a raster page,
// as often as the copies say. The page is decoded completely before its first byte goes out.
// `page-ranges` and `number-up` are not for pictures: a range without page 1, and a number other
// than 1, refuse the job. Returns 0 when the job has ended normally, else 1, and throws nothing.
int runPictureFilter(int argc, char* const argv[], documents::World world,
                     const FilterEnvironment& environment = {});

#endif  // FILTER_PICTURE_RUN_PICTURE_FILTER_H_
