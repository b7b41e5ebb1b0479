// SPDX-License-Identifier: Apache-2.0
#include "proof/art_picture.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "documents/prepare/clean_drawing.h"
#include "documents/prepare/outline_shapes.h"
#include "documents/reader_protocol.h"
#include "proof/art_layout.h"

namespace {

constexpr double kWhite = 255;

std::string tooLargeText(uint64_t width, uint64_t height, uint64_t most) {
  return "would be " + std::to_string(width) + " x " + std::to_string(height) +
         " dots large; at most " + std::to_string(most / 1'000'000) + " million ";
}

// A side that was asked for alone has that length, unless the other one stands in its way.
const char* missedSide(const documents::Placing& placing, const ArtWish& wish,
                       const documents::Paper& paper) {
  const documents::Paper box = artRequest(wish, paper).box;
  if (wish.width > 0 && wish.height == 0 && placing.width != box.width) return "width";
  if (wish.height > 0 && wish.width == 0 && placing.height != box.height) return "height";
  return nullptr;
}

bool checkSize(const documents::Placing& placing, const ArtWish& wish,
               const documents::Paper& paper, std::string& error) {
  if (const char* side = missedSide(placing, wish, paper)) {
    error = std::string("would be too large at this ") + side;
    return false;
  }
  const bool isOutlined = wish.lines;
  const uint64_t most = isOutlined ? kMostOutlinedPixels : documents::kMostPixels;
  const bool isWhole = placing.visibleWidth() == placing.width &&  //
                       placing.visibleHeight() == placing.height;
  if (isWhole && uint64_t{placing.width} * placing.height <= most) return true;
  error = tooLargeText(placing.width, placing.height, most) +
          (isOutlined ? "can be outlined" : "can be prepared");
  return false;
}

void mirrorRow(std::vector<uint8_t>& row, uint32_t channels) {
  std::reverse(row.begin(), row.end());
  for (size_t at = 0; channels > 1 && at < row.size(); at += channels)
    std::reverse(&row[at], &row[at] + channels);
}

// The lightness of the part that the crop leaves.
bool readPart(documents::GreyPages& pages, const documents::GreyPage& page, const Area& part,
              bool mirror, uint32_t channels, std::vector<uint8_t>& levels, std::string& error) {
  std::vector<uint8_t> row(size_t{page.width} * channels);
  const size_t whole = size_t{page.placing.width} * channels;
  std::vector<uint8_t> wanted(whole);
  const auto skipped = static_cast<size_t>(part.left) * channels;
  const auto width = static_cast<size_t>(part.width) * channels;
  levels.resize(width * part.height);
  auto to = levels.begin();
  // All rows, since damage may show at the last one.
  for (uint32_t y = 0; y < page.placing.height; ++y) {
    if (!pages.nextRow(row, error)) return false;
    if (y < part.top || y - part.top >= part.height) continue;
    wanted.assign(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(whole));
    if (mirror) mirrorRow(wanted, channels);
    const auto kept = std::span(wanted).subspan(skipped, width);
    to = std::transform(kept.begin(), kept.end(), to,
                        [](uint8_t ink) { return static_cast<uint8_t>(255 - ink); });
  }
  return true;
}

}  // namespace

std::array<uint8_t, 256> toneTable(const ArtWish& wish) {
  std::array<uint8_t, 256> table{};
  const double range = static_cast<double>(wish.white) - wish.black;
  for (size_t level = 0; level < table.size(); ++level) {
    const double share = std::clamp((static_cast<double>(level) - wish.black) / range, 0.0, 1.0);
    table.at(level) = static_cast<uint8_t>(std::lround(std::pow(share, 1 / wish.gamma) * kWhite));
  }
  return table;
}

bool readArt(documents::GreyPages& pages, const documents::GreyPage& page, const ArtWish& wish,
             const documents::Paper& paper, ArtPicture& art, std::string& error) {
  const bool isColour = wish.lines && !wish.clean;
  const uint32_t channels = isColour ? 3 : 1;
  if (!checkSize(page.placing, wish, paper, error)) return false;
  const Area part = cropArea(wish, paper, page.placing.width, page.placing.height);
  if (part.width == 0) {
    error = "has nothing where --crop looks: it is " +
            std::to_string(
                std::lround(page.placing.width * documents::kMillimetresPerInch / paper.dpiX)) +
            " x " +
            std::to_string(
                std::lround(page.placing.height * documents::kMillimetresPerInch / paper.dpiY)) +
            " mm large";
    return false;
  }
  art = {part.width, part.height, {}};
  if (!readPart(pages, page, part, wish.mirror, channels, art.ink, error)) return false;
  if (wish.clean) cleanDrawing(art.ink, art.width, art.height, paper.dpiX);
  const auto tone = toneTable(wish);
  std::transform(art.ink.begin(), art.ink.end(), art.ink.begin(),
                 [&tone](uint8_t level) { return tone.at(level); });
  if (wish.lines) art.ink = outlineShapes(art.ink, art.width, art.height, channels, paper.dpiX);
  std::transform(art.ink.begin(), art.ink.end(), art.ink.begin(),
                 [](uint8_t level) { return static_cast<uint8_t>(255 - level); });
  return true;
}
