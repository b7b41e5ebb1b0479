// SPDX-License-Identifier: Apache-2.0
#include "app/media.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string_view>

#include "filter/page_geometry.h"

namespace app {
namespace {

constexpr double kHundredthsPerInch = 2540;
constexpr double kPointsPerInch = 72;
constexpr int kSameSize = 50;

struct NamedPaper {
  std::string_view paper;
  const char* name;
  int width;
  int length;
};
constexpr std::array<NamedPaper, 4> kNamed = {{
    {"A4", "iso_a4_210x297mm", 21'000, 29'700},
    {"Letter", "na_letter_8.5x11in", 21'590, 27'940},
    {"Tattoo_A5", "om_a5-long-edge-first_210x148mm", 21'000, 14'800},
    {"Tattoo_A6", "iso_a6_105x148mm", 10'500, 14'800},
}};

// Of a paper named like X80MMY200MM.
Medium roll(int widthMillimetres, int lengthMillimetres) {
  const std::string width = std::to_string(widthMillimetres);
  const std::string length = std::to_string(lengthMillimetres);
  return {"om_roll-" + width + "-" + length + "_" + width + "x" + length + "mm",
          "X" + width + "MMY" + length + "MM", widthMillimetres * 100, lengthMillimetres * 100};
}

Medium mediumOfPaper(const std::string& paper) {
  for (const NamedPaper& one : kNamed)
    if (one.paper == paper) return {one.name, paper, one.width, one.length};
  int width = 0;
  int length = 0;
  (void)std::sscanf(paper.c_str(), "X%dMMY%dMM", &width, &length);
  return roll(width, length);
}

// As a driver file states them: rounded to float.
double points(int hundredths) {
  return static_cast<double>(static_cast<float>(hundredths * kPointsPerInch / kHundredthsPerInch));
}

uint32_t dots(double lengthInPoints, int32_t dpi) {
  return static_cast<uint32_t>(std::floor(lengthInPoints * dpi / kPointsPerInch + 0.5));
}

std::vector<Medium> listMedia(const PrinterModel& model) {
  std::vector<Medium> media;
  for (const char* paper : model.papers) media.push_back(mediumOfPaper(paper));
  return media;
}

}  // namespace

const std::vector<Medium>& mediaOf(const PrinterModel& model) {
  static const auto lists = [] {
    std::map<std::string, std::vector<Medium>> made;
    for (const PrinterModel& one : printerModels()) made[one.name] = listMedia(one);
    return made;
  }();
  return lists.at(model.name);
}

const Medium& standardMedium(const PrinterModel& model) {
  const std::vector<Medium>& media = mediaOf(model);
  return *std::find_if(media.begin(), media.end(),
                       [&model](const Medium& one) { return one.paper == model.paper; });
}

int widestPaper(const PrinterModel& model) {
  int widest = 0;
  for (const Medium& one : mediaOf(model)) widest = std::max(widest, one.width);
  return (widest + 99) / 100 * 100;
}

Medium mediumOfSize(const PrinterModel& model, int width, int length) {
  for (const Medium& one : mediaOf(model)) {
    if (std::abs(one.width - width) <= kSameSize && std::abs(one.length - length) <= kSameSize)
      return one;
  }
  Medium custom = roll((width + 50) / 100, (length + 50) / 100);
  custom.width = width;
  custom.length = length;
  return custom;
}

PicturePaper picturePaper(const PrinterModel& model, const Medium& medium) {
  PicturePaper out;
  documents::Paper& paper = out.paper;
  out.sizeName = medium.paper;
  out.width = points(medium.width);
  out.length = points(medium.length);
  paper.dpiX = paper.dpiY = static_cast<uint32_t>(model.resolution);
  paper.roll = medium.paper.starts_with("X");
  paper.width = std::max(1U, dots(out.width, model.resolution));
  paper.height = paper.roll ? mostRows(model) : std::max(1U, dots(out.length, model.resolution));
  const cups_page_header2_t header = picturePageHeader(out, 1);
  const uint64_t beyond =
      skippedRightPixels(maxMediaLinePixels(model.maxMediaWidth, header), header);
  paper.right = static_cast<uint32_t>(std::min<uint64_t>(beyond, paper.width - 1));
  return out;
}

int rightMargin(const PrinterModel& model, const Medium& medium) {
  const documents::Paper paper = picturePaper(model, medium).paper;
  return static_cast<int>(paper.right * kHundredthsPerInch / model.resolution);
}

uint32_t mostRows(const PrinterModel& model) { return dots(points(kLongest), model.resolution); }

}  // namespace app
