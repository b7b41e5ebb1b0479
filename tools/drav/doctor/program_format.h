// SPDX-License-Identifier: Apache-2.0
// What kind of machine a program file is made for.
#ifndef TOOLS_DRAV_DOCTOR_PROGRAM_FORMAT_H_
#define TOOLS_DRAV_DOCTOR_PROGRAM_FORMAT_H_

#include <string>

struct ProgramFormat {
  enum class Kind {
    kUnknown,  // neither of the others, or empty
    kElf,      // a program of Linux; `machine` says for what
    kScript,   // begins with "#!"
  };
  Kind kind = Kind::kUnknown;
  std::string machine;  // such as "64-bit x86-64"; same text, same machine

  bool operator==(const ProgramFormat&) const = default;
};

// Reads the head of a file. False with one line in `error` when it cannot be read.
[[nodiscard]] bool readProgramFormat(const std::string& path, ProgramFormat& format,
                                     std::string& error);

// The format of this very program. False where the system cannot tell.
[[nodiscard]] bool ownProgramFormat(ProgramFormat& format);

#endif  // TOOLS_DRAV_DOCTOR_PROGRAM_FORMAT_H_
