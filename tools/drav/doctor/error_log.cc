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

#include "tools/drav/doctor/advice.h"
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
  const char* fix;  // null for none
};
constexpr const char* kDecrypt =
    "save a copy without the password and print that: qpdf --password=PASSWORD --decrypt "
    "LOCKED.pdf OPEN.pdf";
constexpr std::array kMeanings = {
    Meaning{"insecure permissions", "the scheduler refused a program because of its rights",
            "see \"filter rights\" and \"filter folders\" above"},
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
    // pdftopdf, through which every PDF goes first.
    Meaning{"invalid password", "a PDF is encrypted: it needs a password to be read", kDecrypt},
    Meaning{"Failed to open PPD", "a queue had no PPD that can be read",
            "see \"PPD\" of the queue"},
};
// Says no more than that some filter failed.
constexpr Meaning kStopped = {
    "Job stopped due to filter errors", "a job was stopped by a filter's failure",
    "cupsctl --debug-logging, print again, look again; then cupsctl --no-debug-logging"};

// What is told about a line of trouble; empty texts for nothing.
struct Explanation {
  std::string text;
  std::string fix;
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
    problem = path + " is not a file";
    return false;
  }
  const FileHandle file(std::fopen(path.c_str(), "rb"));
  if (!file) {
    const int code = errno;
    problem = path + ": " + std::strerror(code);
    if (isClosedToUs(code)) problem = uncheckedText(problem);
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

Explanation explain(std::string_view message) {
  if (const std::string program = missingProgram(message); !program.empty())
    return {program + " could not be started", reinstallProgramCommand(program)};
  if (has(message, "Unable to launch Ghostscript"))
    return {"Ghostscript could not be started", reinstallProgramCommand("gs")};
  for (const Meaning& known : kMeanings)
    if (has(message, known.part)) return {known.text, known.fix != nullptr ? known.fix : ""};
  return {};
}

// Adds what is not told yet.
void tell(const Explanation& explanation, Finding& finding) {
  const std::string text = "; " + explanation.text;
  if (has(finding.text + ";", text + ";")) return;
  finding.text += text;
  const bool told =
      std::find(finding.fix.begin(), finding.fix.end(), explanation.fix) != finding.fix.end();
  if (!explanation.fix.empty() && !told) finding.fix.push_back(explanation.fix);
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
  Finding finding = {Level::kWarn, "error log", ""};
  std::set<int> explained;       // jobs
  std::set<int> stopped;         // jobs, of which nothing else may be known
  std::string_view lastMessage;  // the scheduler repeats itself
  size_t count = 0;
  for (const std::string& text : extract.lines) {
    const LogLine line = parseLogLine(text);
    if (line.time != 0 && now - line.time > kRecentSeconds) continue;
    const Explanation explanation = explain(line.message);
    if (explanation.text.empty() && !isTrouble(line.level)) continue;
    ++count;
    if (line.message != lastMessage) finding.lines.push_back(text);
    lastMessage = line.message;
    if (!explanation.text.empty()) {
      tell(explanation, finding);
      explained.insert(line.job);
    } else if (has(line.message, kStopped.part)) {
      stopped.insert(line.job);
    }
  }
  if (count == 0) {
    findings.push_back({Level::kOk, "error log", "no trouble in the last day"});
    return;
  }
  if (!std::includes(explained.begin(), explained.end(), stopped.begin(), stopped.end()))
    tell({kStopped.text, kStopped.fix}, finding);
  finding.text = std::to_string(count) + " lines of trouble in the last day" + finding.text;
  if (finding.lines.size() > kShownLines)
    finding.lines.erase(finding.lines.begin(),
                        finding.lines.end() - static_cast<std::ptrdiff_t>(kShownLines));
  findings.push_back(finding);
}
