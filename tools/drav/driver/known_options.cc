// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/driver/known_options.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace {

// Whole families: job-hold-until, print-quality, media-col, finishing-template ...
constexpr std::array<std::string_view, 7> kBeginnings = {
    "job-", "print-", "media-", "notify-", "finishing", "attributes-", "document-"};

constexpr std::array kNames = {
    "blackplot",
    "booklet",
    "booklet-signature",
    "brightness",
    "collate",
    "columns",
    "contrast",
    "copies",
    "cpi",
    "crop-to-fit",
    "Duplex",
    "emulate-duplex",
    "feed-orientation",
    "fill",
    "fit-to-page",
    "fitplot",
    "gamma",
    "hue",
    "landscape",
    "lpi",
    "media",
    "mirror",
    "multiple-document-handling",
    "natural-scaling",
    "number-up",
    "number-up-layout",
    "orientation-requested",
    "output-bin",
    "output-mode",
    "output-order",
    "outputorder",
    "page-border",
    "page-bottom",
    "page-delivery",
    "page-label",
    "page-left",
    "page-ranges",
    "page-right",
    "page-set",
    "page-top",
    "PageRegion",
    "PageSize",
    "pdftops-renderer",
    "penwidth",
    "position",
    "ppi",
    "prettyprint",
    "print-scaling",
    "printer-resolution",
    "profile",
    "raw",
    "resolution",
    "saturation",
    "scaling",
    "sides",
    "wrap",
};

}  // namespace

bool isStandardOption(const std::string& name) {
  return std::any_of(kBeginnings.begin(), kBeginnings.end(),
                     [&name](std::string_view beginning) {
                       return ::strncasecmp(name.c_str(), beginning.data(), beginning.size()) == 0;
                     }) ||
         std::any_of(kNames.begin(), kNames.end(),
                     [&name](const char* known) { return ::strcasecmp(name.c_str(), known) == 0; });
}

std::vector<std::string> standardOptionNames() { return {kNames.begin(), kNames.end()}; }
