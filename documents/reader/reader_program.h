// SPDX-License-Identifier: Apache-2.0
// What the programs that read strangers' files have in common.
#ifndef DOCUMENTS_READER_READER_PROGRAM_H_
#define DOCUMENTS_READER_READER_PROGRAM_H_

#include <cstdint>
#include <functional>
#include <span>

#include "documents/page_request.h"

namespace documents {

// Standard input, which must be a regular file that is not empty. Throws std::runtime_error.
// It stays mapped.
std::span<const uint8_t> mapInput();

struct ReaderProgram {
  const char* usage;    // one line, for whoever starts it by hand
  const char* subject;  // what it reads: "picture"
  std::function<void(const char* program, const Paper&, const PageWish&)> read;
};

// Reads the request in the arguments, and the file. What `read` throws is told on standard
// error as a refusal. Ends the process: 0, 1 refused, 2 called in another way.
[[noreturn]] void runReader(const ReaderProgram& reader, int argc, char* argv[]);

}  // namespace documents

#endif  // DOCUMENTS_READER_READER_PROGRAM_H_
