// SPDX-License-Identifier: Apache-2.0
// The lines that a piece of code writes to standard error.
#ifndef TESTS_SUPPORT_LOG_CAPTURE_H_
#define TESTS_SUPPORT_LOG_CAPTURE_H_

#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Runs `code` and returns what it wrote to standard error, as it stands.
std::string captureLogText(const std::function<void()>& code);

// The same as lines, without their ends.
std::vector<std::string> captureLog(const std::function<void()>& code);

std::vector<std::string> splitLines(std::string_view text);

// Replaces what differs from run to run, or from system to system, as the plain
// models write it: addresses, the null pointer, paths of pictures, and the two
// lines whose wording is free.
std::vector<std::string> maskLog(std::vector<std::string> lines);

// How many of the lines begin with `prefix`.
size_t countLines(const std::vector<std::string>& lines, std::string_view prefix);

#endif  // TESTS_SUPPORT_LOG_CAPTURE_H_
