// SPDX-License-Identifier: Apache-2.0
#include "documents/reader_protocol.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

namespace documents {
namespace {

constexpr double kMillion = 1e6;
constexpr std::string_view kFactsName = "picture";
constexpr std::string_view kTextFactsName = "page";
constexpr uint64_t kMostMillionths = uint64_t{1} << 53U;

uint64_t millionths(double value) {
  if (!(value > 0)) return 0;
  return static_cast<uint64_t>(std::llround(std::fmin(value * kMillion, 0x1p53)));
}

double fromMillionths(uint64_t value) { return static_cast<double>(value) / kMillion; }

std::string joined(const std::vector<uint64_t>& numbers) {
  std::string text;
  for (const uint64_t number : numbers)
    text.append(text.empty() ? "" : " ").append(std::to_string(number));
  return text;
}

// Decimal numbers with one space between two; nothing for anything else.
std::vector<uint64_t> split(std::string_view text) {
  std::vector<uint64_t> numbers;
  const char* at = text.data();
  const char* const end = at + text.size();
  for (;;) {
    uint64_t value = 0;
    const auto [stop, failure] = std::from_chars(at, end, value);
    if (failure != std::errc()) return {};
    numbers.push_back(value);
    if (stop == end) return numbers;
    if (*stop != ' ') return {};
    at = stop + 1;
  }
}

template <typename Choice>
std::optional<Choice> choice(uint64_t value, Choice last) {
  if (value > static_cast<uint64_t>(last)) return std::nullopt;
  return static_cast<Choice>(value);
}

bool isSane(const Paper& paper) {
  const auto density = [](uint32_t dpi) { return dpi >= kLeastDpi && dpi <= kMostDpi; };
  return density(paper.dpiX) && density(paper.dpiY) && paper.width <= kMostWidth &&
         paper.height <= kMostHeight && uint64_t{paper.left} + paper.right < paper.width &&
         uint64_t{paper.top} + paper.bottom < paper.height;
}

}  // namespace

std::string requestText(const Paper& paper, const PageWish& wish) {
  const Density ppi = wish.ppi.value_or(Density{});
  const uint64_t turn = wish.turn ? static_cast<uint64_t>(*wish.turn) + 1 : 0;
  const std::string page = joined({paper.dpiX, paper.dpiY, paper.width, paper.height, paper.left,
                                   paper.top, paper.right, paper.bottom, paper.roll ? 1U : 0U});
  return page + " " +
         joined({static_cast<uint64_t>(wish.scaling), wish.fitToPage ? 1U : 0U,
                 wish.percent.value_or(0), wish.naturalPercent.value_or(0), millionths(ppi.x),
                 millionths(ppi.y), static_cast<uint64_t>(wish.across),
                 static_cast<uint64_t>(wish.along), turn, wish.landscape ? 1U : 0U,
                 wish.colour ? 1U : 0U});
}

bool readRequest(const std::string& text, Paper& paper, PageWish& wish) {
  const std::vector<uint64_t> numbers = split(text);
  constexpr size_t kNumbers = 20;
  if (numbers.size() != kNumbers) return false;
  size_t at = 0;
  for (uint32_t* field : {&paper.dpiX, &paper.dpiY, &paper.width, &paper.height, &paper.left,
                          &paper.top, &paper.right, &paper.bottom}) {
    if (numbers[at] > UINT32_MAX) return false;
    *field = static_cast<uint32_t>(numbers[at++]);
  }
  paper.roll = numbers[at++] != 0;
  const auto scaling = choice(numbers[at++], PrintScaling::kNone);
  wish.fitToPage = numbers[at++] != 0;
  const uint64_t percent = numbers[at++];
  const uint64_t naturalPercent = numbers[at++];
  const Density ppi = {fromMillionths(numbers[at]), fromMillionths(numbers[at + 1])};
  at += 2;
  const auto across = choice(numbers[at++], Position::kEnd);
  const auto along = choice(numbers[at++], Position::kEnd);
  const uint64_t turn = numbers[at++];
  wish.landscape = numbers[at++] != 0;
  wish.colour = numbers[at] != 0;
  constexpr auto kTurns = static_cast<uint64_t>(Turn::kRight) + 1;
  if (!scaling || !across || !along || turn > kTurns || percent > kMostPercent ||
      naturalPercent > kMostPercent || !isSane(paper))
    return false;
  wish.scaling = *scaling;
  wish.across = *across;
  wish.along = *along;
  if (percent != 0) wish.percent = static_cast<uint32_t>(percent);
  if (naturalPercent != 0) wish.naturalPercent = static_cast<uint32_t>(naturalPercent);
  if (ppi.x > 0 && ppi.y > 0) wish.ppi = ppi;
  if (turn != 0) wish.turn = static_cast<Turn>(turn - 1);
  return true;
}

std::string factsLine(const PictureFacts& facts) {
  return std::string(kFactsName) + " " +
         joined({facts.width, facts.height, millionths(facts.dpi.x), millionths(facts.dpi.y),
                 facts.frames}) +
         "\n";
}

bool readFacts(const std::string& line, PictureFacts& facts) {
  const size_t start = kFactsName.size() + 1;
  if (line.size() < start + 1 || !line.starts_with(kFactsName) || line.back() != '\n') return false;
  const std::vector<uint64_t> numbers =
      split(std::string_view(line).substr(start, line.size() - start - 1));
  if (numbers.size() != 5 || numbers[0] == 0 || numbers[1] == 0 || numbers[0] > kMostPixels ||
      numbers[1] > kMostPixels || numbers[0] * numbers[1] > kMostPixels ||
      numbers[2] > kMostMillionths || numbers[3] > kMostMillionths || numbers[4] > UINT32_MAX)
    return false;
  facts.width = static_cast<uint32_t>(numbers[0]);
  facts.height = static_cast<uint32_t>(numbers[1]);
  facts.dpi = {fromMillionths(numbers[2]), fromMillionths(numbers[3])};
  facts.frames = static_cast<uint32_t>(numbers[4]);
  return true;
}

std::string textFactsLine(const TextFacts& facts) {
  return std::string(kTextFactsName) + " " + joined({facts.height, facts.isUtf8 ? 1U : 0U}) + "\n";
}

bool readTextFacts(const std::string& line, TextFacts& facts) {
  const size_t start = kTextFactsName.size() + 1;
  if (line.size() < start + 1 || !line.starts_with(kTextFactsName) || line.back() != '\n')
    return false;
  const std::vector<uint64_t> numbers =
      split(std::string_view(line).substr(start, line.size() - start - 1));
  if (numbers.size() != 2 || numbers[0] == 0 || numbers[0] > kMostHeight || numbers[1] > 1)
    return false;
  facts.height = static_cast<uint32_t>(numbers[0]);
  facts.isUtf8 = numbers[1] == 1;
  return true;
}

}  // namespace documents
