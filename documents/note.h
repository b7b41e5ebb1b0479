// SPDX-License-Identifier: Apache-2.0
// What a person should know of a page that was made: for programs and as a line.
#ifndef DOCUMENTS_NOTE_H_
#define DOCUMENTS_NOTE_H_

#include <cstdint>
#include <string>

namespace documents {

enum class NoteKind : uint8_t {
  kTurned,             // a quarter to the left, since it fits the page only so
  kReduced,            // to fit the page
  kCut,                // a part lies beyond the page
  kFirstFrame,         // of several
  kOnePixel,           // 1 x 1
  kResolutionIgnored,  // what the file states is out of range
  kOptionIgnored,      // the job's option has a value that means nothing, or does nothing
  kNotUtf8,            // text, read as Windows-1252
};

struct Note {
  NoteKind kind;
  std::string text;  // without an end of line
};

}  // namespace documents

#endif  // DOCUMENTS_NOTE_H_
