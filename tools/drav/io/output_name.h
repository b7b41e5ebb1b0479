// SPDX-License-Identifier: Apache-2.0
// Names of the files that a command writes.
#ifndef TOOLS_DRAV_IO_OUTPUT_NAME_H_
#define TOOLS_DRAV_IO_OUTPUT_NAME_H_

#include <string>

// "drawing-proof.png" in the current folder, for the input "/home/a/drawing.pdf" and
// the suffix "-proof.png"; "proof.png" for standard input.
std::string defaultOutputName(const std::string& input, const std::string& suffix);

// `insert` put before the ending: "a/out-2.png" for "a/out.png" and "-2".
std::string insertBeforeEnding(const std::string& path, const std::string& insert);

// `path` for page `number` of several: "a/out-3.png", with as many digits as the
// number of the last one has, so that names sort like pages.
std::string pageName(const std::string& path, unsigned number, unsigned last);

// The ending in lower case, with its point; empty for none.
std::string endingOf(const std::string& path);

// False with one line in `error` when writing `out` would replace the input.
[[nodiscard]] bool checkNotInput(const std::string& out, const std::string& input,
                                 std::string& error);

#endif  // TOOLS_DRAV_IO_OUTPUT_NAME_H_
