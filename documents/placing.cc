// SPDX-License-Identifier: Apache-2.0
#include "documents/placing.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace documents {
namespace {

// Files state resolutions in whole dots a centimetre or metre, so 300 dpi come as 299.72.
constexpr double kSameDpi = 0.001;

// Lengths are kept as fractions, dots in whole numbers over dpi, and divided last: so a half
// dot is exactly that wherever there is one, and is rounded alike on every machine.
struct Length {
  double over = 1;
  double under = 1;

  double dots() const { return over / under; }
};

struct Size {
  Length width;
  Length height;
};

uint32_t wholeDots(double dots) {
  return static_cast<uint32_t>(std::clamp(std::floor(dots + 0.5), 1.0, kMostDots));
}

bool isSideways(Turn turn) { return turn == Turn::kLeft || turn == Turn::kRight; }

bool isBelievable(const Density& dpi) {
  const auto within = [](double value) { return value >= kLeastDpi && value <= kMostDpi; };
  return within(dpi.x) && within(dpi.y);
}

// The resolution that counts; the head's own where it is nearly that.
Density resolution(const PictureFacts& facts, const Paper& paper, const PageWish& wish) {
  const Density head = {static_cast<double>(paper.dpiX), static_cast<double>(paper.dpiY)};
  Density own = head;
  if (wish.ppi)
    own = *wish.ppi;
  else if (isBelievable(facts.dpi))
    own = facts.dpi;
  const auto near = [](double a, double b) { return std::abs(a - b) <= kSameDpi * b; };
  return near(own.x, head.x) && near(own.y, head.y) ? head : own;
}

// By which a length is multiplied: over * dpi / under.
struct Factor {
  double over = 1;
  double under = 1;
  double dpi = 1;

  double value() const { return over * dpi / under; }
  double dotsOf(const Length& length) const {
    if (length.under == dpi) return length.over * over / under;
    return length.over * over * dpi / (length.under * under);
  }
};

// True size in dots. A picture on its side has its own height across the paper.
Size trueSize(const PictureFacts& facts, const Density& dpi, const Paper& paper, Turn turn) {
  const auto across = static_cast<double>(paper.dpiX);
  const auto along = static_cast<double>(paper.dpiY);
  if (isSideways(turn)) return {{facts.height * across, dpi.y}, {facts.width * along, dpi.x}};
  return {{facts.width * across, dpi.x}, {facts.height * along, dpi.y}};
}

// What decides the size, in the order in which one wins over the next.
struct Sizing {
  PrintScaling scaling = PrintScaling::kAutoFit;
  uint32_t percent = 100;  // of the page, with kFit
  Factor natural;          // of the true size, where nothing else decides
};

Sizing sizing(const PageWish& wish) {
  const bool enlarges = wish.scaling == PrintScaling::kFit || wish.scaling == PrintScaling::kFill;
  const PrintScaling keeping = enlarges ? PrintScaling::kAutoFit : wish.scaling;
  const Factor natural =
      wish.naturalPercent ? Factor{static_cast<double>(*wish.naturalPercent), 100} : Factor{};
  if (wish.ppi) return {keeping, 100, natural};
  if (wish.percent) return {PrintScaling::kFit, *wish.percent, {}};
  if (wish.fitToPage) return {PrintScaling::kFit, 100, {}};
  if (wish.naturalPercent) return {keeping, 100, natural};
  return {wish.scaling, 100, {}};
}

struct Area {
  uint32_t left, top, width, height;
};

// Whether the area holds the size, or would if it were a little larger: a head is not as wide
// to the dot as its paper's name says.
bool holds(const Area& area, const Size& size, const Factor& factor, const Paper& paper) {
  const auto more = [](uint32_t dpi) { return kToleratedTenths * dpi / 254; };
  return wholeDots(factor.dotsOf(size.width)) <= area.width + more(paper.dpiX) &&
         wholeDots(factor.dotsOf(size.height)) <= area.height + more(paper.dpiY);
}

Area printable(const Paper& paper) {
  return {paper.left, paper.top, paper.width - paper.left - paper.right,
          paper.height - paper.top - paper.bottom};
}

Turn chooseTurn(const PageWish& wish, PrintScaling scaling, bool fitsUpright, bool fitsTurned) {
  if (wish.turn) return *wish.turn;
  if (wish.landscape) return Turn::kLeft;
  const bool keepsSize = scaling != PrintScaling::kFit && scaling != PrintScaling::kFill;
  return keepsSize && !fitsUpright && fitsTurned ? Turn::kLeft : Turn::kNone;
}

// `auto` and `auto-fit` are one of the others, as the picture fits or not.
PrintScaling resolved(PrintScaling scaling, bool fits, const Paper& paper) {
  if (scaling != PrintScaling::kAuto && scaling != PrintScaling::kAutoFit) return scaling;
  if (fits) return PrintScaling::kNone;
  const bool hasMargins = (paper.left | paper.top | paper.right | paper.bottom) != 0;
  return scaling == PrintScaling::kAuto && !hasMargins ? PrintScaling::kFill : PrintScaling::kFit;
}

// By how much `size` fills the area in one direction and stays within it in the other, or
// (`covers`) leaves nothing of it blank. A roll is as long as it must be.
Factor filling(const Size& size, const Area& area, uint32_t percent, bool covers, bool roll) {
  const double across = area.width * size.height.dots();
  const double along = area.height * size.width.dots();
  const bool isWidth = covers ? roll || across >= along : across <= along;
  const Length& side = isWidth ? size.width : size.height;
  const uint32_t room = isWidth ? area.width : area.height;
  return {static_cast<double>(room) * percent, side.over * 100, side.under};
}

int64_t placeAt(uint32_t start, int64_t room, Position position, bool isAtEdge) {
  const std::array<int64_t, 3> offsets = {0, isAtEdge && room < 0 ? 0 : room / 2, room};
  return start + offsets.at(static_cast<size_t>(position));
}

uint32_t visible(int64_t start, uint32_t size, uint32_t page) {
  const int64_t end = std::min<int64_t>(start + size, page);
  return static_cast<uint32_t>(std::max<int64_t>(0, end - std::max<int64_t>(0, start)));
}

// Not by printf, which writes a decimal comma in some locales.
std::string tenths(double value) {
  const auto whole = static_cast<uint64_t>(std::llround(std::max(0.0, value) * 10));
  return std::to_string(whole / 10) + "." + std::to_string(whole % 10);
}

std::string rounded(double value) {
  return std::to_string(std::llround(std::clamp(value, 0.0, 1e9)));
}

struct Told {
  const PictureFacts& facts;
  const Paper& paper;
  const PageWish& wish;
  const Placing& placing;
  Size trueSize;
  Factor natural;  // of that, before it was reduced
};

void tell(const Told& told, std::vector<Note>& notes) {
  const PictureFacts& facts = told.facts;
  const Paper& paper = told.paper;
  const Placing& placing = told.placing;
  const Size& size = told.trueSize;
  const Factor& natural = told.natural;
  const auto across = [dpi = paper.dpiX](double dots) { return dots / dpi * kMillimetresPerInch; };
  const auto along = [dpi = paper.dpiY](double dots) { return dots / dpi * kMillimetresPerInch; };
  if (facts.frames > 1)
    notes.push_back({NoteKind::kFirstFrame,
                     "the first of its " + std::to_string(facts.frames) + " pictures is printed"});
  if (!told.wish.ppi && (facts.dpi.x > 0 || facts.dpi.y > 0) && !isBelievable(facts.dpi))
    notes.push_back({NoteKind::kResolutionIgnored,
                     "the " + rounded(std::max(facts.dpi.x, facts.dpi.y)) +
                         " dpi that it states do not count; it has the printer's " +
                         std::to_string(paper.dpiX)});
  if (facts.width == 1 && facts.height == 1)
    notes.push_back({NoteKind::kOnePixel, "it is a single pixel"});
  if (placing.isTurned)
    notes.push_back({NoteKind::kTurned, "it was turned a quarter to the left to fit the page"});
  if (placing.isReduced)
    notes.push_back({NoteKind::kReduced, "it is " + rounded(across(natural.dotsOf(size.width))) +
                                             " x " + rounded(along(natural.dotsOf(size.height))) +
                                             " mm large and was reduced to " +
                                             tenths(placing.scale / natural.value() * 100) +
                                             " % to fit the page"});
  const uint32_t lostAcross = placing.width - placing.visibleWidth();
  const uint32_t lostAlong = placing.height - placing.visibleHeight();
  if (lostAcross != 0 || lostAlong != 0)
    notes.push_back({NoteKind::kCut, tenths(across(lostAcross)) + " mm of its width and " +
                                         tenths(along(lostAlong)) +
                                         " mm of its height lie beyond the page"});
}

}  // namespace

uint32_t Placing::visibleWidth() const { return visible(x, width, pageWidth); }
uint32_t Placing::visibleHeight() const { return visible(y, height, pageHeight); }

Placing placePicture(const PictureFacts& facts, const Paper& paper, const PageWish& wish,
                     std::vector<Note>* notes) {
  const Density dpi = resolution(facts, paper, wish);
  const Sizing wanted = sizing(wish);
  Area area = printable(paper);
  Placing placing;
  const Factor& natural = wanted.natural;
  const bool fitsUpright = holds(area, trueSize(facts, dpi, paper, Turn::kNone), natural, paper);
  const bool fitsTurned = holds(area, trueSize(facts, dpi, paper, Turn::kLeft), natural, paper);
  placing.turn = chooseTurn(wish, wanted.scaling, fitsUpright, fitsTurned);
  placing.isTurned = !wish.turn && !wish.landscape && placing.turn != Turn::kNone;

  const Size size = trueSize(facts, dpi, paper, placing.turn);
  const PrintScaling scaling = resolved(wanted.scaling, holds(area, size, natural, paper), paper);
  if (scaling == PrintScaling::kFill) area = {0, 0, paper.width, paper.height};
  Factor factor = natural;
  if (scaling != PrintScaling::kNone)
    factor = filling(size, area, wanted.percent, scaling == PrintScaling::kFill, paper.roll);
  const double longest = std::max(size.width.dots(), size.height.dots());
  if (factor.value() > kMostDots / longest) factor = {kMostDots, longest, 1};
  placing.scale = factor.value();
  placing.isReduced = placing.scale < natural.value() && wanted.scaling != PrintScaling::kFit &&
                      wanted.scaling != PrintScaling::kFill;
  placing.width = wholeDots(factor.dotsOf(size.width));
  placing.height = wholeDots(factor.dotsOf(size.height));
  placing.isExact = isSideways(placing.turn)
                        ? placing.width == facts.height && placing.height == facts.width
                        : placing.width == facts.width && placing.height == facts.height;

  placing.pageWidth = paper.width;
  placing.pageHeight = paper.height;
  if (paper.roll)
    placing.pageHeight =
        area.top + std::min(placing.height, area.height) + (paper.height - area.top - area.height);
  // What is only tolerated begins at the edge.
  const bool isTolerated = scaling == PrintScaling::kNone && wanted.scaling != PrintScaling::kNone;
  placing.x = placeAt(area.left, int64_t{area.width} - placing.width, wish.across, isTolerated);
  placing.y = paper.roll ? area.top
                         : placeAt(area.top, int64_t{area.height} - placing.height, wish.along,
                                   isTolerated);
  if (notes != nullptr) tell({facts, paper, wish, placing, size, natural}, *notes);
  return placing;
}

}  // namespace documents
