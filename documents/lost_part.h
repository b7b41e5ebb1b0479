// SPDX-License-Identifier: Apache-2.0
// Ink of a placed picture that lies beyond its page.
#ifndef DOCUMENTS_LOST_PART_H_
#define DOCUMENTS_LOST_PART_H_

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/lost_ink.h"
#include "documents/grey_pages.h"

namespace documents {

// Opens what was placed once more, for another paper.
using Reopen = std::function<std::unique_ptr<GreyPages>(const Paper& paper, const PageWish& wish,
                                                        std::string& error)>;

// Measures on a small drawing of the whole picture, since the part beyond the page is never
// made; empty, without drawing anything, when all of it lies on the page, and when it cannot be
// drawn again. The sides are the page's, its mirror included, in dots of the page.
std::vector<LostInk> inkBeyondPage(const Placing& placing, const Paper& paper, const PageWish& wish,
                                   const Reopen& reopen);

}  // namespace documents

#endif  // DOCUMENTS_LOST_PART_H_
