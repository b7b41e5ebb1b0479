// SPDX-License-Identifier: Apache-2.0
#include "printer/page_halftone.h"

#include <vector>

#include "printer/page_log.h"
#include "tattoo/pipeline.h"
#include "tattoo/stencil_rows.h"
#include "tattoo/threshold.h"

namespace {

// Levels of the page with their tone, as the stencils take its rows.
LevelHistogram tonedLevels(const PageRowSource& source) {
  const PagePixels& page = source.page();
  LevelHistogram levels = {};
  if (page.stride == page.width) {  // turning moves levels and changes none
    LevelHistogram raw = {};
    countLevels(page.pixels, size_t{page.width} * page.height, raw);
    for (size_t k = 0; k < raw.size(); ++k) levels[source.tone()[k]] += raw[k];
    return levels;
  }
  RunTogetherRows rows(source, source.tone(), 0);
  std::vector<uint8_t> row(page.width);
  for (uint32_t y = 0; y < page.height; ++y) {
    rows.read(y, row.data());
    countLevels(row.data(), row.size(), levels);
  }
  return levels;
}

}  // namespace

PageHalftone::PageHalftone(const PageRowSource& source, const PageSettings& settings)
    : source_(source), type_(settings.halftoneType), tattoo_(settings.isTattoo()) {
  if (!tattoo_) {
    page_log::ditheredClassic();
    return;
  }
  const PagePixels& page = source.page();
  page_log::copiedForTattoo(static_cast<int32_t>(page.stride), page.imageRowBytes());
  page_log::ditheredTattoo(static_cast<int32_t>(page.width));
  page_log::tattooImageCreated();
}

void PageHalftone::run(const RowSink& sink) const {
  if (tattoo_) {
    runStencil(sink);
    return;
  }
  halftoneRows(
      static_cast<long>(type_), source_.page().width, source_.page().height,
      [this](uint32_t y, uint8_t* row) { source_.read(y, row); }, sink);
}

void PageHalftone::runStencil(const RowSink& sink) const {
  const PagePixels& page = source_.page();
  const int32_t threshold =
      momentThreshold(tonedLevels(source_), static_cast<int32_t>(size_t{page.width} * page.height));
  const StencilCurve curve = halftonePipeline(type_) == HalftonePipeline::tattooX8
                                 ? StencilCurve::aroundThreshold
                                 : StencilCurve::lifted;
  const LevelTable curved = stencilCurveTable(curve, threshold);
  LevelTable tonedAndCurved = source_.tone();
  for (uint8_t& level : tonedAndCurved) level = curved[level];
  RunTogetherRows rows(source_, tonedAndCurved, curved[0]);
  stencilRows(
      threshold, page.width, page.height, [&](uint32_t y, uint8_t* row) { rows.read(y, row); },
      sink);
}
