// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/prepare/prepared_pages.h"

#include <algorithm>
#include <utility>

#include "proof/lost_ink.h"

namespace {

using documents::GreyPage;
using documents::Step;

std::string captionText(const SheetPlan& plan, uint32_t sheet) {
  const auto of = [](const char* name, uint32_t index, uint32_t count) {
    return name + std::to_string(index + 1) + " of " + std::to_string(count);
  };
  return of("sheet ", sheet, plan.sheets()) + ": " +
         of("column ", sheet % plan.columns, plan.columns) + ", " +
         of("row ", sheet / plan.columns, plan.rows);
}

}  // namespace

void PreparedPages::setReversed() { std::swap(printed_.left, printed_.right); }

Step PreparedPages::nextPage(GreyPage& page, std::string& error) {
  if (!begun_ || nextSheet_ == plan_.sheets()) {
    if (begun_ && number_ == wish_.page) return Step::end;
    const Step step = readNext(page, error);
    if (step != Step::page) return step;
  }
  page = {};
  page.width = paper_.width;
  page.facts = source_.facts;
  page.placing = source_.placing;
  if (nextSheet_ == 0) page.notes = source_.notes;
  row_ = 0;
  if (plan_.sheets() == 1)
    beginPage(page);
  else
    beginSheet(page);
  ++nextSheet_;
  return Step::page;
}

// The art of the next page that is wanted.
Step PreparedPages::readNext(GreyPage& page, std::string& error) {
  do {
    const Step step = pages_->nextPage(page, error);
    if (step == Step::end && wish_.page > number_) {
      error = "has " + std::to_string(number_) + (number_ == 1 ? " page" : " pages") +
              ", so there is no page " + std::to_string(wish_.page);
      return Step::failed;
    }
    if (step != Step::page) return step;
    ++number_;
  } while (wish_.page != 0 && number_ != wish_.page);
  begun_ = true;
  source_ = std::move(page);
  nextSheet_ = 0;
  plan_ = {};
  if (!readArt(*pages_, source_, wish_, paper_, art_, error)) return Step::failed;
  if (wish_.tile && !planSheets(wish_, paper_, art_.width, art_.height, plan_, error))
    return Step::failed;
  return Step::page;
}

void PreparedPages::beginPage(GreyPage& page) {
  const ArtPlace place = placeArt(wish_, paper_, art_.width, art_.height);
  part_ = {0, 0, art_.width, art_.height};
  x_ = place.x;
  y_ = place.y;
  page.height = place.pageHeight;
  stamps_.clear();
  page.lost = lostInk(art_, place, printed_);
}

void PreparedPages::beginSheet(GreyPage& page) {
  part_ = artOnSheet(plan_, nextSheet_, art_.width, art_.height);
  x_ = plan_.window.left;
  y_ = plan_.window.top;
  page.height = paper_.height;
  stamps_ = sheetStamps(plan_, nextSheet_, part_, paper_, captionText(plan_, nextSheet_));
  if (!paper_.roll) return;
  const Stamp& caption = stamps_.back();
  page.height = caption.top + caption.height + paper_.bottom;
}

bool PreparedPages::nextRow(std::span<uint8_t> row, std::string& /*error*/) {
  std::fill(row.begin(), row.end(), uint8_t{0});
  if (const int64_t y = row_ - y_; y >= 0 && y < part_.height) {
    const auto from = std::max<int64_t>(0, -x_);
    const auto to = std::min<int64_t>(part_.width, static_cast<int64_t>(row.size()) - x_);
    const uint8_t* art = &art_.ink[(part_.top + static_cast<size_t>(y)) * art_.width + part_.left];
    if (from < to) std::copy(art + from, art + to, row.begin() + (x_ + from));
  }
  for (const Stamp& stamp : stamps_) {
    if (row_ < stamp.top || row_ - stamp.top >= stamp.height || stamp.left >= row.size()) continue;
    const uint32_t y = row_ - stamp.top;
    const auto ink = std::span(stamp.ink).subspan(size_t{y} * stamp.width);
    const size_t width = std::min<size_t>(stamp.width, row.size() - stamp.left);
    for (size_t x = 0; x < width; ++x) row[stamp.left + x] = std::max(row[stamp.left + x], ink[x]);
  }
  ++row_;
  return true;
}

std::unique_ptr<PreparedPages> openPreparedPages(int descriptor, const documents::Paper& paper,
                                                 const ArtWish& wish, const documents::World& world,
                                                 std::string& error) {
  const ArtRequest request = artRequest(wish, paper);
  auto pages = documents::openGreyPages(descriptor, request.box, request.wish, world, error);
  if (!pages) return nullptr;
  return std::make_unique<PreparedPages>(std::move(pages), paper, wish);
}
