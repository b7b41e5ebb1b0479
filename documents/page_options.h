// SPDX-License-Identifier: Apache-2.0
// The job options of CUPS that say how a picture stands on its page.
#ifndef DOCUMENTS_PAGE_OPTIONS_H_
#define DOCUMENTS_PAGE_OPTIONS_H_

#include <string_view>
#include <vector>

#include "documents/note.h"
#include "documents/page_request.h"

namespace documents {

// Takes one option: print-scaling, fit-to-page, scaling, natural-scaling, ppi, position,
// orientation-requested, landscape, mirror; by its exact name, as libcups gives it with its
// value. False when it is none of these. A value that means nothing leaves the wish as it
// was and adds a note. Of an option that comes twice the last counts.
bool takePageOption(std::string_view name, std::string_view value, PageWish& wish,
                    std::vector<Note>& notes);

// Adds a note for an option that the converters of CUPS take and nothing here does, with what
// to use instead. None for other options, and for a value that changes nothing.
void noteForeignOption(std::string_view name, std::string_view value, std::vector<Note>& notes);

}  // namespace documents

#endif  // DOCUMENTS_PAGE_OPTIONS_H_
