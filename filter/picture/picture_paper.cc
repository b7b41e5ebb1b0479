// SPDX-License-Identifier: Apache-2.0
#include "filter/picture/picture_paper.h"

#include <cups/cups.h>
#include <cups/ppd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include "common/log.h"
#include "common/ppd_lookup.h"
#include "filter/page_geometry.h"

namespace {

constexpr double kPointsPerInch = 72;

struct PpdCloser {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};
using Ppd = std::unique_ptr<ppd_file_t, PpdCloser>;

Ppd openMarked(const char* path, const char* optionsText) {
  Ppd ppd(path == nullptr ? nullptr : ppdOpenFile(path));
  if (!ppd) return ppd;
  ppdMarkDefaults(ppd.get());
  cups_option_t* options = nullptr;
  const int count = cupsParseOptions(optionsText, 0, &options);
  (void)cupsMarkOptions(ppd.get(), count, options);
  cupsFreeOptions(count, options);
  return ppd;
}

// "300dpi" or "203x180dpi"; false for anything else.
bool readResolution(ppd_file_t* ppd, documents::Paper& paper) {
  const char* name = dravPpdGetChoiceAsStrDefault(ppd, "Resolution", "");
  const int count = std::sscanf(name, "%ux%u", &paper.dpiX, &paper.dpiY);
  if (count == 1) paper.dpiY = paper.dpiX;
  const auto good = [](uint32_t dpi) { return dpi >= 60 && dpi <= 2400; };
  return count >= 1 && good(paper.dpiX) && good(paper.dpiY);
}

uint32_t dots(double points, uint32_t dpi, uint32_t most) {
  const double rounded = std::floor(points * dpi / kPointsPerInch + 0.5);
  return static_cast<uint32_t>(std::clamp(rounded, 0.0, static_cast<double>(most)));
}

bool isRoll(const std::string& sizeName) {
  return sizeName.starts_with("Custom") ||
         (sizeName.starts_with("X") && sizeName.find("MMY") != std::string::npos);
}

// Leaves at least one dot between two margins.
void bound(uint32_t side, uint32_t& first, uint32_t& second) {
  first = std::min(first, side - 1);
  second = std::min(second, side - 1 - first);
}

}  // namespace

bool readPicturePaper(const char* ppdPath, const char* optionsText, PicturePaper* out) {
  const Ppd ppd = openMarked(ppdPath, optionsText);
  const ppd_size_t* size = ppd ? ppdPageSize(ppd.get(), nullptr) : nullptr;
  documents::Paper& paper = out->paper;
  if (size == nullptr || !(size->width > 0) || !(size->length > 0) ||
      !readResolution(ppd.get(), paper)) {
    dravLogCommon(kLogError, "The PPD file tells no size of the page, or no resolution!");
    return false;
  }
  out->sizeName = size->name;
  out->width = static_cast<double>(size->width);
  out->length = static_cast<double>(size->length);
  paper.roll = isRoll(out->sizeName);
  const double longest = paper.roll && ppd->variable_sizes != 0
                             ? std::max(static_cast<double>(ppd->custom_max[1]), out->length)
                             : out->length;
  paper.width = std::max(1U, dots(out->width, paper.dpiX, documents::kMostWidth));
  paper.height = std::max(1U, dots(longest, paper.dpiY, documents::kMostHeight));
  paper.left = dots(static_cast<double>(size->left), paper.dpiX, paper.width);
  paper.right = dots(out->width - static_cast<double>(size->right), paper.dpiX, paper.width);
  paper.top = dots(out->length - static_cast<double>(size->top), paper.dpiY, paper.height);
  paper.bottom = dots(static_cast<double>(size->bottom), paper.dpiY, paper.height);

  const double maxMediaWidth =
      static_cast<double>(dravPpdGetAttrAsFloatDefault(ppd.get(), "MaxMediaWidth", nullptr, 0.0));
  const cups_page_header2_t header = picturePageHeader(*out, 1);
  const uint64_t beyond = skippedRightPixels(maxMediaLinePixels(maxMediaWidth, header), header);
  out->statedRight = paper.right;
  paper.right = static_cast<uint32_t>(std::max<uint64_t>(paper.right, beyond));
  bound(paper.width, paper.left, paper.right);
  out->statedRight = std::min(out->statedRight, paper.right);
  bound(paper.height, paper.top, paper.bottom);
  return true;
}

cups_page_header2_t picturePageHeader(const PicturePaper& paper, uint32_t height) {
  cups_page_header2_t header = {};
  header.HWResolution[0] = paper.paper.dpiX;
  header.HWResolution[1] = paper.paper.dpiY;
  header.NumCopies = 1;
  header.cupsPageSize[0] = static_cast<float>(paper.width);
  header.cupsPageSize[1] = static_cast<float>(paper.length);
  header.PageSize[0] = static_cast<unsigned>(std::lround(paper.width));
  header.PageSize[1] = static_cast<unsigned>(std::lround(paper.length));
  header.cupsWidth = paper.paper.width;
  header.cupsHeight = height;
  header.cupsBitsPerColor = 8;
  header.cupsBitsPerPixel = 8;
  header.cupsBytesPerLine = paper.paper.width;
  header.cupsColorOrder = CUPS_ORDER_CHUNKED;
  header.cupsColorSpace = CUPS_CSPACE_K;
  header.cupsNumColors = 1;
  paper.sizeName.copy(header.cupsPageSizeName, sizeof header.cupsPageSizeName - 1);
  return header;
}
