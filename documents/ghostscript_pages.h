// SPDX-License-Identifier: Apache-2.0
// The pages of a PDF or PostScript document, drawn by Ghostscript.
#ifndef DOCUMENTS_GHOSTSCRIPT_PAGES_H_
#define DOCUMENTS_GHOSTSCRIPT_PAGES_H_

#include <memory>
#include <string>

#include "documents/grey_pages.h"

namespace documents {

// `kind` is kPdf or kPostScript. Null with one line in `error`.
std::unique_ptr<GreyPages> openGhostscriptPages(int descriptor, FileKind kind, const Paper& paper,
                                                const PageWish& wish, const World& world,
                                                std::string& error);

}  // namespace documents

#endif  // DOCUMENTS_GHOSTSCRIPT_PAGES_H_
