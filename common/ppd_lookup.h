// SPDX-License-Identifier: Apache-2.0
// Look-ups in an open PPD file with defaults. The job's options are
// marked in the PPD, and a marked choice wins over the option's default choice. libcups finds
// keywords without regard to case.
#ifndef COMMON_PPD_LOOKUP_H_
#define COMMON_PPD_LOOKUP_H_

#include <cups/ppd.h>

#include <cstdint>

// The marked choice of option `keyword`, else its default choice; null when the
// option, or its default choice, does not exist. Owned by `ppd`.
ppd_choice_t* dravPpdGetChoice(ppd_file_t* ppd, const char* keyword);

// Name of the choice, owned by `ppd`, or `defaultText` when there is no choice.
const char* dravPpdGetChoiceAsStrDefault(ppd_file_t* ppd, const char* keyword,
                                         const char* defaultText);

// atoi of the choice's name (0 when it is not a number), or `defaultValue` when there
// is no choice.
int32_t dravPpdGetChoiceAsIntDefault(ppd_file_t* ppd, const char* keyword, int32_t defaultValue);

// 1 for "true" and "yes", 0 for "false" and "no" (case does not count), else
// atoi of the name cut to 8 bits; `defaultValue` when there is no choice.
int8_t dravPpdGetChoiceAsBoolDefault(ppd_file_t* ppd, const char* keyword, int8_t defaultValue);

// Value text of attribute `name` with `specifier` (null: any), owned by `ppd`,
// or `defaultText` when the attribute is missing or has no value.
const char* dravPpdGetAttrAsStrDefault(ppd_file_t* ppd, const char* name, const char* specifier,
                                       const char* defaultText);

// atof of the attribute's value, or `defaultValue` as above.
double dravPpdGetAttrAsFloatDefault(ppd_file_t* ppd, const char* name, const char* specifier,
                                    double defaultValue);

#endif  // COMMON_PPD_LOOKUP_H_
