// SPDX-License-Identifier: Apache-2.0
#include "documents/text_pages.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "documents/buffered_child.h"
#include "documents/placed_pages.h"
#include "documents/reader_protocol.h"

namespace documents {
namespace {

// The page is one picture of the paper's width that stands where it is.
Placing wholePage(const Paper& paper, uint32_t height) {
  Placing placing;
  placing.pageWidth = placing.width = paper.width;
  placing.pageHeight = placing.height = height;
  placing.isExact = true;
  return placing;
}

class TextPages : public PlacedPages {
 public:
  TextPages(const Paper& paper, const PageWish& wish) : PlacedPages(wish), paper_(paper) {
    if (wish.landscape || wish.turn.value_or(Turn::kNone) != Turn::kNone)
      notes_.push_back({NoteKind::kOptionIgnored, "text is not turned"});
  }

  bool start(int descriptor, const World& world, std::string& error) {
    return startReader(reader_, world.textReader, requestText(paper_, {}), descriptor, world,
                       error);
  }

  Step nextPage(GreyPage& page, std::string& error) override {
    if (failed_ || !reader_.skip(uint64_t{unreadRows()} * paper_.width)) return fail(error);
    page = {};
    if (isBegun_ && reader_.atEnd()) return reader_.process().finish() ? Step::end : fail(error);
    isBegun_ = true;
    TextFacts facts;
    if (!readTextFacts(reader_.readLine(kMostFactsLine), facts) || facts.height == 0 ||
        facts.height > paper_.height)
      return fail(error);
    page.notes = std::exchange(notes_, {});
    if (!facts.isUtf8 && !std::exchange(wasTold_, true))
      page.notes.push_back(
          {NoteKind::kNotUtf8, "the text is not UTF-8 and was read as Windows-1252"});
    const auto dpi = Density{static_cast<double>(paper_.dpiX), static_cast<double>(paper_.dpiY)};
    beginPage({paper_.width, facts.height, dpi, 1}, wholePage(paper_, facts.height), page);
    return Step::page;
  }

 protected:
  bool readRow(std::span<uint8_t> levels, std::string& error) override {
    const size_t width = levels.size() / channels();
    if (!reader_.read(levels.first(width))) {
      (void)fail(error);
      return false;
    }
    // Grey is colour of equal parts; from the right, since both lie in one place.
    for (size_t x = width; channels() > 1 && x-- > 0;)
      std::fill_n(&levels[x * channels()], channels(), uint8_t{levels[x]});
    return true;
  }

 private:
  Step fail(std::string& error) {
    failed_ = true;
    error = readerFailure(reader_, "cannot be set as text");
    return Step::failed;
  }

  const Paper paper_;
  BufferedChild reader_;
  std::vector<Note> notes_;
  bool isBegun_ = false;
  bool wasTold_ = false;
  bool failed_ = false;
};

// A person who prints such a file means what it describes, not its source.
bool isMarkup(std::span<const uint8_t> start) {
  std::string_view text(reinterpret_cast<const char*>(start.data()), start.size());
  const size_t at = text.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
  text.remove_prefix(std::min(at, text.size()));
  constexpr std::array<std::string_view, 4> kStarts = {"<?xml", "<!doctype", "<html", "<svg"};
  const auto lower = [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  };
  return std::any_of(kStarts.begin(), kStarts.end(), [&](std::string_view mark) {
    return text.size() >= mark.size() && std::equal(mark.begin(), mark.end(), text.begin(),
                                                    [&](char a, char b) { return a == lower(b); });
  });
}

}  // namespace

std::unique_ptr<GreyPages> openTextPages(int descriptor, std::span<const uint8_t> start,
                                         const Paper& paper, const PageWish& wish,
                                         const World& world, std::string& error) {
  if (isMarkup(start)) {
    error = "is text that describes a page (HTML or XML); print it from a program that shows it";
    return nullptr;
  }
  if (world.textReader.empty()) {
    error = "is text, and drav-text-reader, which sets text, is not installed";
    return nullptr;
  }
  auto pages = std::make_unique<TextPages>(paper, wish);
  if (!pages->start(descriptor, world, error)) return nullptr;
  return pages;
}

}  // namespace documents
