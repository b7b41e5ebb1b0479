// SPDX-License-Identifier: Apache-2.0
// The program that decodes pictures: documents/reader_protocol.h tells how it is called.
#include <unistd.h>

#include <algorithm>
#include <string>

#include "documents/reader/confinement.h"
#include "documents/reader/picture.h"
#include "documents/reader/reader_program.h"
#include "documents/reader_protocol.h"

namespace documents {
namespace {

void writeAll(const std::string& text) {
  for (size_t done = 0; done < text.size();) {
    const ssize_t wrote = ::write(STDOUT_FILENO, text.data() + done, text.size() - done);
    if (wrote <= 0) throw Refusal("has nowhere to go");
    done += static_cast<size_t>(wrote);
  }
}

void run(const char* program, const Paper& paper, const PageWish& wish) {
  const std::span<const uint8_t> file = mapInput();
  const FileKind kind = fileKind(file.first(std::min(file.size(), kKindBytes)));
  if (!isPicture(kind)) throw Refusal("is no picture");
  startVips(program, {&kind, 1});
  limitResources();
  (void)confineSystemCalls();
  Picture picture(kind, file, paper, kMostPixels);
  // What the line does not carry exactly must not count here either.
  PictureFacts facts;
  const std::string line = factsLine(picture.facts());
  if (!readFacts(line, facts)) throw Refusal("claims a size that no picture has");
  writeAll(line);
  const Placing placing = placePicture(facts, paper, wish);
  if (placing.visibleWidth() != 0 && placing.visibleHeight() != 0)
    picture.writeRows(placing, wish.colour, STDOUT_FILENO);
}

}  // namespace
}  // namespace documents

int main(int argc, char* argv[]) {
  documents::runReader({"drav-picture-reader decodes pictures for Drav's programs, which start it",
                        "picture", documents::run},
                       argc, argv);
}
