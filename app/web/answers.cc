// SPDX-License-Identifier: Apache-2.0
#include "app/web/answers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string_view>

#include "app/media.h"
#include "app/option_attributes.h"
#include "documents/placing.h"
#include "proof/ink.h"

namespace app {
namespace {

using Json = nlohmann::ordered_json;

// What a note says, for pages in other languages.
const char* kindName(documents::NoteKind kind) {
  using documents::NoteKind;
  switch (kind) {
    case NoteKind::kTurned:
      return "turned";
    case NoteKind::kReduced:
      return "reduced";
    case NoteKind::kFirstFrame:
      return "first-frame";
    case NoteKind::kResolutionIgnored:
      return "resolution";
    default:
      return "other";
  }
}

Json lostSides(const PreparedPage& page) {
  constexpr std::array kNames = {"left", "top", "right", "bottom"};
  Json list = Json::array();
  for (const LostInk& one : page.lost)
    list.push_back({{"side", kNames.at(static_cast<size_t>(one.side))},
                    {"beyond", one.beyond},
                    {"from", one.from},
                    {"to", one.to},
                    {"ink", one.ink},
                    {"all", one.all}});
  return list;
}

// The options that change the picture, which are those that the page offers.
constexpr std::array kShown = {"halftone-type", "brightness", "contrast",
                               "mirror",        "half-turn",  "invert"};

}  // namespace

std::string proofText(const PreparedPage& page, const Proof& proof, const Settings& settings) {
  const DotPage& dots = proof.dots;
  const Ink ink = inkOf(dots);
  Json notes = Json::array();
  for (const documents::Note& note : page.notes)
    if (note.kind != documents::NoteKind::kCut)
      notes.push_back({{"kind", kindName(note.kind)}, {"text", note.text}});
  const Json json = {
      {"row", dots.firstRow},
      {"rows", dots.rows},
      {"black", ink.black},
      {"band", {{"row", ink.bandRow}, {"rows", ink.bandRows}, {"black", ink.bandBlack}}},
      {"mirrored", settings.stencilMirror},
      {"halfTurn", settings.halfTurn},
      {"inverted", settings.invertPage},
      {"leftOutFrame", proof.leftOutFrame},
      {"page",
       {{"width", dots.width()},
        {"columns", page.reach},
        {"rows", dots.pageRows},
        {"dotsPerInchX", dots.dotsPerInchX},
        {"dotsPerInchY", dots.dotsPerInchY}}},
      {"original", {{"width", page.header.cupsWidth}, {"rows", page.header.cupsHeight}}},
      {"art", {{"width", page.artWidth}, {"rows", page.artHeight}}},
      {"lost", lostSides(page)},
      {"notes", notes}};
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string modelText(const PrinterModel& model) {
  Json options = Json::array();
  for (const OptionAttribute& one : optionAttributes()) {
    const PrinterOption& option = optionOf(one);
    if (!hasAttribute(model, one) ||
        std::find(kShown.begin(), kShown.end(), std::string_view(one.name)) == kShown.end())
      continue;
    Json values = Json::array();
    for (const char* choice : option.choices)
      values.push_back({{"value", valueOfChoice(one, choice)}, {"choice", choice}});
    options.push_back({{"name", one.name}, {"option", one.option}, {"values", values}});
  }
  Json papers = Json::array();
  for (const Medium& one : mediaOf(model)) {
    const documents::Paper paper = picturePaper(model, one).paper;
    const double reach = (paper.width - paper.right) * documents::kMillimetresPerInch / paper.dpiX;
    papers.push_back({{"name", one.name},
                      {"paper", one.paper},
                      {"width", one.width / 100.0},
                      {"length", one.length / 100.0},
                      {"reach", std::floor(reach * 10) / 10},
                      {"isRoll", paper.roll}});
  }
  const Json json = {
      {"model", model.title}, {"dpi", model.resolution}, {"options", options}, {"papers", papers}};
  return json.dump();
}

}  // namespace app
