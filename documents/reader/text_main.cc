// SPDX-License-Identifier: Apache-2.0
// The program that sets plain text: documents/reader_protocol.h tells how it is called.
// Fonts and the shaping of strangers' text are hostile input as much as pictures are.
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "documents/reader/confinement.h"
#include "documents/reader/reader_program.h"
#include "documents/reader/text_page.h"
#include "documents/reader_protocol.h"

namespace documents {
namespace {

void write(const void* bytes, size_t size) {
  if (std::fwrite(bytes, 1, size, stdout) != size) throw std::runtime_error("has nowhere to go");
}

void run(const char* /*program*/, const Paper& paper, const PageWish& /*wish*/) {
  const std::span<const uint8_t> file = mapInput();
  if (file.size() > kMostTextBytes) throw std::runtime_error("is text of more than 4 MiB");
  limitResources();
  (void)confineSystemCalls();
  TextFacts facts;
  TextLines text(asUtf8(file, facts.isUtf8), layOutText(paper).columns);
  TextPage page(paper);
  std::vector<TextLine> lines;
  bool isBlank = true;
  while (text.nextPage(page.mostLines(), lines)) {
    if (lines.empty() && paper.roll) continue;  // of no length
    isBlank = false;
    facts.height = page.height(lines.size());
    const std::string head = textFactsLine(facts);
    write(head.data(), head.size());
    page.draw(lines, [](std::span<const uint8_t> row) { write(row.data(), row.size()); });
  }
  if (isBlank) throw std::runtime_error("has no line of text");
}

}  // namespace
}  // namespace documents

int main(int argc, char* argv[]) {
  documents::runReader({"drav-text-reader sets plain text for Drav's programs, which start it",
                        "text", documents::run},
                       argc, argv);
}
