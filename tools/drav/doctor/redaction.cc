// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/redaction.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <vector>

namespace {

constexpr std::string_view kGone = "[removed]";

// What stands before a name or a title in the scheduler's log; the value goes up
// to the closing quote, which a title can hold itself, or to the next space.
struct Mark {
  std::string_view before;
  bool quoted;
};
constexpr std::array kMarks = {
    Mark{"\" by \"", true},        Mark{"queued by \"", true},  Mark{"added by \"", true},
    Mark{"modified by \"", true},  Mark{"deleted by \"", true}, Mark{"canceled by \"", true},
    Mark{"argv[2]=\"", true},      Mark{"argv[3]=\"", true},    Mark{"user-name=\"", true},
    Mark{"job-name=\"", true},     Mark{"job-name = \"", true}, Mark{"Authorized as ", false},
    Mark{"authorized as ", false}, Mark{"user-name=", false},   Mark{"job-name=", false},
    Mark{"username=", false},      Mark{"USER=", false},        Mark{"/home/", false},
    Mark{"/Users/", false},
};

constexpr std::array<std::string_view, 14> kSecretOptions = {
    "password", "passwd", "pass", "pwd",  "pw",     "user", "username",
    "login",    "token",  "key",  "auth", "secret", "pin",  "apikey"};

constexpr std::array<std::string_view, 8> kPersonalAttributes = {
    "printer-info", "printer-location", "printer-geo-location", "printer-organization",
    "Info",         "Location",         "Organization",         "GeoLocation"};

std::string lowered(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
  return lower;
}

bool isWordLetter(char letter) {
  const auto code = static_cast<unsigned char>(letter);
  return std::isalnum(code) != 0 || letter == '_' || code >= 0x80;
}

// Where the value after a mark at `start` ends. A quoted one ends with the line's
// last quote: rather too much is taken out than half a title left.
size_t valueEnd(std::string_view line, size_t start, bool quoted) {
  if (quoted) {
    const size_t quote = line.rfind('"');
    return quote == std::string_view::npos || quote < start ? line.size() : quote;
  }
  return std::min(line.find_first_of(" \t/\"',;&)", start), line.size());
}

struct Found {
  size_t start;
  size_t end;
};

// The first value of the line at or after `from`.
bool findValue(std::string_view line, size_t from, Found& found) {
  size_t first = std::string_view::npos;
  for (const Mark& mark : kMarks) {
    const size_t at = line.find(mark.before, from);
    if (at == std::string_view::npos || at >= first) continue;
    const size_t start = at + mark.before.size();
    const size_t end = valueEnd(line, start, mark.quoted);
    if (!mark.quoted && start < line.size() && line[start] == '"') continue;  // the quoted mark's
    first = at;
    found = {start, end};
  }
  return first != std::string_view::npos;
}

std::string redactOptions(const std::string& options) {
  std::string result;
  size_t start = 0;
  while (start <= options.size()) {
    const size_t end = std::min(options.find_first_of("&;+", start), options.size());
    const std::string option = options.substr(start, end - start);
    const size_t equals = option.find('=');
    const std::string name = lowered(option.substr(0, equals));
    const bool secret =
        equals != std::string::npos &&
        std::any_of(kSecretOptions.begin(), kSecretOptions.end(), [&name](std::string_view word) {
          return name == word || name.find("pass") != std::string::npos;
        });
    result += secret ? option.substr(0, equals + 1) + std::string(kGone) : option;
    if (end < options.size()) result += options[end];
    start = end + 1;
  }
  return result;
}

// Replaces `word` where it stands by itself, whatever its case.
std::string withoutWord(const std::string& line, const std::string& word) {
  const std::string lowerLine = lowered(line);
  const std::string lowerWord = lowered(word);
  std::string result;
  size_t done = 0;
  for (size_t at = lowerLine.find(lowerWord); at != std::string::npos;
       at = lowerLine.find(lowerWord, at + 1)) {
    const size_t end = at + word.size();
    const bool whole =
        at >= done && (at == 0 || !isWordLetter(line[at - 1]) || !isWordLetter(word.front())) &&
        (end == line.size() || !isWordLetter(line[end]) || !isWordLetter(word.back()));
    if (!whole) continue;
    result += line.substr(done, at - done);
    result += kGone;
    done = end;
  }
  return result + line.substr(done);
}

std::string withoutUris(const std::string& line) {
  std::string result;
  size_t done = 0;
  for (size_t at = line.find("://"); at != std::string::npos; at = line.find("://", done)) {
    const size_t space = line.find_last_of(" \t\"'<(=", at);
    const size_t start = space == std::string::npos || space < done ? done : space + 1;
    const size_t end = std::min(line.find_first_of(" \t\"'<>)", at), line.size());
    result += line.substr(done, start - done) + redactUri(line.substr(start, end - start));
    done = end;
  }
  return result + line.substr(done);
}

}  // namespace

std::string redactUri(const std::string& uri) {
  const size_t scheme = uri.find("://");
  if (scheme == std::string::npos) return uri;
  const size_t authority = scheme + 3;
  std::string rest = uri.substr(authority);
  // The last one: a password may hold an @ or a slash that nobody coded.
  const size_t at = rest.rfind('@');
  if (at != std::string::npos) rest = std::string(kGone) + rest.substr(at);
  const size_t question = rest.find('?');
  if (question != std::string::npos)
    rest.replace(question + 1, std::string::npos, redactOptions(rest.substr(question + 1)));
  return uri.substr(0, authority) + rest;
}

bool isPersonalAttribute(const std::string& name) {
  return name.find("user-name") != std::string::npos || name == "AllowUser" || name == "DenyUser" ||
         name.find("organization") != std::string::npos ||
         std::find(kPersonalAttributes.begin(), kPersonalAttributes.end(), name) !=
             kPersonalAttributes.end();
}

void Redactor::hide(const std::string& personal) {
  constexpr std::array<std::string_view, 5> kEveryones = {"root", "lp", "_lp", "anonymous",
                                                          "unknown"};
  if (personal.size() < 2) return;
  if (std::find(kEveryones.begin(), kEveryones.end(), personal) != kEveryones.end()) return;
  hidden_.insert(personal);
}

void Redactor::learn(std::string_view logLine) {
  Found found = {};
  for (size_t from = 0; findValue(logLine, from, found); from = found.start) {
    const std::string value(logLine.substr(found.start, found.end - found.start));
    hide(value);
    hide(value.substr(0, value.find('"')));  // when more stood behind the value
  }
}

std::string Redactor::redact(const std::string& line) const {
  std::string marked;
  size_t done = 0;
  Found found = {};
  while (findValue(line, done, found)) {
    marked += line.substr(done, found.start - done);
    marked += kGone;
    done = found.end;
  }
  marked = withoutUris(marked + line.substr(done));
  // The longest first: a title that holds a user's name goes as a whole.
  std::vector<std::string> words(hidden_.begin(), hidden_.end());
  std::sort(words.begin(), words.end(), [](const std::string& left, const std::string& right) {
    return left.size() > right.size();
  });
  for (const std::string& word : words) marked = withoutWord(marked, word);
  return marked;
}
