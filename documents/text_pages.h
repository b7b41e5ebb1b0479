// SPDX-License-Identifier: Apache-2.0
// Plain text, set by drav-text-reader.
#ifndef DOCUMENTS_TEXT_PAGES_H_
#define DOCUMENTS_TEXT_PAGES_H_

#include <memory>
#include <span>
#include <string>

#include "documents/grey_pages.h"

namespace documents {

// Of the wish only the mirror counts: text is set for the paper. `start` is the beginning
// of the file. Null with one line in `error`, also for the source text of a web page or of
// another file in XML.
std::unique_ptr<GreyPages> openTextPages(int descriptor, std::span<const uint8_t> start,
                                         const Paper& paper, const PageWish& wish,
                                         const World& world, std::string& error);

}  // namespace documents

#endif  // DOCUMENTS_TEXT_PAGES_H_
