// SPDX-License-Identifier: Apache-2.0
// The program that sets plain text: documents/reader_protocol.h tells how it is called.
// Fonts and the shaping of strangers' text are hostile input as much as pictures are.
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>

#include "documents/reader/confinement.h"
#include "documents/reader/text_page.h"
#include "documents/reader_protocol.h"

namespace documents {
namespace {

constexpr int kBadUsage = 2;

std::span<const uint8_t> mapInput() {
  struct stat status = {};
  if (::fstat(STDIN_FILENO, &status) != 0 || !S_ISREG(status.st_mode))
    throw std::runtime_error("is no regular file");
  const auto size = static_cast<uint64_t>(status.st_size);
  if (size == 0) throw std::runtime_error("is empty");
  if (size > kMostTextBytes) throw std::runtime_error("is text of more than 4 MiB");
  void* file = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, STDIN_FILENO, 0);
  if (file == MAP_FAILED) throw std::runtime_error("cannot be mapped into memory");
  return {static_cast<const uint8_t*>(file), size};
}

void write(const void* bytes, size_t size) {
  if (std::fwrite(bytes, 1, size, stdout) != size) throw std::runtime_error("has nowhere to go");
}

void run(const Paper& paper) {
  limitResources();
  (void)confineSystemCalls();
  TextFacts facts;
  TextLines text(asUtf8(mapInput(), facts.isUtf8), layOutText(paper).columns);
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

int refuse(const char* why) {
  (void)std::fprintf(stderr, "%s%s\n", std::string(kRefused).c_str(), why);
  return EXIT_FAILURE;
}

int setText(const Paper& paper) {
  try {
    run(paper);
    return EXIT_SUCCESS;
  } catch (const std::bad_alloc&) {
    return refuse("needs more memory than the 1 GiB that a text may have");
  } catch (const std::exception& failure) {
    return refuse(failure.what());
  }
}

}  // namespace
}  // namespace documents

int main(int argc, char* argv[]) {
  documents::Paper paper;
  documents::PageWish wish;
  if (argc != 2 || !documents::readRequest(argv[1], paper, wish)) {
    (void)std::fputs("drav-text-reader sets plain text for Drav's programs, which start it\n",
                     stderr);
    return documents::kBadUsage;
  }
  const int status = documents::setText(paper);
  // Not exit(): what the libraries would tidy up goes with the process.
  std::fflush(nullptr);
  ::_exit(status);
}
