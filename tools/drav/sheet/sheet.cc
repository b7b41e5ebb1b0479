// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/sheet/sheet.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <deque>

#include "proof/area_average.h"
#include "tools/drav/draw/drawing_file.h"
#include "tools/drav/engine/page_turn.h"
#include "tools/drav/io/output_name.h"
#include "tools/drav/io/text.h"
#include "tools/drav/job/paper_scale.h"
#include "tools/drav/sheet/busiest_part.h"
#include "tools/drav/sheet/sheet_drawing.h"

namespace {

constexpr double kPdfPointsPerUnit = 0.35;  // a sheet is about as wide as A4

std::vector<uint8_t> levelsOf(const DotPage& dots) {
  std::vector<uint8_t> levels(size_t{dots.width()} * dots.rows);
  for (uint32_t y = 0; y < dots.rows; ++y)
    for (uint32_t x = 0; x < dots.width(); ++x)
      levels[size_t{y} * dots.width() + x] = dots.isDot(x, y) ? 0 : 255;
  return levels;
}

SheetImage overviewOf(const std::vector<uint8_t>& levels, const DotPage& dots) {
  const double scale = std::min({1.0, static_cast<double>(kSheetOverviewWidth) / dots.width(),
                                 static_cast<double>(kSheetOverviewHeight) / dots.rows});
  const auto side = [scale](uint32_t length) {
    return std::max(1U, static_cast<uint32_t>(std::lround(length * scale)));
  };
  SheetImage image{side(dots.width()), side(dots.rows), {}};
  image.levels = areaAverage(levels, dots.width(), dots.rows, image.width, image.height);
  return image;
}

SheetImage cropOf(const std::vector<uint8_t>& levels, const DotPage& dots,
                  const DotRectangle& crop) {
  SheetImage image{crop.width, crop.height, {}};
  image.levels.reserve(size_t{crop.width} * crop.height);
  for (uint32_t y = 0; y < crop.height; ++y) {
    const auto row =
        levels.begin() + static_cast<std::ptrdiff_t>(size_t{crop.y + y} * dots.width() + crop.x);
    image.levels.insert(image.levels.end(), row, row + crop.width);
  }
  return image;
}

std::string blackText(double share) {
  std::array<char, 64> text{};
  (void)std::snprintf(text.data(), text.size(), "%.1f %% black", share * 100);
  return text.data();
}

std::string lengthsText(const char* before, double one, double other) {
  std::array<char, 128> text{};
  (void)std::snprintf(text.data(), text.size(), "%.1f x %.1f mm", one, other);
  return std::string(before) + text.data();
}

// What TrimPaper leaves of a page; empty if it is all of it.
std::string trimmedText(const DotPage& dots) {
  if (dots.rows == dots.pageRows || dots.dotsPerInchY == 0) return "";
  std::array<char, 64> text{};
  (void)std::snprintf(text.data(), text.size(), ", %.1f mm long",
                      dots.rows * kMillimetresPerInch / dots.dotsPerInchY);
  return text.data();
}

// Prints one page with all choices of all options.
class SheetMaker {
 public:
  SheetMaker(const SheetRequest& request, const PageVisit& visit)
      : request_(request), visit_(visit) {}

  bool make(std::vector<SheetPage>& sheets, std::string& error) {
    for (const std::string& option : request_.options)
      total_ += visit_.driver.choices(option).size();
    for (const std::string& option : request_.options) {
      SheetPage sheet;
      if (!fill(option, sheet, error)) return false;
      sheets.push_back(std::move(sheet));
    }
    return true;
  }

 private:
  bool fill(const std::string& option, SheetPage& sheet, std::string& error) {
    const std::vector<DriverChoice> choices = visit_.driver.choices(option);
    if (choices.empty()) {
      error = "the driver has no option " + option;
      return false;
    }
    for (const DriverChoice& choice : choices) {
      visit_.progress.show(done_, total_, choice.label);
      const std::string setting = option + "=" + choice.name;
      DotPage dots;
      if (!visit_.engine.print(setting, dots, error)) return false;
      const std::string length = trimmedText(dots);
      restoreRows(dots);  // so that all cells show the same part of the page
      if (crop_.width == 0 && !chooseCrop(dots, error)) return false;
      sheet.pageWidth = dots.width();
      sheet.pageHeight = dots.rows;
      sheet.cells.push_back(cellOf(choice, setting, option, dots));
      sheet.cells.back().detail += length;
      visit_.progress.show(++done_, total_, choice.label);
    }
    sheet.crop = crop_;
    sheet.name = option == "HalftoneType" ? "halftones" : "brightness";
    setTitles(option, sheet);
    return true;
  }

  SheetCell cellOf(const DriverChoice& choice, const std::string& setting,
                   const std::string& option, const DotPage& dots) const {
    const std::vector<uint8_t> levels = levelsOf(dots);
    const double black = static_cast<double>(countDots(dots)) / static_cast<double>(levels.size());
    SheetCell cell;
    cell.label = choice.label;
    cell.detail = "-o " + setting + ", " + blackText(black);
    cell.current = choice.name == visit_.driver.current(option).name;
    cell.overview = overviewOf(levels, dots);
    cell.crop = cropOf(levels, dots, crop_);
    return cell;
  }

  bool chooseCrop(const DotPage& dots, std::string& error) {
    const PageTurn turn = turnOf(visit_.driver);
    const auto choose = [&dots](const GreyPage& page) {
      return busiestPart(page, dots.width(), kSheetCropWidth, kSheetCropHeight);
    };
    crop_ = turn == PageTurn() ? choose(visit_.page) : choose(turnedPage(visit_.page, turn));
    if (!request_.detail) return true;
    if (dots.dotsPerInchX == 0 || dots.dotsPerInchY == 0) {
      error = "--detail is in mm, and the page does not tell its dots per inch";
      return false;
    }
    const double acrossDots = dots.dotsPerInchX / kMillimetresPerInch;
    const double alongDots = dots.dotsPerInchY / kMillimetresPerInch;
    const uint32_t lastX = dots.width() - crop_.width;
    const uint32_t lastY = dots.rows - crop_.height;
    const auto [x, y] = *request_.detail;
    // Written so that not-a-number is refused.
    if (!(x >= 0 && y >= 0 && x * acrossDots < dots.width() && y * alongDots < dots.rows)) {
      error = lengthsText("--detail begins outside of the page, which is ",
                          dots.width() / acrossDots, dots.rows / alongDots) +
              lengthsText("; for a part of full size it begins at most at ", lastX / acrossDots,
                          lastY / alongDots);
      return false;
    }
    crop_.x = static_cast<uint32_t>(std::min<double>(x * acrossDots, lastX));
    crop_.y = static_cast<uint32_t>(std::min<double>(y * alongDots, lastY));
    return true;
  }

  // What goes for every cell of the sheet.
  std::string sharedOptions(const std::string& option) const {
    std::string text = " " + visit_.facts.options + " ";
    const size_t at = text.find(" " + option + "=");
    if (at != std::string::npos) text.erase(at, text.find(' ', at + 1) - at);
    return text.substr(1, text.size() - 2);
  }

  void setTitles(const std::string& option, SheetPage& sheet) const {
    const std::string all = option == "HalftoneType" ? "in every halftone" : "in every " + option;
    sheet.titles = {visit_.facts.title + ", page " + std::to_string(visit_.number) + ", " + all,
                    visit_.facts.driver + "; " + sharedOptions(option)};
    const uint32_t x = visit_.page.header.HWResolution[0];
    const uint32_t y = visit_.page.header.HWResolution[1];
    if (x != 0 && y != 0)
      sheet.titles.push_back(
          lengthsText("At the right of each, one pixel a dot, the part marked on the page: ",
                      crop_.width * kMillimetresPerInch / x,
                      crop_.height * kMillimetresPerInch / y) +
          lengthsText(" of ", sheet.pageWidth * kMillimetresPerInch / x,
                      sheet.pageHeight * kMillimetresPerInch / y));
    std::string warning = visit_.lostText;
    if (!visit_.facts.approximation.empty())
      warning =
          "Approximate: " + visit_.facts.approximation + (warning.empty() ? "" : "; " + warning);
    sheet.warns = !warning.empty();
    if (sheet.warns) sheet.titles.push_back(warning);
    for (const LostInk& lost : visit_.lost)
      sheet.lost.push_back(onPaper(lost, visit_.page.header, turnOf(visit_.driver)));
  }

  const SheetRequest& request_;
  const PageVisit& visit_;
  DotRectangle crop_;
  uint64_t done_ = 0;
  uint64_t total_ = 0;
};

Drawing drawingOf(const SheetPage& sheet) {
  const SheetSize size = sheetSize(sheet);
  return {size.width, size.height, [&sheet](cairo_t* context) { drawSheet(context, sheet); }};
}

bool writePdf(const std::string& path, const std::vector<SheetPage>& sheets, const PageFacts& facts,
              std::string& error) {
  std::vector<Drawing> pages;
  pages.reserve(sheets.size());
  for (const SheetPage& sheet : sheets) pages.push_back(drawingOf(sheet));
  OutputFile file;
  return writePdfDrawings(file, path, pages, kPdfPointsPerUnit, "Contact sheet of " + facts.title,
                          error) &&
         file.commit(error);
}

bool writePngs(const std::string& path, const SheetRequest& request,
               const std::vector<SheetPage>& sheets, std::vector<std::string>& written,
               std::string& error) {
  std::deque<OutputFile> files;
  std::vector<std::string> names;
  for (const SheetPage& sheet : sheets) {
    names.push_back(names.empty() ? path : insertBeforeEnding(path, "-" + sheet.name));
    if (!checkNotInput(names.back(), request.pages.input, error) ||
        !writePngDrawing(files.emplace_back(), names.back(), drawingOf(sheet), error))
      return false;
  }
  written = names;
  return std::all_of(files.begin(), files.end(),
                     [&error](OutputFile& file) { return file.commit(error); });
}

}  // namespace

bool makeSheets(const SheetRequest& request, std::vector<std::string>& written, PageFacts& facts,
                std::string& error) {
  const std::string path =
      request.out.empty() ? defaultOutputName(request.pages.input, "-sheet.png") : request.out;
  const std::string ending = endingOf(path);
  if (ending != ".png" && ending != ".pdf") {
    error = printablePath(path) + ": the name of a sheet ends in .png or .pdf";
    return false;
  }
  if (!checkNotInput(path, request.pages.input, error)) return false;
  std::vector<SheetPage> sheets;
  PageRequest pages = request.pages;
  pages.page = std::max(1U, pages.page);
  const auto visitor = [&request, &sheets](const PageVisit& visit, std::string& why) {
    return SheetMaker(request, visit).make(sheets, why);
  };
  if (!runPages(pages, visitor, facts, error)) return false;
  if (ending == ".png") return writePngs(path, request, sheets, written, error);
  written = {path};
  return writePdf(path, sheets, facts, error);
}
