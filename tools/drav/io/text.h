// SPDX-License-Identifier: Apache-2.0
// Short texts for messages and reports.
#ifndef TOOLS_DRAV_IO_TEXT_H_
#define TOOLS_DRAV_IO_TEXT_H_

#include <cstdint>
#include <string>

// The name of an input for a message: one line, whatever bytes the path holds.
std::string printablePath(const std::string& path);

// "812 bytes", "8.7 MB": decimal units, as file managers and disks are labelled.
std::string sizeText(uint64_t bytes);

// One word for a POSIX shell: in single quotes unless it is plain.
std::string shellWord(const std::string& text);

#endif  // TOOLS_DRAV_IO_TEXT_H_
