// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/html/html_proof.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tools/drav/html/combinations.h"
#include "tools/drav/html/html_file.h"
#include "tools/drav/html/ink.h"
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

class HtmlProofMaker {
 public:
  explicit HtmlProofMaker(const PageVisit& visit)
      : visit_(visit),
        halftones_(visit.driver, "HalftoneType"),
        brightnesses_(visit.driver, "Brightness"),
        space_{halftones_.choices.size(), brightnesses_.choices.size()},
        job_{halftones_.current, brightnesses_.current} {}

  bool make(HtmlProof& proof, std::string& error) {
    if (!checkSize(error) || !makeOriginal(visit_.page, original_, error)) return false;
    bytes_ = original_.data.size();
    const auto near = nearCombinations(space_, job_);
    if (!addAll(near, error) || !addFar(near.size(), error)) return false;
    proof.page = visit_.number;
    proof.combinations = proofs_.size();
    proof.allCombinations = space_.size();
    // File names need not be UTF-8.
    proof.data = scriptSafe(json().dump(-1, ' ', false, Json::error_handler_t::replace));
    return true;
  }

 private:
  // As many as the bytes allow; the job's own in any case.
  bool addAll(const std::vector<Combination>& list, std::string& error) {
    const uint64_t total = made_ + list.size();
    for (const Combination& one : list) {
      visit_.progress.show(made_, total, labelOf(one));
      Json proof;
      if (!print(one, proof, error)) return false;
      const size_t size = proof["png"].get_ref<const std::string&>().size();
      if (!proofs_.empty() && bytes_ + size > kMostPictureBytes) continue;
      bytes_ += size;
      proofs_.push_back(std::move(proof));
    }
    return true;
  }

  // The rest as a whole or not at all.
  bool addFar(size_t near, std::string& error) {
    const uint64_t dots = uint64_t{page_.width()} * page_.rows * space_.size();
    const size_t pictures = bytes_ - original_.data.size();
    if (proofs_.size() < near || dots > kMostDotsForAll ||
        pictures / near * space_.size() > kMostPictureBytes)
      return true;
    return addAll(farCombinations(space_, job_), error);
  }

  bool print(const Combination& one, Json& proof, std::string& error) {
    const std::string options =
        halftones_.setting(one.halftone) + brightnesses_.setting(one.brightness);
    if (!visit_.engine.print(options, page_, error)) return false;
    std::string data;
    if (!pngData(PngKind::kDots, page_.dots, page_.bytesPerRow, page_.width(), page_.rows, data,
                 error))
      return false;
    const Ink ink = inkOf(page_);
    proof = {{"halftone", one.halftone},
             {"brightness", one.brightness},
             {"black", ink.black},
             {"band", {{"row", ink.bandRow}, {"rows", ink.bandRows}, {"black", ink.bandBlack}}},
             {"png", std::move(data)}};
    ++made_;
    return true;
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
    return one.brightness == job_.brightness ? halftone : halftone + ", " + brightness;
  }

  Json json() const {
    const PageFacts& facts = visit_.facts;
    return {{"title", facts.title},
            {"number", visit_.number},
            {"driver", facts.driver},
            {"options", facts.options},
            {"approximation", facts.approximation},
            {"isPicture", facts.isPicture},
            {"notes", facts.notes},
            {"version", DRAV_VERSION},
            {"page",
             {{"width", page_.width()},
              {"rows", page_.rows},
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
            {"proofs", proofs_}};
  }

  const PageVisit& visit_;
  OptionChoices halftones_;
  OptionChoices brightnesses_;
  CombinationSpace space_;
  Combination job_;
  Original original_;
  DotPage page_;  // the last that was printed
  std::vector<Json> proofs_;
  size_t bytes_ = 0;
  uint64_t made_ = 0;
};

}  // namespace

bool makeHtmlProof(const PageVisit& visit, HtmlProof& proof, std::string& error) {
  return HtmlProofMaker(visit).make(proof, error);
}
