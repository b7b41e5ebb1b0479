// SPDX-License-Identifier: Apache-2.0
#include "app/web/wish_fields.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

namespace app {
namespace {

constexpr int kMostCopies = 99;
constexpr int kMostPage = 9999;
constexpr int kLeastSize = 100;
constexpr int kMostSize = 50'000;
constexpr size_t kMostName = 240;

std::optional<int> number(std::string_view text, int least, int most) {
  int value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, failure] = std::from_chars(text.data(), end, value);
  if (failure != std::errc() || stop != end || value < least || value > most) return std::nullopt;
  return value;
}

bool setTruth(std::string_view value, bool& truth) {
  truth = value == "true";
  return truth || value == "false";
}

bool setPaper(std::string_view value, DrawingWish& wish) {
  const PrinterModel& model = *wish.page.model;
  const size_t times = value.find('x');
  if (times == value.npos) return false;
  const auto width = number(value.substr(0, times), kShortest, widestPaper(model));
  const auto length = number(value.substr(times + 1), kShortest, kLongest);
  if (!width || !length) return false;
  wish.page.medium = mediumOfSize(model, *width, *length);
  return true;
}

bool setLength(std::string_view value, DrawingWish& wish) {
  const auto length = number(value, kShortest, kLongest);
  wish.page.length = length.value_or(0);
  return length.has_value();
}

bool setSize(std::string_view value, DrawingWish& wish) {
  wish.page.fillsPaper = value == "fill";
  if (wish.page.fillsPaper || value == "auto") return true;
  const auto width = number(value, kLeastSize, kMostSize);
  if (width) wish.page.art.width = *width / 100.0;
  return width.has_value();
}

bool setTurn(std::string_view value, DrawingWish& wish) {
  if (value == "auto") return true;
  const auto degrees = number(value, 0, 270);
  if (!degrees || *degrees % 90 != 0) return false;
  wish.page.art.turn = static_cast<unsigned>(*degrees);
  return true;
}

bool setCount(std::string_view value, int most, int& count) {
  const auto given = number(value, 1, most);
  count = given.value_or(1);
  return given.has_value();
}

const OptionAttribute* findAttribute(const PrinterModel& model, std::string_view name) {
  for (const OptionAttribute& one : optionAttributes())
    if (one.name == name && hasAttribute(model, one)) return &one;
  return nullptr;
}

enum class Taken { no, well, badly };

Taken takeOption(std::string_view name, const std::string& value, DrawingWish& wish) {
  const OptionAttribute* attribute = findAttribute(*wish.page.model, name);
  if (attribute == nullptr) return Taken::no;
  if (choiceOfValue(*attribute, value) == nullptr) return Taken::badly;
  wish.options.emplace_back(attribute, value);
  return Taken::well;
}

Taken take(std::string_view name, const std::string& value, DrawingWish& wish) {
  bool good = false;
  int page = 1;
  if (name == "paper") {
    good = setPaper(value, wish);
  } else if (name == "length") {
    good = setLength(value, wish);
  } else if (name == "size") {
    good = setSize(value, wish);
  } else if (name == "turn") {
    good = setTurn(value, wish);
  } else if (name == "clean") {
    good = setTruth(value, wish.page.art.clean);
  } else if (name == "lines") {
    good = setTruth(value, wish.page.art.lines);
  } else if (name == "page") {
    good = setCount(value, kMostPage, page);
    wish.page.art.page = static_cast<unsigned>(page);
  } else if (name == "copies") {
    good = setCount(value, kMostCopies, wish.copies);
  } else if (name == "name") {
    good = value.size() <= kMostName;
    wish.name = value;
  } else {
    return takeOption(name, value, wish);
  }
  return good ? Taken::well : Taken::badly;
}

}  // namespace

bool readWish(const Fields& fields, const PrinterModel& model, DrawingWish& wish,
              std::string& error) {
  wish = {};
  wish.page.model = &model;
  wish.page.medium = standardMedium(model);
  wish.page.art.page = 1;
  for (const auto& [name, value] : fields) {
    if (name == "upload" || name == "queue") continue;
    const Taken taken = take(name, value, wish);
    if (taken == Taken::well) continue;
    error = (taken == Taken::no ? "there is no field " : "no good value of ") + name.substr(0, 40);
    return false;
  }
  if (wish.page.length == 0) return true;
  if (!wish.page.medium.paper.starts_with('X')) {
    error = "no good value of length";  // a sheet has one
    return false;
  }
  wish.page.medium = mediumOfSize(model, wish.page.medium.width, wish.page.length);
  return true;
}

}  // namespace app
