// SPDX-License-Identifier: Apache-2.0
#include "documents/reader/reader_program.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <stdexcept>
#include <string>

#include "documents/reader_protocol.h"

namespace documents {
namespace {

constexpr int kBadUsage = 2;

int refuse(const std::string& why) {
  (void)std::fprintf(stderr, "%s%s\n", std::string(kRefused).c_str(), why.c_str());
  return EXIT_FAILURE;
}

int statusOf(const ReaderProgram& reader, int argc, char* argv[]) {
  Paper paper;
  PageWish wish;
  if (argc != 2 || !readRequest(argv[1], paper, wish)) {
    (void)std::fprintf(stderr, "%s\n", reader.usage);
    return kBadUsage;
  }
  try {
    reader.read(argv[0], paper, wish);
    return EXIT_SUCCESS;
  } catch (const std::bad_alloc&) {
    return refuse(std::string("needs more memory than the 1 GiB that a ") + reader.subject +
                  " may have");
  } catch (const std::exception& failure) {
    return refuse(failure.what());
  }
}

}  // namespace

std::span<const uint8_t> mapInput() {
  struct stat status = {};
  if (::fstat(STDIN_FILENO, &status) != 0 || !S_ISREG(status.st_mode))
    throw std::runtime_error("is no regular file");
  const auto size = static_cast<size_t>(status.st_size);
  if (size == 0) throw std::runtime_error("is empty");
  void* file = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, STDIN_FILENO, 0);
  if (file == MAP_FAILED) throw std::runtime_error("cannot be mapped into memory");
  return {static_cast<const uint8_t*>(file), size};
}

void runReader(const ReaderProgram& reader, int argc, char* argv[]) {
  const int status = statusOf(reader, argc, argv);
  // Not exit(): what the libraries would tidy up goes with the process.
  std::fflush(nullptr);
  ::_exit(status);
}

}  // namespace documents
