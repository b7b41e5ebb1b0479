// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/html/html_proof.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

#include "proof/ink.h"
#include "tools/drav/engine/page_turn.h"
#include "tools/drav/html/combinations.h"
#include "tools/drav/html/html_file.h"
#include "tools/drav/html/original.h"
#include "tools/drav/html/png_data.h"
#include "tools/drav/io/interruption.h"
#include "tools/drav/prepare/prepared_pages.h"

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

// How a page is prepared, of what the browser can switch.
struct Look {
  bool clean = false;
  bool lines = false;

  bool operator==(const Look&) const = default;
};

// The words of `drav prepare` that make the page, but for the switches.
Json prepareWords(const PageVisit& visit) {
  const DriverFile& driver = visit.driver;
  Json words = Json::array();
  for (const std::string& word : artWords(visit.art)) words.push_back(word);
  const auto add = [&words](const char* option, const std::string& value) {
    words.push_back(option);
    words.push_back(value);
  };
  if (!driver.job().ppdPath.empty()) add("--ppd", driver.job().ppdPath);
  if (!driver.job().model.empty()) add("--model", driver.job().model);
  if (const auto paper = driver.given("PageSize"))
    add("--paper", *paper);
  else if (driver.isGiven("media"))
    add("--paper", driver.current("PageSize").name);
  return words;
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
        columns_(visit.driver.printedColumns(visit.page.header)),
        isPrepared_(!(visit.art == ArtWish())),
        jobsLook_{visit.art.clean, visit.art.lines},
        look_(jobsLook_),
        engine_(&visit.engine) {}

  bool make(HtmlProof& proof, std::string& error) {
    if (!checkSize(error) || !makeOriginal(visit_.page, original_, error)) return false;
    bytes_ = original_.data.size();
    const auto main = mainCombinations(space_, job_);
    const auto steps = stepCombinations(space_, job_);
    if (!addAll(main, kMostPictureBytes, error) || !addAll(steps, mostExtraBytes(), error) ||
        !addFar(main.size() + steps.size(), error) || !addOtherLooks(error))
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
      if (!(look_ == jobsLook_))
        ++otherLooks_;
      else if (one.turn == job_.turn)
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

  // The page cleaned or not, with outlines or without, where it is prepared. One that cannot be
  // made so is left out.
  bool addOtherLooks(std::string& error) {
    if (!isPrepared_) return true;
    for (const bool clean : {jobsLook_.clean, !jobsLook_.clean}) {
      for (const bool lines : {jobsLook_.lines, !jobsLook_.lines}) {
        look_ = {clean, lines};
        if (!(look_ == jobsLook_) && !addLook(error)) return false;
      }
    }
    return true;
  }

  // As the job's own, then in the other halftones.
  bool addLook(std::string& error) {
    visit_.progress.show(made_, made_ + 1, look_.clean ? "cleaned" : "not cleaned");
    ArtWish art = visit_.art;
    art.clean = look_.clean;
    art.lines = look_.lines;
    GreyPage page;
    std::string why;
    if (!visit_.readOtherwise(art, page, why)) {
      if (Interruption::requested()) error = why;
      return error.empty();
    }
    PageEngine engine(visit_.driver);
    Original original;
    if (!engine.load(page, error) || !makeOriginal(page, original, error)) return false;
    engine_ = &engine;
    const size_t found = otherLooks_;
    std::vector<Combination> halftones;
    for (size_t i = 0; i < space_.halftones; ++i)
      if (i != job_.halftone) halftones.push_back({i, job_.brightness, job_.turn});
    bytes_ += original.data.size();
    const bool isDone =
        addAll({job_}, kMostPictureBytes, error) && addAll(halftones, mostExtraBytes(), error);
    engine_ = &visit_.engine;
    if (otherLooks_ == found) return isDone;  // no room
    const std::vector<LostInk> lost = lostInkOf(page, visit_.driver);
    const cups_page_header2_t& header = page.header;
    const std::string text =
        lost.empty() ? "" : lostInkText(lost, header.HWResolution[0], header.HWResolution[1]);
    others_.push_back({{"clean", look_.clean},
                       {"lines", look_.lines},
                       {"original", originalJson(original)},
                       {"lost", lostJson(lost, text)}});
    return isDone;
  }

  bool print(const Combination& one, Json& proof, std::string& error) {
    if (!engine_->print(optionsOf(one), page_, error)) return false;
    std::string data;
    if (page_.rows != 0 && !pngData(PngKind::kDots, page_.dots, page_.bytesPerRow, page_.width(),
                                    page_.rows, data, error))
      return false;
    proof = {{"halftone", one.halftone},      {"brightness", one.brightness},
             {"mirrored", one.turn.mirrored}, {"halfTurn", one.turn.halfTurn},
             {"row", page_.firstRow},         {"rows", page_.rows}};
    if (isPrepared_) proof.update({{"clean", look_.clean}, {"lines", look_.lines}});
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

  static Json originalJson(const Original& original) {
    return {{"width", original.width},
            {"rows", original.height},
            {"shrink", original.shrink},
            {"png", original.data}};
  }

  // Of the drawing, as the original is.
  static Json lostJson(const std::vector<LostInk>& sides, const std::string& text) {
    constexpr std::array kNames = {"left", "top", "right", "bottom"};
    Json list = Json::array();
    for (const LostInk& lost : sides)
      list.push_back({{"side", kNames.at(static_cast<size_t>(lost.side))},
                      {"from", lost.from},
                      {"to", lost.to}});
    return {{"text", text}, {"sides", std::move(list)}};
  }

  bool hasLook(const char* part) const {
    return std::any_of(others_.begin(), others_.end(), [this, part](const Json& other) {
      return other[part] != (part == std::string_view("clean") ? jobsLook_.clean : jobsLook_.lines);
    });
  }

  // What is there of a page that is prepared, and of no other.
  void addPrepared(Json& data) const {
    if (!isPrepared_) return;
    data["prepare"] = prepareWords(visit_);
    data["others"] = others_;
    for (const auto& [name, on] :
         {std::pair("clean", jobsLook_.clean), std::pair("lines", jobsLook_.lines)}) {
      data["jobsWay"][name] = on;
      data["switches"][name] = hasLook(name);
    }
  }

  Json json() const {
    const PageFacts& facts = visit_.facts;
    Json data = {
        {"title", facts.title},
        {"number", visit_.number},
        {"driver", facts.driver},
        {"options", facts.options},
        {"given", visit_.driver.parsedOptions()},
        {"approximation", facts.approximation},
        {"maker", facts.maker},
        {"lost", lostJson(visit_.lost, visit_.lostText)},
        {"notes", notes()},
        {"version", DRAV_VERSION},
        {"page",
         {{"width", page_.width()},
          {"columns", columns_},
          {"rows", page_.pageRows},
          {"dotsPerInchX", page_.dotsPerInchX},
          {"dotsPerInchY", page_.dotsPerInchY}}},
        {"original", originalJson(original_)},
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
    addPrepared(data);
    return data;
  }

  const PageVisit& visit_;
  OptionChoices halftones_;
  OptionChoices brightnesses_;
  CombinationSpace space_;
  Combination job_;
  bool invertible_;   // the driver can, and no frame is drawn, which stays as it is
  uint32_t columns_;  // of the page's picture, that print
  bool isPrepared_;
  Look jobsLook_;
  Look look_;           // of what is printed
  PageEngine* engine_;  // has a page of that look
  Original original_;
  DotPage page_;  // the last that was printed
  std::vector<Json> proofs_;
  std::vector<Json> others_;  // pages of the other looks
  size_t bytes_ = 0;
  size_t otherWaysBytes_ = 0;
  size_t jobsWayRound_ = 0;  // proofs of the job's way round
  size_t otherLooks_ = 0;    // proofs of those
  uint64_t made_ = 0;
};

}  // namespace

bool makeHtmlProof(const PageVisit& visit, HtmlProof& proof, std::string& error) {
  return HtmlProofMaker(visit).make(proof, error);
}
