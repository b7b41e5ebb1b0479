// SPDX-License-Identifier: Apache-2.0
// The library of grey pages as a program, for the tests.
//
//   document_rows PAPER FILE [NAME=VALUE...]   pages: a line of numbers, its notes, its rows
//   document_rows place                        placings: reads lines, writes lines
//
// PAPER is "dpiX dpiY width height left top right bottom roll". A line of `place` is PAPER
// followed by "pixelsX pixelsY dpiX dpiY" and the options, with spaces between.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "documents/grey_pages.h"
#include "documents/page_options.h"

namespace {

using documents::GreyPage;
using documents::Note;
using documents::PageWish;
using documents::Paper;
using documents::Placing;
using documents::Step;

Paper readPaper(std::istream& in) {
  Paper paper;
  int roll = 0;
  in >> paper.dpiX >> paper.dpiY >> paper.width >> paper.height >> paper.left >> paper.top >>
      paper.right >> paper.bottom >> roll;
  paper.roll = roll != 0;
  return paper;
}

void takeOption(const std::string& option, PageWish& wish, std::vector<Note>& notes) {
  const size_t sign = option.find('=');
  const std::string value = sign == std::string::npos ? "true" : option.substr(sign + 1);
  if (!documents::takePageOption(option.substr(0, sign), value, wish, notes))
    std::cerr << option << ": no option\n";
}

std::string text(const Placing& placing) {
  std::ostringstream out;
  out << placing.pageWidth << ' ' << placing.pageHeight << ' ' << static_cast<int>(placing.turn)
      << ' ' << placing.width << ' ' << placing.height << ' ' << placing.x << ' ' << placing.y
      << ' ' << placing.isExact << ' ' << placing.isTurned << ' ' << placing.isReduced;
  return out.str();
}

int place() {
  std::string line;
  while (std::getline(std::cin, line)) {
    std::istringstream in(line);
    const Paper paper = readPaper(in);
    documents::PictureFacts facts;
    in >> facts.width >> facts.height >> facts.dpi.x >> facts.dpi.y;
    PageWish wish;
    std::vector<Note> notes;
    for (std::string option; in >> option;) takeOption(option, wish, notes);
    notes.clear();
    const Placing placing = documents::placePicture(facts, paper, wish, &notes);
    std::cout << text(placing) << ' ' << placing.visibleLeft() << ' ' << placing.visibleTop() << ' '
              << placing.visibleWidth() << ' ' << placing.visibleHeight();
    for (const Note& note : notes) std::cout << ' ' << static_cast<int>(note.kind);
    std::cout << '\n';
  }
  return EXIT_SUCCESS;
}

int refuse(const std::string& error) {
  std::cerr << error << '\n';
  return EXIT_FAILURE;
}

int pages(documents::GreyPages& source) {
  std::string error;
  GreyPage page;
  for (;;) {
    const Step step = source.nextPage(page, error);
    if (step == Step::end) return EXIT_SUCCESS;
    if (step == Step::failed) return refuse(error);
    std::cout << "page " << text(page.placing) << '\n';
    for (const Note& note : page.notes)
      std::cout << "note " << static_cast<int>(note.kind) << ' ' << note.text << '\n';
    for (const LostInk& lost : page.lost)
      std::cout << "lost " << static_cast<int>(lost.side) << ' ' << lost.beyond << ' ' << lost.from
                << ' ' << lost.to << ' ' << lost.ink << ' ' << lost.all << '\n';
    std::cout << "rows " << page.width << ' ' << page.height << '\n';
    std::vector<uint8_t> row(page.width);
    for (uint32_t y = 0; y < page.height; ++y) {
      if (!source.nextRow(row, error)) return refuse(error);
      std::cout.write(reinterpret_cast<const char*>(row.data()),
                      static_cast<std::streamsize>(row.size()));
    }
  }
}

}  // namespace

int main(int argc, char* argv[]) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments == std::vector<std::string>{"place"}) return place();
  if (arguments.size() < 2) return 2;
  std::istringstream paperText(arguments[0]);
  const Paper paper = readPaper(paperText);
  PageWish wish;
  std::vector<Note> notes;
  for (size_t i = 2; i < arguments.size(); ++i) takeOption(arguments[i], wish, notes);
  for (const Note& note : notes) std::cerr << note.text << '\n';
  std::string error;
  const int file = documents::openInput(arguments[1], error);
  if (file < 0) return refuse(error);
  const auto source =
      documents::openGreyPages(file, paper, wish, documents::installedWorld(), error);
  if (!source) return refuse(error);
  return pages(*source);
}
