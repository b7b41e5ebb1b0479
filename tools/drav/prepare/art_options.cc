// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <array>
#include <iomanip>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

#include "documents/page_options.h"
#include "tools/drav/prepare/prepared_pages.h"

namespace {

constexpr double kMostMillimetres = 5000;
constexpr double kMostWidthMm = 1000;  // more passes documents::kMostWidth at 2,400 dpi

std::string numberText(double number) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out << std::setprecision(9) << number;
  return out.str();
}

// As --position takes it; empty for the middle.
std::string positionName(const ArtWish& wish) {
  using documents::Position;
  constexpr std::array kAlong = {"top", "", "bottom"};
  constexpr std::array kAcross = {"left", "", "right"};
  const std::string along = kAlong.at(static_cast<size_t>(wish.along));
  const std::string across = kAcross.at(static_cast<size_t>(wish.across));
  return along.empty() || across.empty() ? along + across : along + "-" + across;
}

// CLI::Range lets through what is not a number.
CLI::Validator within(double least, double most) {
  const std::string range = numberText(least) + " to " + numberText(most);
  return CLI::Validator(
      [=](const std::string& given) {
        double number = 0;
        const bool isGood =
            CLI::detail::lexical_cast(given, number) && number >= least && number <= most;
        return isGood ? std::string() : given + " is not a number from " + range;
      },
      range);
}

// "X,Y,W,H". False for anything else.
bool readCrop(const std::string& text, CropWish& crop) {
  std::istringstream in(text);
  in.imbue(std::locale::classic());
  char comma = ',';
  for (double* number : {&crop.x, &crop.y, &crop.width, &crop.height}) {
    if (comma != ',' || !(in >> *number) || !(*number >= 0) || *number > kMostMillimetres)
      return false;
    if (number != &crop.height && !in.get(comma)) return false;
  }
  return in.peek() == std::istringstream::traits_type::eof() && crop.width > 0 && crop.height > 0;
}

void addSize(CLI::App& app, ArtWish& wish) {
  auto* width = app.add_option("--width", wish.width, "Width of the picture on paper")
                    ->type_name("MM")
                    ->check(within(1, kMostWidthMm));
  auto* height = app.add_option("--height", wish.height,
                                "Height of the picture on paper; with --width as large as fits "
                                "into both")
                     ->type_name("MM")
                     ->check(within(1, kMostMillimetres));
  app.add_option("--dpi", wish.dpi, "Resolution that the picture is taken to have")
      ->type_name("N")
      ->check(within(10, 9600))
      ->excludes(width)
      ->excludes(height);
  app.add_option("--turn", wish.turn, "Turn it clockwise by so many degrees")
      ->check(CLI::IsMember({"0", "90", "180", "270"}));
  app.add_flag("--mirror", wish.mirror, "Mirror it from left to right");
  app.add_option_function<std::string>(
         "--crop",
         [&wish](const std::string& text) {
           if (!readCrop(text, wish.crop.emplace()))
             throw CLI::ValidationError("--crop", "takes X,Y,W,H in mm, such as 10,0,50,80");
         },
         "Keep only this part of the picture, in mm of the result")
      ->type_name("X,Y,W,H");
}

void addTone(CLI::App& app, ArtWish& wish) {
  app.add_option("--black", wish.black, "Lightness from which on all is black (default: 0)")
      ->type_name("N")
      ->check(CLI::Range(0, 255));
  app.add_option("--white", wish.white, "Lightness from which on all is white (default: 255)")
      ->type_name("N")
      ->check(CLI::Range(0, 255));
  app.add_option("--gamma", wish.gamma, "Above 1 makes the greys lighter (default: 1)")
      ->type_name("G")
      ->check(within(0.2, 5));
  app.parse_complete_callback([&wish] {
    if (wish.black >= wish.white)
      throw CLI::ValidationError("--black", "must be lower than --white");
  });
  app.add_flag("--clean", wish.clean,
               "Make a photo or scan of a drawing what was drawn: white paper, even light");
  app.add_flag("--lines", wish.lines, "Draw the outlines of its shapes");
}

void addPlace(CLI::App& app, ArtWish& wish) {
  auto* position =
      app.add_option_function<std::string>(
             "--position",
             [&wish](const std::string& name) {
               documents::PageWish page;
               std::vector<documents::Note> notes;
               (void)documents::takePageOption("position", name, page, notes);
               wish.across = page.across;
               wish.along = page.along;
             },
             "Where it lies on the page (default: center)")
          ->check(CLI::IsMember({"center", "top", "left", "right", "bottom", "top-left",
                                 "top-right", "bottom-left", "bottom-right"}));
  auto* tile = app.add_flag("--tile", wish.tile,
                            "Spread what is larger than the paper over several sheets, with "
                            "register marks and a plan")
                   ->excludes(position);
  app.add_option("--overlap", wish.overlap, "How far the sheets overlap (default: 10)")
      ->type_name("MM")
      ->check(within(0, 100))
      ->needs(tile);
}

}  // namespace

std::vector<std::string> artWords(const ArtWish& wish) {
  const ArtWish plain;
  std::vector<std::string> words;
  const auto add = [&words](const char* option, const std::string& value) {
    words.insert(words.end(), {option, value});
  };
  if (wish.width > 0) add("--width", numberText(wish.width));
  if (wish.height > 0) add("--height", numberText(wish.height));
  if (wish.dpi > 0) add("--dpi", numberText(wish.dpi));
  if (wish.turn) add("--turn", std::to_string(*wish.turn));
  if (wish.mirror) words.emplace_back("--mirror");
  if (const auto& crop = wish.crop)
    add("--crop", numberText(crop->x) + "," + numberText(crop->y) + "," + numberText(crop->width) +
                      "," + numberText(crop->height));
  if (const std::string position = positionName(wish); !position.empty())
    add("--position", position);
  if (wish.tile) words.emplace_back("--tile");
  if (wish.overlap != plain.overlap) add("--overlap", numberText(wish.overlap));
  if (wish.black != plain.black) add("--black", std::to_string(wish.black));
  if (wish.white != plain.white) add("--white", std::to_string(wish.white));
  if (wish.gamma != plain.gamma) add("--gamma", numberText(wish.gamma));
  return words;
}

void addArtOptions(CLI::App& app, ArtWish& wish) {
  addSize(app, wish);
  addPlace(app, wish);
  addTone(app, wish);
}
