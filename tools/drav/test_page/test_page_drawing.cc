// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/test_page/test_page_drawing.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "tools/drav/document/page_header.h"
#include "tools/drav/engine/page_turn.h"
#include "tools/drav/job/paper_scale.h"

namespace {

constexpr double kMostMillimetres = 600;  // of the page's length
constexpr double kText = 2.3;             // letters, in millimetres
constexpr double kTitle = 4;
constexpr double kNarrowHead = 60;  // millimetres, from where on they are smaller
constexpr double kNarrowText = 1.9;
constexpr double kNarrowTitle = 2.6;
constexpr double kLeft = 9;  // room for the ruler down the side
constexpr double kGap = 3.5;
constexpr double kEdgeRoom = 18;  // for the bars of the right edge
constexpr int kEdgeStep = 8;      // dots between the bars of the right edge

std::string millimetreText(double value) {
  std::array<char, 32> text{};
  (void)std::snprintf(text.data(), text.size(), "%.1f mm", value);
  return text.data();
}

class TestPage {
 public:
  TestPage(const DriverFile& driver, Progress& progress)
      : driver_(driver), progress_(progress), engine_(driver) {}

  std::unique_ptr<InkCanvas> draw(PaperChoice& paper, std::string& error) {
    if (driver_.resolutionX() == 0 || driver_.pageWidth() * driver_.resolutionX() < 144 * 72) {
      error = "the driver file does not tell its resolution, or its paper is below 144 dots";
      return nullptr;
    }
    const uint32_t width = dots(driver_.pageWidth(), driver_.resolutionX());
    head_ = static_cast<int>(width);
    if (driver_.printableDots() != 0)
      head_ = std::min(head_, static_cast<int>(driver_.printableDots()));
    if (head_ < across(kNarrowHead)) {
      text_ = kNarrowText;
      title_ = kNarrowTitle;
    }
    for (const double squeeze : {1.0, 0.75, 0.5}) {  // before a longer paper is looked for
      squeeze_ = squeeze;
      if (!drawAll(width, error)) return nullptr;
      if (y_ <= static_cast<int>(dots(driver_.pageLength(), driver_.resolutionY()))) break;
    }
    if (!choosePaper(paper, error)) return nullptr;
    auto page = std::make_unique<InkCanvas>(width, dots(paper.length, driver_.resolutionY()));
    page->copyRows(*canvas_, static_cast<uint32_t>(y_));
    drawSideRuler(*page);
    return page;
  }

 private:
  static uint32_t dots(double points, uint32_t perInch) {
    return static_cast<uint32_t>(std::lround(points * perInch / kPointsPerInch));
  }
  bool drawAll(uint32_t width, std::string& error) {
    canvas_ = std::make_unique<InkCanvas>(width, static_cast<uint32_t>(down(kMostMillimetres)));
    drawTitle();
    drawRulers();
    drawRightEdge();
    if (!drawWedges(error)) return false;
    drawLines();
    drawDensity();
    return true;
  }

  int across(double millimetres) const {
    return static_cast<int>(std::lround(millimetres * driver_.resolutionX() / kMillimetresPerInch));
  }
  int down(double millimetres) const {
    return static_cast<int>(std::lround(millimetres * driver_.resolutionY() / kMillimetresPerInch));
  }
  // Height of what may be lower on short paper: patches and gaps, not letters.
  int patch(double millimetres) const { return down(millimetres * squeeze_); }
  int left() const { return std::min(across(kLeft), head_ / 6); }
  int room() const { return head_ - left(); }

  // Text below what is there.
  void line(const std::string& text, bool bold = false) {
    y_ = paragraph(y_, room(), text, text_, bold);
  }
  // Text from row `y` on; gives the row behind it.
  int paragraph(int y, double width, const std::string& text, double size, bool bold) {
    for (const std::string& part : canvas_->wrap(text, across(size), width, bold)) {
      y += down(size * 1.3);
      canvas_->text(left(), y - down(size * 0.3), across(size), part, TextSide::left, bold);
    }
    return y;
  }

  void drawTitle() {
    y_ = down(1);
    y_ = paragraph(y_, room(), driver_.title() + ", test page", title_, true);
    line(std::to_string(head_) + " dots of " + std::to_string(driver_.resolutionX()) +
         " per inch = " + millimetreText(head_ * kMillimetresPerInch / driver_.resolutionX()));
    line("Print it with -o HalftoneType=None -o Brightness=0, at its own size.");
  }

  void drawRulers() {
    y_ += patch(kGap);
    const int top = y_;
    rulersTop_ = top;
    for (int millimetre = 0; across(millimetre) < head_; ++millimetre) {
      const bool ten = millimetre % 10 == 0;
      const double length = ten ? 4 : millimetre % 5 == 0 ? 3 : 2;
      canvas_->fill(across(millimetre), top, millimetre == 0 ? 2 : 1, down(length));
      if (ten && millimetre > 0 && across(millimetre + 5) < head_)
        canvas_->text(across(millimetre), top + down(6.2), across(text_),
                      std::to_string(millimetre), TextSide::middle);
    }
    canvas_->text(across(2), top + down(6.2), across(text_), "mm");
    y_ = top + down(13);
    for (int dot = 0; dot < head_; dot += 10) {
      const bool hundred = dot % 100 == 0;
      const double length = hundred ? 4 : dot % 50 == 0 ? 3 : 2;
      canvas_->fill(dot, y_ - down(length), 1, down(length));
      if (hundred && dot > 0 && dot + 60 < head_)
        canvas_->text(dot, y_ - down(4.6), across(text_ * 0.9), std::to_string(dot),
                      TextSide::middle);
    }
    canvas_->text(across(1.5), y_ - down(4.6), across(text_), "dots");
    canvas_->fill(0, y_, head_, 1);
    y_ += down(1);
    rulersEnd_ = y_;
  }

  // Bars in steps, from well inside the head to behind it. What they tell stands beside
  // them, or above them where the paper is narrow.
  void drawRightEdge() {
    y_ += patch(kGap);
    const double beside = room() - across(kEdgeRoom);
    const bool narrow = beside < across(40);
    int text = paragraph(y_, room(), "Right edge", text_, true);
    text =
        paragraph(text, narrow ? room() : std::min(beside, across(80) * 1.0),
                  "The last number with a bar tells how many dots reach the paper. Bars without a "
                  "number lie behind dot " +
                      std::to_string(head_) + ", where the driver cuts, and must not print.",
                  text_, false);
    if (narrow) y_ = text + down(1);
    const int top = y_;
    const int step = std::max(down(1.9), patch(2.4));
    constexpr int kInside = 7;
    constexpr int kOutside = 2;
    for (int i = -kInside; i <= kOutside; ++i) {
      const int bar = head_ + i * kEdgeStep;  // its last dot, counted from 1
      const int y = top + (i + kInside) * step;
      canvas_->fill(bar - 2, y, 2, step);
      if (i > 0) continue;
      canvas_->text(bar - 2 - across(0.8), y + step - down(0.4), across(text_ * 0.85),
                    std::to_string(bar), TextSide::right);
    }
    y_ = std::max(text, top + (kInside + kOutside + 1) * step);
  }

  bool drawWedges(std::string& error) {
    y_ += patch(kGap);
    line("Grey, 0 to 100 %, for each HalftoneType: what runs", true);
    const std::vector<DriverChoice> choices = driver_.choices("HalftoneType");
    GreyPage wedge = makeWedge(static_cast<uint32_t>(room()), static_cast<uint32_t>(patch(4.5)));
    if (!engine_.load(wedge, error)) return false;
    std::string plain = " Brightness=0";
    for (const auto& [name, neutral] : kNeutralChoices)
      plain += std::string(" ") + name + "=" + neutral;
    uint64_t done = 0;
    for (const DriverChoice& choice : choices) {
      progress_.show(done++, choices.size(), choice.label);
      DotPage printed;
      if (!engine_.print("HalftoneType=" + choice.name + plain, printed, error)) return false;
      line(choice.name + ": " + choice.label.substr(0, choice.label.find(" (")));
      canvas_->putDots(left(), y_, printed, static_cast<uint32_t>(room()));
      y_ += static_cast<int>(printed.rows) + down(0.8);
    }
    line("Real grey, printed by the halftone of this job", true);
    for (uint32_t y = 0; y < wedge.header.cupsHeight; ++y)
      for (int x = 0; x < room(); ++x)
        canvas_->setPixel(left() + x, y_ + static_cast<int>(y),
                          wedge.pixels[static_cast<size_t>(x)]);
    y_ += static_cast<int>(wedge.header.cupsHeight);
    for (int percent = 0; percent <= 100; percent += 10) {
      const int x = left() + (room() - 1) * percent / 100;
      canvas_->fill(x, y_, 1, down(1));
      if (percent > 0 && percent < 100)
        canvas_->text(x, y_ + down(3.2), across(text_ * 0.85), std::to_string(percent),
                      TextSide::middle);
    }
    y_ += down(3.5);
    return true;
  }

  GreyPage makeWedge(uint32_t width, uint32_t height) const {
    GreyPage page;
    page.header = makeGreyHeader(driver_, width, height);
    page.pixels.resize(size_t{width} * height);
    for (uint32_t x = 0; x < width; ++x)
      for (uint32_t y = 0; y < height; ++y)
        page.pixels[size_t{y} * width + x] = static_cast<uint8_t>(uint64_t{x} * 255 / (width - 1));
    return page;
  }

  // Five lines of `thick` dots, as far apart, upright and lying; `ink` on its opposite.
  void drawGroup(int x, int size, int thick, uint8_t ink) {
    const auto paper = static_cast<uint8_t>(255 - ink);
    canvas_->fill(x, y_, size * 2, size, paper);
    for (int at = thick; at + thick <= size; at += 2 * thick) {
      canvas_->fill(x + at, y_ + thick, thick, size - 2 * thick, ink);
      canvas_->fill(x + size + thick, y_ + at, size - 2 * thick, thick, ink);
    }
  }

  void drawLines() {
    y_ += patch(kGap);
    line("Finest lines: 1, 2, 3, 4, 6 dots, black and white; single dots 2, 3, 4, 8 apart", true);
    constexpr std::array kThick = {1, 2, 3, 4, 6};
    const int cell = room() / static_cast<int>(kThick.size());
    const int size = std::min(patch(8), cell / 2 - across(0.7));
    for (const uint8_t ink : {uint8_t{255}, uint8_t{0}}) {
      for (size_t i = 0; i < kThick.size(); ++i)
        drawGroup(left() + static_cast<int>(i) * cell, size, kThick.at(i), ink);
      y_ += size + down(1);
    }
    constexpr std::array kApart = {2, 3, 4, 8};
    for (size_t i = 0; i < kApart.size(); ++i) {
      const int start = left() + static_cast<int>(i) * cell;
      for (int y = 0; y < size; y += kApart.at(i))
        for (int x = 0; x < 2 * size; x += kApart.at(i)) canvas_->setPixel(start + x, y_ + y, 255);
    }
    y_ += size + down(1);
    drawGreyLines();
  }

  // Lines of real grey: what is left of a pale stroke is the job's halftone's doing.
  void drawGreyLines() {
    line("Real grey lines, 1 to 4 dots, of 25, 50, 75 and 100 %: what this job's halftone leaves");
    constexpr std::array<uint8_t, 4> kInks = {64, 128, 191, 255};
    const int cell = room() / static_cast<int>(kInks.size());
    for (int thick = 1; thick <= 4; ++thick) {
      for (size_t i = 0; i < kInks.size(); ++i)
        canvas_->fill(left() + static_cast<int>(i) * cell, y_ + down(0.5), cell - across(1.5),
                      thick, kInks.at(i));
      y_ += patch(1.6);
    }
  }

  void drawDensity() {
    y_ += patch(kGap);
    const DriverChoice density = driver_.current("PrintDensity");
    line(
        "Density" + (density.name.empty() ? "" : ", PrintDensity=" + density.name + " unless said"),
        true);
    line("Black pale or streaky: more. White lines filled, paper curled: less.");
    const int height = patch(10);
    const int half = room() / 2 - across(1);
    canvas_->fill(left(), y_, half, height);
    for (int thick = 1; thick <= 4; ++thick)  // in the black, with 3 mm between them
      canvas_->fill(left() + across(2), y_ + patch(2.0 * thick), half - across(4), thick, 0);
    const int right = left() + room() / 2;
    for (int y = 0; y < height; ++y)  // every other dot, which heat makes run together
      for (int x = y % 2; x < half; x += 2) canvas_->setPixel(right + x, y_ + y, 255);
    y_ += height + down(2);
  }

  bool choosePaper(PaperChoice& paper, std::string& error) const {
    const double needed = y_ * kPointsPerInch / driver_.resolutionY();
    paper = {driver_.current("PageSize").name, driver_.pageWidth(), driver_.pageLength()};
    if (paper.length >= needed) return true;
    const double current = paper.width;
    paper.length = 0;
    if (!driver_.isGiven("PageSize"))
      for (const PaperChoice& other : driver_.papers())
        if (std::abs(other.width - current) < 1 && other.length >= needed &&
            (paper.length == 0 || other.length < paper.length))
          paper = other;
    if (paper.length > 0) return true;
    error = "the test page is " + millimetreText(needed * kMillimetresPerInch / kPointsPerInch) +
            " long; choose a longer paper with -o PageSize=";
    return false;
  }

  // Down the left side, as long as the page, to tell whether the paper is fed as far as
  // it should.
  void drawSideRuler(InkCanvas& page) const {
    for (int millimetre = 0; down(millimetre) < static_cast<int>(page.height()); ++millimetre) {
      if (down(millimetre) >= rulersTop_ && down(millimetre) < rulersEnd_) continue;
      const bool ten = millimetre % 10 == 0;
      page.fill(0, down(millimetre), across(ten ? 3.0 : millimetre % 5 == 0 ? 2.2 : 1.4), 1);
      if (ten && millimetre > 0 && down(millimetre + 2) < static_cast<int>(page.height()))
        page.text(across(3.4), down(millimetre) + across(text_ * 0.35), across(text_),
                  std::to_string(millimetre));
    }
  }

  const DriverFile& driver_;
  Progress& progress_;
  PageEngine engine_;
  std::unique_ptr<InkCanvas> canvas_;
  int head_ = 0;  // dots that the driver prints
  double text_ = kText;
  double title_ = kTitle;
  double squeeze_ = 1;
  int y_ = 0;
  int rulersTop_ = 0;  // rows that the rulers along the top take
  int rulersEnd_ = 0;
};

}  // namespace

std::unique_ptr<InkCanvas> drawTestPage(const DriverFile& driver, Progress& progress,
                                        PaperChoice& paper, std::string& error) {
  return TestPage(driver, progress).draw(paper, error);
}
