// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/html/html_proof.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

#include "proof/ink.h"
#include "tools/drav/engine/page_turn.h"
#include "tools/drav/html/combinations.h"
#include "tools/drav/html/html_file.h"
#include "tools/drav/html/original.h"
#include "tools/drav/html/png_data.h"

namespace {

using Json = nlohmann::ordered_json;

// The choices of an option; a driver without it has one that says nothing.
struct OptionChoices {
  OptionChoices(const DriverFile& driver, const std::string& optionName)
      : name(optionName), choices(driver.choices(optionName)) {
    const std::string job = driver.current(optionName).name;
    const auto found = std::find_if(choices.begin(), choices.end(),
                                    [&job](const DriverChoice& one) { return one.name == job; });
    if (found == choices.end())
      choices = {{}};
    else
      current = static_cast<size_t>(found - choices.begin());
  }

  std::string setting(size_t index) const {
    const std::string& choice = choices[index].name;
    return choice.empty() ? "" : name + "=" + choice + " ";
  }

  Json json() const {
    Json list = Json::array();
    for (const DriverChoice& choice : choices)
      list.push_back({{"name", choice.name}, {"label", choice.label}});
    return list;
  }

  std::string name;
  std::vector<DriverChoice> choices;
  size_t current = 0;
};

bool isSwitch(const DriverFile& driver, const std::string& option) {
  const std::vector<DriverChoice> choices = driver.choices(option);
  return std::any_of(choices.begin(), choices.end(),
                     [](const DriverChoice& one) { return one.name == "True"; });
}

bool hasFrame(const DriverFile& driver) {
  const std::string level = driver.current("PaperFrame").name;
  return !level.empty() && level != "0";
}

class HtmlProofMaker {
 public:
  explicit HtmlProofMaker(const PageVisit& visit)
      : visit_(visit),
        halftones_(visit.driver, "HalftoneType"),
        brightnesses_(visit.driver, "Brightness"),
        space_{halftones_.choices.size(), brightnesses_.choices.size(),
               isSwitch(visit.driver, "StencilMirror"), isSwitch(visit.driver, "HalfTurn")},
        job_{halftones_.current, brightnesses_.current, turnOf(visit.driver)},
        invertible_(isSwitch(visit.driver, "InvertPage") && !hasFrame(visit.driver)),
        columns_(visit.driver.printedColumns(visit.page.header)) {}

  bool make(HtmlProof& proof, std::string& error) {
    if (!checkSize(error) || !makeOriginal(visit_.page, original_, error)) return false;
    bytes_ = original_.data.size();
    const auto main = mainCombinations(space_, job_);
    const auto steps = stepCombinations(space_, job_);
    if (!addAll(main, kMostPictureBytes, error) || !addAll(steps, mostExtraBytes(), error) ||
        !addFar(main.size() + steps.size(), error))
      return false;
    proof.page = visit_.number;
    proof.combinations = jobsWayRound_;
    proof.allCombinations = space_.size();
    proof.lost = visit_.lostText;
    // File names need not be UTF-8.
    proof.data = scriptSafe(json().dump(-1, ' ', false, Json::error_handler_t::replace));
    return true;
  }

 private:
  // As many as the bytes allow; the job's own in any case.
  bool addAll(const std::vector<Combination>& list, size_t most, std::string& error) {
    const uint64_t total = made_ + list.size();
    for (const Combination& one : list) {
      visit_.progress.show(made_, total, labelOf(one));
      Json proof;
      if (!print(one, proof, error)) return false;
      const size_t size = proof["png"].get_ref<const std::string&>().size();
      if (!proofs_.empty() && bytes_ + size > most) continue;
      bytes_ += size;
      if (one.turn == job_.turn)
        ++jobsWayRound_;
      else
        otherWaysBytes_ += size;
      proofs_.push_back(std::move(proof));
    }
    return true;
  }

  // The other ways round take no room from the steps of brightness.
  size_t mostExtraBytes() const { return kMostExtraBytes + otherWaysBytes_; }

  // The rest as a whole or not at all.
  bool addFar(size_t near, std::string& error) {
    const uint64_t dots = uint64_t{page_.width()} * page_.pageRows * space_.size();
    const size_t pictures = bytes_ - original_.data.size();
    if (proofs_.size() < near || dots > kMostDotsForAll ||
        pictures / near * space_.size() > kMostExtraBytes)
      return true;
    return addAll(farCombinations(space_, job_), mostExtraBytes(), error);
  }

  bool print(const Combination& one, Json& proof, std::string& error) {
    if (!visit_.engine.print(optionsOf(one), page_, error)) return false;
    std::string data;
    if (page_.rows != 0 && !pngData(PngKind::kDots, page_.dots, page_.bytesPerRow, page_.width(),
                                    page_.rows, data, error))
      return false;
    proof = {{"halftone", one.halftone},      {"brightness", one.brightness},
             {"mirrored", one.turn.mirrored}, {"halfTurn", one.turn.halfTurn},
             {"row", page_.firstRow},         {"rows", page_.rows}};
    proof.update(inkJson(inkOf(page_)));
    if (invertible_) proof["inverted"] = inkJson(invertedInkOf(page_, columns_));
    proof["png"] = std::move(data);
    ++made_;
    return true;
  }

  // The page is made with its dots as drawn: the browser inverts them.
  std::string optionsOf(const Combination& one) const {
    const auto choice = [](const char* name, bool on) {
      return std::string(name) + (on ? "=True " : "=False ");
    };
    std::string options = halftones_.setting(one.halftone) + brightnesses_.setting(one.brightness);
    if (space_.mirrors) options += choice("StencilMirror", one.turn.mirrored);
    if (space_.turns) options += choice("HalfTurn", one.turn.halfTurn);
    if (invertible_) options += choice("InvertPage", false);
    return options;
  }

  static Json inkJson(const Ink& ink) {
    return {{"black", ink.black},
            {"band", {{"row", ink.bandRow}, {"rows", ink.bandRows}, {"black", ink.bandBlack}}}};
  }

  bool checkSize(std::string& error) const {
    const uint32_t width = visit_.page.header.cupsBytesPerLine;
    const uint32_t rows = visit_.page.header.cupsHeight;
    if (rows <= kMostHtmlRows && uint64_t{width} * rows <= kMostHtmlDots) return true;
    error = std::to_string(width) + " x " + std::to_string(rows) +
            " dots are more than a browser draws well; a PNG (-O) has no such limit";
    return false;
  }

  std::string labelOf(const Combination& one) const {
    const std::string& halftone = halftones_.choices[one.halftone].label;
    const std::string& brightness = brightnesses_.choices[one.brightness].label;
    std::string label = one.brightness == job_.brightness ? halftone : halftone + ", " + brightness;
    if (one.turn.mirrored != job_.turn.mirrored) label += ", mirrored";
    if (one.turn.halfTurn != job_.turn.halfTurn) label += ", turned";
    return label;
  }

  std::vector<std::string> notes() const {
    std::vector<std::string> notes = visit_.facts.notes;
    if (visit_.engine.leftOutFrame()) notes.emplace_back(kFrameLeftOut);
    if (hasFrame(visit_.driver) && isSwitch(visit_.driver, "InvertPage"))
      notes.emplace_back(
          "a page with PaperFrame cannot be switched to white on black here; make a proof with -o "
          "InvertPage=True");
    return notes;
  }

  // Of the drawing, as the original is.
  Json lostSides() const {
    constexpr std::array kNames = {"left", "top", "right", "bottom"};
    Json list = Json::array();
    for (const LostInk& lost : visit_.lost)
      list.push_back({{"side", kNames.at(static_cast<size_t>(lost.side))},
                      {"from", lost.from},
                      {"to", lost.to}});
    return list;
  }

  Json json() const {
    const PageFacts& facts = visit_.facts;
    return {{"title", facts.title},
            {"number", visit_.number},
            {"driver", facts.driver},
            {"options", facts.options},
            {"given", visit_.driver.parsedOptions()},
            {"approximation", facts.approximation},
            {"maker", facts.maker},
            {"lost", {{"text", visit_.lostText}, {"sides", lostSides()}}},
            {"notes", notes()},
            {"version", DRAV_VERSION},
            {"page",
             {{"width", page_.width()},
              {"columns", columns_},
              {"rows", page_.pageRows},
              {"dotsPerInchX", page_.dotsPerInchX},
              {"dotsPerInchY", page_.dotsPerInchY}}},
            {"original",
             {{"width", original_.width},
              {"rows", original_.height},
              {"shrink", original_.shrink},
              {"png", original_.data}}},
            {"halftones", halftones_.json()},
            {"brightnesses", brightnesses_.json()},
            {"job", {{"halftone", job_.halftone}, {"brightness", job_.brightness}}},
            {"jobsWay",
             {{"mirrored", job_.turn.mirrored},
              {"halfTurn", job_.turn.halfTurn},
              {"inverted", invertible_ && visit_.driver.isMarked("InvertPage", "True")}}},
            {"switches",
             {{"mirrored", space_.mirrors}, {"halfTurn", space_.turns}, {"inverted", invertible_}}},
            {"proofs", proofs_}};
  }

  const PageVisit& visit_;
  OptionChoices halftones_;
  OptionChoices brightnesses_;
  CombinationSpace space_;
  Combination job_;
  bool invertible_;   // the driver can, and no frame is drawn, which stays as it is
  uint32_t columns_;  // of the page's picture, that print
  Original original_;
  DotPage page_;  // the last that was printed
  std::vector<Json> proofs_;
  size_t bytes_ = 0;
  size_t otherWaysBytes_ = 0;
  size_t jobsWayRound_ = 0;  // proofs of the job's way round
  uint64_t made_ = 0;
};

}  // namespace

bool makeHtmlProof(const PageVisit& visit, HtmlProof& proof, std::string& error) {
  return HtmlProofMaker(visit).make(proof, error);
}
