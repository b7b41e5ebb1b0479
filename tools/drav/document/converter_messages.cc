// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/document/converter_messages.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

using namespace std::string_view_literals;

constexpr size_t kMaxQuoted = 200;

bool holds(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

// The first line that holds one of the parts; empty for none.
template <size_t count>
std::string_view lineWith(std::string_view text, const std::array<std::string_view, count>& parts) {
  for (size_t at = 0; at < text.size();) {
    const size_t end = std::min(text.find('\n', at), text.size());
    const std::string_view line = text.substr(at, end - at);
    if (std::any_of(parts.begin(), parts.end(),
                    [line](std::string_view part) { return holds(line, part); }))
      return line;
    at = end + 1;
  }
  return {};
}

// Without the level, the document's path, and process numbers.
std::string trimmed(std::string_view line, const std::string& path) {
  for (const std::string_view prefix : {"ERROR: "sv, "WARNING: "sv, "loadFilename failed: "sv,
                                        "cupsfilter: "sv, "Syntax Error: "sv, "Error: "sv})
    if (line.starts_with(prefix)) line.remove_prefix(prefix.size());
  if (!path.empty() && line.starts_with(path)) line.remove_prefix(path.size());
  line.remove_prefix(std::min(line.find_first_not_of(": "), line.size()));
  std::string text(line.substr(0, kMaxQuoted));
  const size_t number = text.find(" (PID ");
  const size_t end = number == std::string::npos ? number : text.find(')', number);
  if (end != std::string::npos) text.erase(number, end + 1 - number);
  return text;
}

}  // namespace

std::string converterFailure(const std::string& failure, const std::string& messages,
                             const std::string& path) {
  constexpr std::array kPassword = {"invalid password"sv, "Incorrect password"sv,
                                    "requires a password"sv};
  constexpr std::array kCrash = {"crashed on signal"sv};
  constexpr std::array kReason = {"ERROR: "sv, "Error"sv, "cupsfilter: "sv};
  if (!lineWith(messages, kPassword).empty()) return "is an encrypted PDF and needs a password";
  std::string damage = reportedDamage(messages, path);
  if (!damage.empty()) return damage;
  const std::string_view crash = lineWith(messages, kCrash);
  if (!crash.empty()) return "cannot be converted: " + trimmed(crash, path);
  const std::string_view reason = lineWith(messages, kReason);
  if (!reason.empty()) return "cannot be converted: " + trimmed(reason, path);
  return "cannot be converted: " + failure;
}

std::string reportedDamage(const std::string& messages, const std::string& path) {
  // Of qpdf, which CUPS's pdftopdf uses, and of poppler.
  constexpr std::array kDamage = {"file is damaged"sv,
                                  "error decoding stream data"sv,
                                  "not a PDF file"sv,
                                  "Couldn't find trailer dictionary"sv,
                                  "Couldn't read xref table"sv,
                                  "May not be a PDF file"sv,
                                  "Syntax Error ("sv};
  constexpr std::array kDetail = {"loadFilename failed"sv,
                                  "error decoding stream data"sv,
                                  "can't find"sv,
                                  "invalid xref"sv,
                                  "Couldn't"sv,
                                  "Syntax Error ("sv};
  if (lineWith(messages, kDamage).empty()) return "";
  const std::string_view detail = lineWith(messages, kDetail);
  return detail.empty() ? "is a damaged PDF" : "is a damaged PDF: " + trimmed(detail, path);
}

bool isMissingConverter(const std::string& messages) {
  return holds(messages, "cupsfilter: No filter to convert");
}
