// SPDX-License-Identifier: Apache-2.0
// The file names of the filter's diagnostic pictures.
#ifndef TOOLS_DRAV_CLEAN_PICTURE_NAME_H_
#define TOOLS_DRAV_CLEAN_PICTURE_NAME_H_

#include <string_view>

// Whether `name`, without a folder, is one that printer/page_picture.cc writes:
// "origin_" or "dithered_", then year-month-day_hour_minute_second_number as
// "%d-%d-%d_%d_%d_%d_%ld" prints a date and time and a count (no sign, no padding),
// then ".bmp". Any other name, however alike, is not.
bool isPictureName(std::string_view name);

#endif  // TOOLS_DRAV_CLEAN_PICTURE_NAME_H_
