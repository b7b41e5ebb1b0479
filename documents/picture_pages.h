// SPDX-License-Identifier: Apache-2.0
// A picture as one page, decoded by drav-picture-reader.
#ifndef DOCUMENTS_PICTURE_PAGES_H_
#define DOCUMENTS_PICTURE_PAGES_H_

#include <memory>
#include <string>

#include "documents/grey_pages.h"

namespace documents {

// `kind` is that of the file, for the text of a refusal. Null with one line in `error`.
std::unique_ptr<GreyPages> openPicturePages(int descriptor, FileKind kind, const Paper& paper,
                                            const PageWish& wish, const World& world,
                                            std::string& error);

}  // namespace documents

#endif  // DOCUMENTS_PICTURE_PAGES_H_
