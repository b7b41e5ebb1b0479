// SPDX-License-Identifier: Apache-2.0
// How large a PDF's first page says it is, without drawing it.
#ifndef DOCUMENTS_PDF_PAGE_SIZE_H_
#define DOCUMENTS_PDF_PAGE_SIZE_H_

#include <optional>
#include <string_view>

#include "documents/grey_pages.h"

namespace documents {

// Points, 1/72 inch, as the page is shown: turned as its file says.
struct PointSize {
  double width = 0;
  double height = 0;
};

// What pdfinfo of Poppler tells, within a few seconds. Nothing when it is not installed, or
// fails: Ghostscript may draw a file that Poppler refuses.
std::optional<PointSize> pdfPageSize(int descriptor, const World& world);

// From what pdfinfo prints. Sizes from 1 to 1,000,000 points.
std::optional<PointSize> readPdfPageSize(std::string_view report);

}  // namespace documents

#endif  // DOCUMENTS_PDF_PAGE_SIZE_H_
