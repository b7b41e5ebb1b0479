// SPDX-License-Identifier: Apache-2.0
#include "tools/drav/doctor/error_log.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <memory>

#include "tools/drav/io/file_closer.h"

namespace {

constexpr long kMostBytes = 8L << 20U;
constexpr std::time_t kRecentSeconds = 24 * 60 * 60;
constexpr size_t kShownLines = 5;
constexpr size_t kLongestLine = 4096;  // the scheduler writes none that is longer

// How the filter's own debug lines begin.
constexpr std::array<std::string_view, 11> kFilterLines = {"getOptionChoiceIndex: ",
                                                           "Filter data output to: ",
                                                           "Calc skip pixels",
                                                           "PAGE: ",
                                                           "Ready to print.",
                                                           "printImage: ",
                                                           "PageProcess: ",
                                                           "EnableAntiWrink",
                                                           "GrayToMono,",
                                                           "DravPrinter::",
                                                           "WARN:"};
// What the scheduler, the system or the backend say of starting and ending it.
constexpr std::array<std::string_view, 6> kChainLines = {
    "rastertodrav",        "execv failed",      "error while loading shared libraries",
    "stopped with status", "crashed on signal", "INVALID:"};

// A part of a message, and what it means.
struct Meaning {
  std::string_view part;
  const char* text;
  const char* fix;
};
constexpr std::array kMeanings = {
    Meaning{"insecure permissions", "the scheduler refused a program because of its rights",
            "see \"filter rights\" and \"filter folders\" above"},
    Meaning{"Unable to start filter \"rastertodrav\"", "the filter could not be started",
            "see the lines on the filter above"},
    Meaning{"status 113", "a program or a folder above it is closed to the spool user",
            "see \"filter folders\" above"},
    Meaning{"execv failed: Permission denied",
            "a program or a folder above it is closed to the spool user",
            "see \"filter folders\" above"},
    Meaning{"Exec format error", "a program is made for another kind of machine",
            "see \"filter start\" above"},
    Meaning{"error while loading shared libraries", "a library was missing",
            "see \"filter start\" above"},
    Meaning{"crashed on signal", "a program of the chain crashed", nullptr},
    Meaning{"may print inverted", "a page arrived inverted and may have printed black",
            "see \"raster\" of the queue"},
    Meaning{"Unsupported bits per pixel", "the chain delivered pages that are not 8 bits grey",
            "see \"raster\" of the queue"},
    Meaning{"unable to open the file", "diagnostic pictures could not be saved",
            "see \"pictures\" above"},
    Meaning{"Unable to open command record file", "the command record could not be saved",
            "see \"record\" of the queue"},
    Meaning{"Job stopped due to filter errors", "a job was stopped by a filter's failure",
            "cupsctl --debug-logging, print again, look again; then cupsctl --no-debug-logging"},
};

bool has(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

// "21/Nov/2026:14:36:00 +0000"
std::time_t parseTime(const std::string& text) {
  constexpr std::array kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::tm fields = {};
  std::array<char, 4> month = {};
  int zone = 0;
  if (std::sscanf(text.c_str(), "%2d/%3[A-Za-z]/%4d:%2d:%2d:%2d %5d", &fields.tm_mday, month.data(),
                  &fields.tm_year, &fields.tm_hour, &fields.tm_min, &fields.tm_sec, &zone) != 7)
    return 0;
  for (size_t i = 0; i < kMonths.size(); ++i)
    if (std::strcmp(kMonths[i], month.data()) == 0) fields.tm_mon = static_cast<int>(i);
  fields.tm_year -= 1900;
  return ::timegm(&fields) - (zone / 100 * 60 + zone % 100) * 60;
}

int jobOf(std::string_view& message) {
  constexpr std::string_view kHead = "[Job ";
  int job = 0;
  if (message.substr(0, kHead.size()) != kHead) return 0;
  const char* const start = message.data() + kHead.size();
  const auto [end, code] = std::from_chars(start, message.data() + message.size(), job);
  const auto used = static_cast<size_t>(end - message.data());
  if (code != std::errc{} || message.substr(used, 2) != "] ") return 0;
  message.remove_prefix(used + 2);
  return job;
}

bool isDebug(char level) { return level == 'D' || level == 'd'; }
bool isTrouble(char level) { return level != '\0' && std::strchr("EWCAX", level) != nullptr; }

bool isOwnDebugLine(std::string_view message) {
  return std::any_of(
             kFilterLines.begin(), kFilterLines.end(),
             [message](std::string_view head) { return message.substr(0, head.size()) == head; }) ||
         std::any_of(kChainLines.begin(), kChainLines.end(),
                     [message](std::string_view part) { return has(message, part); });
}

bool namesQueue(std::string_view message, const LogWanted& wanted) {
  return std::any_of(wanted.queues.begin(), wanted.queues.end(),
                     [message](const std::string& queue) {
                       return message.substr(0, queue.size() + 2) == queue + ": " ||
                              has(message, "\"" + queue + "\"");
                     });
}

bool concerns(const LogLine& line, const LogWanted& wanted, const std::set<int>& jobs) {
  if (line.level == '\0') return false;
  if (line.job != 0) {
    if (isDebug(line.level)) return jobs.contains(line.job) && isOwnDebugLine(line.message);
    return jobs.contains(line.job) || has(line.message, "rastertodrav");
  }
  if (isDebug(line.level)) return false;
  return namesQueue(line.message, wanted) || has(line.message, "rastertodrav");
}

// The end of the file from the beginning of a line. False with `problem`.
bool readEnd(const std::string& path, std::string& text, std::string& problem) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    problem = path + " is no file";
    return false;
  }
  const FileHandle file(std::fopen(path.c_str(), "rb"));
  if (!file) {
    problem = path + ": " + std::strerror(errno);
    if (errno == EACCES) problem += "; try sudo";
    return false;
  }
  const bool cut = std::fseek(file.get(), -kMostBytes, SEEK_END) == 0;
  if (!cut) std::rewind(file.get());
  text.resize(static_cast<size_t>(kMostBytes));
  text.resize(std::fread(text.data(), 1, text.size(), file.get()));
  if (cut) text.erase(0, text.find('\n') + 1);
  return true;
}

std::vector<std::string_view> splitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    if (end > 0) lines.push_back(text.substr(0, std::min(end, kLongestLine)));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

// Jobs of the wanted queues, and those that the filter had a part in.
std::set<int> jobsIn(const std::vector<std::string_view>& lines, const LogWanted& wanted) {
  std::set<int> jobs = wanted.jobs;
  for (const std::string_view text : lines) {
    const LogLine line = parseLogLine(text);
    if (line.job == 0) continue;
    for (const std::string& queue : wanted.queues)
      if (has(line.message, "Queued on \"" + queue + "\"")) jobs.insert(line.job);
    if (has(line.message, "rastertodrav")) jobs.insert(line.job);
  }
  return jobs;
}

}  // namespace

LogLine parseLogLine(std::string_view line) {
  LogLine parsed;
  const size_t end = line.find("] ");
  if (line.size() < 4 || line.substr(1, 2) != " [" || end == std::string_view::npos) return parsed;
  parsed.level = line[0];
  parsed.time = parseTime(std::string(line.substr(3, end - 3)));
  parsed.message = line.substr(end + 2);
  parsed.job = jobOf(parsed.message);
  return parsed;
}

LogExtract readErrorLog(const Installation& installation, const LogWanted& wanted,
                        Redactor& redactor) {
  LogExtract extract;
  if (installation.errorLog.rfind('/', 0) != 0) {
    extract.problem = "kept by " + installation.errorLog +
                      ": journalctl -u cups shows it on systems with systemd";
    return extract;
  }
  extract.file = installation.onDisk(installation.errorLog);
  std::string text;
  if (!readEnd(extract.file, text, extract.problem)) return extract;
  const std::vector<std::string_view> lines = splitLines(text);
  const std::set<int> jobs = jobsIn(lines, wanted);
  for (const std::string_view line : lines) redactor.learn(line);
  for (const std::string_view line : lines)
    if (concerns(parseLogLine(line), wanted, jobs))
      extract.lines.push_back(redactor.redact(std::string(line)));
  return extract;
}

void checkErrorLog(const LogExtract& extract, std::time_t now, Findings& findings) {
  if (!extract.problem.empty()) {
    findings.push_back({Level::kSkip, "error log", extract.problem});
    return;
  }
  Finding finding = {Level::kOk, "error log", "no trouble in the last day"};
  std::vector<std::string> meanings;
  std::string_view lastMessage;  // the scheduler repeats itself
  size_t count = 0;
  for (const std::string& text : extract.lines) {
    const LogLine line = parseLogLine(text);
    if (line.time != 0 && now - line.time > kRecentSeconds) continue;
    const auto* const meaning =
        std::find_if(kMeanings.begin(), kMeanings.end(),
                     [&line](const Meaning& known) { return has(line.message, known.part); });
    if (meaning == kMeanings.end() && !isTrouble(line.level)) continue;
    finding.level = Level::kWarn;
    ++count;
    if (line.message != lastMessage) finding.lines.push_back(text);
    lastMessage = line.message;
    if (meaning == kMeanings.end()) continue;
    if (std::find(meanings.begin(), meanings.end(), meaning->text) != meanings.end()) continue;
    meanings.emplace_back(meaning->text);
    if (meaning->fix != nullptr) finding.fix.emplace_back(meaning->fix);
  }
  if (finding.level == Level::kWarn) {
    finding.text = std::to_string(count) + " lines of trouble in the last day";
    for (const std::string& meaning : meanings) finding.text += "; " + meaning;
    if (finding.lines.size() > kShownLines)
      finding.lines.erase(finding.lines.begin(),
                          finding.lines.end() - static_cast<std::ptrdiff_t>(kShownLines));
  }
  findings.push_back(finding);
}
