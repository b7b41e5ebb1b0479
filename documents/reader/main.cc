// SPDX-License-Identifier: Apache-2.0
// The program that decodes pictures: documents/reader_protocol.h tells how it is called.
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <string>

#include "documents/reader/confinement.h"
#include "documents/reader/picture.h"
#include "documents/reader_protocol.h"

namespace documents {
namespace {

constexpr int kBadUsage = 2;

std::span<const uint8_t> mapInput() {
  struct stat status = {};
  if (::fstat(STDIN_FILENO, &status) != 0 || !S_ISREG(status.st_mode))
    throw Refusal("is no regular file");
  const auto size = static_cast<size_t>(status.st_size);
  if (size == 0) throw Refusal("is empty");
  void* file = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, STDIN_FILENO, 0);
  if (file == MAP_FAILED) throw Refusal("cannot be mapped into memory");
  return {static_cast<const uint8_t*>(file), size};
}

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

int refuse(const char* why) {
  (void)std::fprintf(stderr, "%s%s\n", std::string(kRefused).c_str(), why);
  return EXIT_FAILURE;
}

int readPicture(const char* program, const Paper& paper, const PageWish& wish) {
  try {
    run(program, paper, wish);
    return EXIT_SUCCESS;
  } catch (const Refusal& refusal) {
    return refuse(refusal.what());
  } catch (const std::bad_alloc&) {
    return refuse("needs more memory than the 1 GiB that a picture may have");
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
    (void)std::fputs("drav-picture-reader decodes pictures for Drav's programs, which start it\n",
                     stderr);
    return documents::kBadUsage;
  }
  const int status = documents::readPicture(argv[0], paper, wish);
  // Not exit(): what the libraries would tidy up goes with the process.
  std::fflush(nullptr);
  ::_exit(status);
}
